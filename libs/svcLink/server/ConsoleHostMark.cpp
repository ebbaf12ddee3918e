#include "ConsoleHostMark.h"

#include "Names.h"
#include "ProcessTime.h"
#include "QxCommon_utility.h"
#include "VzComn_Handle.h"

#include <windows.h>

namespace SvcLink
{

namespace
{

constexpr REGSAM nativeView = KEY_WOW64_64KEY;

VzCommon::RegistryKey OpenForWriting(std::uint32_t& error)
{
    VzCommon::RegistryKey key;
    error = static_cast<std::uint32_t>(
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, QxCommon::GetProductRegistryKey().c_str(), 0, nullptr,
                        REG_OPTION_NON_VOLATILE, KEY_SET_VALUE | nativeView, nullptr, key.Put(), nullptr));
    return key;
}

} // namespace

ConsoleHostMark::~ConsoleHostMark()
{
    std::uint32_t error = ERROR_SUCCESS;
    if (const VzCommon::RegistryKey key = m_set ? OpenForWriting(error) : VzCommon::RegistryKey())
    {
        RegDeleteValueW(key.Get(), ConsoleHostValue);
        RegDeleteValueW(key.Get(), ConsoleHostTimeValue);
    }
}

bool ConsoleHostMark::Set(std::uint32_t& error)
{
    const VzCommon::RegistryKey key = OpenForWriting(error);
    if (!key)
    {
        return false;
    }
    const DWORD processId = GetCurrentProcessId();
    const std::uint64_t created = ProcessCreationTime(processId);
    m_set = true;
    error =
        static_cast<std::uint32_t>(RegSetValueExW(key.Get(), ConsoleHostTimeValue, 0, REG_QWORD,
                                                  reinterpret_cast<const BYTE*>(&created), sizeof created));
    if (error == ERROR_SUCCESS)
    {
        error = static_cast<std::uint32_t>(RegSetValueExW(key.Get(), ConsoleHostValue, 0, REG_DWORD,
                                                          reinterpret_cast<const BYTE*>(&processId),
                                                          sizeof processId));
    }
    return error == ERROR_SUCCESS;
}

} // namespace SvcLink
