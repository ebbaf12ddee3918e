#include "Settings.h"

#include "VzDbgLog.h"

#include <cstddef>
#include <cwchar>

namespace VzDbgLog
{

namespace
{

template <std::size_t Size>
std::wstring TextOf(const wchar_t (&field)[Size])
{
    return {field, wcsnlen(field, Size)};
}

Unit UnitOf(DWORD value)
{
    switch (value)
    {
    case 1: return Unit::Day;
    case 2: return Unit::Hour;
    default: return Unit::SizeOnly;
    }
}

} // namespace

Settings ReadSettings(const VzDbgConfig& config)
{
    Settings settings;
    settings.robust = config.robust != 0;
    settings.debugger = config.debugger != 0;
    settings.ownFile = config.logProcess != 0;
    settings.unit = UnitOf(config.logUnitType);
    settings.module = TextOf(config.moduleName);
    settings.folder = TextOf(config.logFolder);
    settings.prefix = TextOf(config.logPrefix);
    settings.file = TextOf(config.logFile);
    settings.extension = TextOf(config.logExtension);
    return settings;
}

} // namespace VzDbgLog
