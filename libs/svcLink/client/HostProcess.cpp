#include "HostProcess.h"

#include "Names.h"
#include "ProcessTime.h"
#include "QxCommon_utility.h"
#include "VzComn_Handle.h"

#include <windows.h>

namespace SvcLink
{

namespace
{

bool IsServiceProcess(std::uint32_t processId)
{
    const VzCommon::ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    const VzCommon::ServiceHandle service(
        manager ? OpenServiceW(manager.Get(), HostServiceName().c_str(), SERVICE_QUERY_STATUS) : nullptr);
    SERVICE_STATUS_PROCESS status{};
    DWORD needed = 0;
    return service &&
           QueryServiceStatusEx(service.Get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                                sizeof status, &needed) &&
           status.dwProcessId != 0 && status.dwProcessId == processId;
}

template <typename Number>
Number ReadNumber(HKEY key, const wchar_t* name, DWORD wantedType)
{
    Number value = 0;
    DWORD type = 0;
    DWORD size = sizeof value;
    const LSTATUS result =
        RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size);
    return result == ERROR_SUCCESS && type == wantedType && size == sizeof value ? value : 0;
}

// The id alone would do for any process that gets it later.
bool IsConsoleHost(std::uint32_t processId)
{
    VzCommon::RegistryKey key;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, QxCommon::GetProductRegistryKey().c_str(), 0,
                      KEY_QUERY_VALUE | KEY_WOW64_64KEY, key.Put()) != ERROR_SUCCESS)
    {
        return false;
    }
    if (ReadNumber<DWORD>(key.Get(), ConsoleHostValue, REG_DWORD) != processId)
    {
        return false;
    }
    const auto created = ReadNumber<std::uint64_t>(key.Get(), ConsoleHostTimeValue, REG_QWORD);
    return created != 0 && created == ProcessCreationTime(processId);
}

} // namespace

bool IsHostProcess(std::uint32_t processId)
{
    return processId != 0 && (IsServiceProcess(processId) || IsConsoleHost(processId));
}

} // namespace SvcLink
