#include "ServiceSetup.h"

#include <windows.h>

#include <winsvc.h>

#include <vector>

#include "QxCommon_names.h"
#include "VzComn_Handle.h"

namespace SvcHost
{
namespace
{
using VzCommon::ServiceHandle;

constexpr DWORD patienceMs = 30'000;
constexpr DWORD roundMs = 50;

// The service with the manager that it was opened through.
struct Opened
{
    ServiceHandle manager;
    ServiceHandle service;
    DWORD error = 0;
};

Opened OpenInstalled(DWORD access)
{
    Opened opened;
    opened.manager.Reset(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (opened.manager)
    {
        opened.service.Reset(OpenServiceW(opened.manager.Get(), QxCommon::GetServiceName().c_str(), access));
    }
    opened.error = opened.service ? 0 : GetLastError();
    return opened;
}

ExitCode SayError(const std::wstring& what, DWORD error)
{
    const std::wstring name = L"\"" + QxCommon::GetServiceName() + L"\"";
    switch (error)
    {
    case ERROR_ACCESS_DENIED:
        return Say(ExitCode::NeedsAdministrator, what + L": this needs an administrator's rights.");
    case ERROR_SERVICE_EXISTS:
    case ERROR_DUPLICATE_SERVICE_NAME:
        return Say(ExitCode::InstalledAlready, L"The service " + name + L" is installed already.");
    case ERROR_SERVICE_MARKED_FOR_DELETE:
        return Say(ExitCode::InstalledAlready,
                   L"The service " + name + L" is being removed; close what still uses it.");
    case ERROR_SERVICE_DOES_NOT_EXIST:
        return Say(ExitCode::NotInstalled, L"The service " + name + L" is not installed.");
    case ERROR_SERVICE_ALREADY_RUNNING:
        return Say(ExitCode::RunningAlready, L"The service " + name + L" is running already.");
    case ERROR_SERVICE_NOT_ACTIVE:
    case ERROR_NO_DATA: // the process is gone, and the manager has not noticed
        return Say(ExitCode::NotRunning, L"The service " + name + L" is not running.");
    default: return Say(ExitCode::Failure, what + L": error " + std::to_wstring(error) + L".");
    }
}

std::wstring ProgramPath()
{
    std::vector<wchar_t> path(32'768);
    GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()) - 1);
    return path.data();
}

// Waits until the service is in that state, or has stopped instead. False when the time is over.
bool WaitFor(SC_HANDLE service, DWORD state, SERVICE_STATUS& status)
{
    for (DWORD waited = 0; waited <= patienceMs; waited += roundMs)
    {
        if (QueryServiceStatus(service, &status) &&
            (status.dwCurrentState == state || status.dwCurrentState == SERVICE_STOPPED))
        {
            return true;
        }
        Sleep(roundMs);
    }
    return false;
}

// 0, or the error that the service manager gave. It starts one service at a time, of whatever program.
DWORD Start(SC_HANDLE service)
{
    for (DWORD waited = 0;; waited += roundMs)
    {
        const DWORD error = StartServiceW(service, 0, nullptr) ? 0 : GetLastError();
        if (error != ERROR_SERVICE_DATABASE_LOCKED || waited >= patienceMs)
        {
            return error;
        }
        Sleep(roundMs);
    }
}

ExitCode SayWhyItStopped(const SERVICE_STATUS& status)
{
    if (status.dwWin32ExitCode == ERROR_SERVICE_SPECIFIC_ERROR &&
        status.dwServiceSpecificExitCode == static_cast<DWORD>(ExitCode::EndpointTaken))
    {
        return Say(ExitCode::EndpointTaken,
                   L"The service ended: another process owns the endpoint of the product.");
    }
    return Say(ExitCode::Failure,
               L"The service ended at its start, error " + std::to_wstring(status.dwWin32ExitCode) + L".");
}

// 0, or the error that the service manager gave; WAIT_TIMEOUT if the service did not stop in time.
DWORD Stop(SC_HANDLE service)
{
    SERVICE_STATUS status{};
    if (!ControlService(service, SERVICE_CONTROL_STOP, &status))
    {
        const DWORD error = GetLastError();
        return error == ERROR_SERVICE_CANNOT_ACCEPT_CTRL && status.dwCurrentState == SERVICE_STOPPED
                   ? ERROR_SERVICE_NOT_ACTIVE
                   : error;
    }
    return WaitFor(service, SERVICE_STOPPED, status) ? 0 : WAIT_TIMEOUT;
}

ExitCode SayNotInTime(const wchar_t* state)
{
    return Say(ExitCode::TimedOut, L"The service \"" + QxCommon::GetServiceName() + L"\" has not " + state +
                                       L" within " + std::to_wstring(patienceMs / 1000) + L" seconds.");
}
} // namespace

ExitCode InstallService()
{
    const ServiceHandle manager(
        OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT | SC_MANAGER_CREATE_SERVICE));
    if (!manager)
    {
        return SayError(L"The service cannot be installed", GetLastError());
    }
    const std::wstring command = L'"' + ProgramPath() + L'"';
    const std::wstring name = QxCommon::GetServiceName();
    const ServiceHandle service(CreateServiceW(manager.Get(), name.c_str(), name.c_str(),
                                               SERVICE_CHANGE_CONFIG, SERVICE_WIN32_OWN_PROCESS,
                                               SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, command.c_str(),
                                               nullptr, nullptr, nullptr, nullptr, nullptr));
    if (!service)
    {
        return SayError(L"The service cannot be installed", GetLastError());
    }
    return Say(ExitCode::Success, L"The service \"" + name + L"\" is installed.");
}

ExitCode StartInstalledService()
{
    const Opened opened = OpenInstalled(SERVICE_START | SERVICE_QUERY_STATUS);
    if (opened.error != 0)
    {
        return SayError(L"The service cannot be started", opened.error);
    }
    if (const DWORD error = Start(opened.service.Get()); error != 0)
    {
        return SayError(L"The service cannot be started", error);
    }
    SERVICE_STATUS status{};
    if (!WaitFor(opened.service.Get(), SERVICE_RUNNING, status))
    {
        return SayNotInTime(L"started");
    }
    return status.dwCurrentState == SERVICE_RUNNING
               ? Say(ExitCode::Success, L"The service \"" + QxCommon::GetServiceName() + L"\" is running.")
               : SayWhyItStopped(status);
}

ExitCode StopInstalledService()
{
    const Opened opened = OpenInstalled(SERVICE_STOP | SERVICE_QUERY_STATUS);
    const DWORD error = opened.error != 0 ? opened.error : Stop(opened.service.Get());
    if (error == WAIT_TIMEOUT)
    {
        return SayNotInTime(L"stopped");
    }
    return error != 0
               ? SayError(L"The service cannot be stopped", error)
               : Say(ExitCode::Success, L"The service \"" + QxCommon::GetServiceName() + L"\" has stopped.");
}

ExitCode UninstallService()
{
    const Opened opened = OpenInstalled(SERVICE_STOP | SERVICE_QUERY_STATUS | DELETE);
    if (opened.error != 0)
    {
        return SayError(L"The service cannot be removed", opened.error);
    }
    if (Stop(opened.service.Get()) == WAIT_TIMEOUT)
    {
        return SayNotInTime(L"stopped");
    }
    if (!DeleteService(opened.service.Get()))
    {
        return SayError(L"The service cannot be removed", GetLastError());
    }
    return Say(ExitCode::Success, L"The service \"" + QxCommon::GetServiceName() + L"\" is removed.");
}

} // namespace SvcHost
