#include "VzComn_LogConfiguration.h"

#include "VzComn_IniFile.h"
#include "VzComn_Registry.h"
#include "VzComn_TerminalService.h"

#include <cstddef>
#include <cwchar>
#include <memory>

namespace VzCommon
{

namespace
{

constexpr wchar_t interactiveSection[] = L"InteractiveSession";
constexpr wchar_t serviceSection[] = L"ServiceSession";

template <std::size_t Size>
void CopyText(wchar_t (&field)[Size], const std::wstring& text)
{
    wcsncpy_s(field, Size, text.c_str(), _TRUNCATE);
}

std::unique_ptr<Storage::Base> MakeStore(std::uint32_t keyType)
{
    switch (keyType)
    {
    case Storage::KeyType::IniFile: return std::make_unique<Storage::IniFile>();
    case Storage::KeyType::Registry:
    case Storage::KeyType::RegistryToo: return std::make_unique<Storage::Registry>();
    default: return nullptr;
    }
}

// In this order: a store that throws ends the reading, and what was read before stands.
void ReadKeys(Storage::Base& store, LogConfiguration& configuration)
{
    VzDbgConfig& record = configuration.record;
    configuration.enabled = store.GetDword(L"Enable", 0) != 0;
    configuration.levelMask = store.GetDword(L"Level", configuration.levelMask);
    record.logProcess = store.GetDword(L"LogProcess", 0);
    record.logUnitType = store.GetDword(L"LogUnitType", 0);
    CopyText(record.logFolder, store.GetString(L"LogFolder", L""));
    CopyText(record.logPrefix, store.GetString(L"LogPrefix", L"qda"));
    CopyText(record.logFile, store.GetString(L"LogFile", L""));
    CopyText(record.logExtension, store.GetString(L"LogExtension", L"log"));
    record.robust = store.GetDword(L"Robust", 0) != 0 ? 1 : 0;
    record.debugger = store.GetDword(L"Debugger", 0) != 0 ? 1 : 0;
}

} // namespace

bool ReadLogConfiguration(const Storage::Key& key, const std::wstring& moduleName,
                          LogConfiguration& configuration)
{
    VzDbgConfig& record = configuration.record;
    GetLocalTime(&record.time);
    bool isService = false;
    TerminalService::IsServiceSession(isService);
    record.serviceSession = isService ? 1 : 0;
    CopyText(record.moduleName, moduleName);

    const std::unique_ptr<Storage::Base> store = MakeStore(key.type);
    if (!store)
    {
        return false;
    }
    try
    {
        store->Open(key, isService ? serviceSection : interactiveSection);
        ReadKeys(*store, configuration);
        store->Close(nullptr);
    }
    catch (Storage::Exception* caught)
    {
        const std::unique_ptr<Storage::Exception> exception(caught);
    }
    return true;
}

} // namespace VzCommon
