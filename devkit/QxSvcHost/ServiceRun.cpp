#include "ServiceRun.h"

#include <windows.h>

#include <winsvc.h>

#include <memory>
#include <string>

#include "Host.h"
#include "JournalFile.h"
#include "QxCommon_names.h"
#include "QxCommon_utility.h"
#include "VzComn_Handle.h"
#include "VzComn_LogFront.h"

namespace SvcHost
{
namespace
{
constexpr std::chrono::milliseconds serviceStopLimit{4000};

// The service as its manager sees it. Lives on the stack of RunAsService.
class ServiceProcess
{
public:
    ServiceProcess() : m_stop(CreateEventW(nullptr, TRUE, FALSE, nullptr)), m_name(QxCommon::GetServiceName())
    {
    }

    [[nodiscard]] bool Dispatch()
    {
        s_running = this;
        const SERVICE_TABLE_ENTRYW table[] = {{m_name.data(), &Main}, {nullptr, nullptr}};
        const bool dispatched = StartServiceCtrlDispatcherW(table) != FALSE;
        s_running = nullptr;
        return dispatched;
    }

private:
    static void WINAPI Main(DWORD /*count*/, wchar_t** /*arguments*/) { s_running->Run(); }

    static DWORD WINAPI OnControl(DWORD control, DWORD /*type*/, void* /*data*/, void* context)
    {
        auto* service = static_cast<ServiceProcess*>(context);
        switch (control)
        {
        case SERVICE_CONTROL_STOP:
        case SERVICE_CONTROL_SHUTDOWN:
            service->Report(SERVICE_STOP_PENDING);
            SetEvent(service->m_stop.Get());
            return NO_ERROR;
        case SERVICE_CONTROL_INTERROGATE: return NO_ERROR;
        default: return ERROR_CALL_NOT_IMPLEMENTED;
        }
    }

    void Run()
    {
        m_status = RegisterServiceCtrlHandlerExW(m_name.c_str(), &OnControl, this);
        Report(SERVICE_START_PENDING);
        auto host = std::make_unique<Host>(m_name, JournalPath());
        std::uint32_t error = 0;
        if (!host->Start(QxCommon::AppendName(QxCommon::GetModuleFolder(), L"plugins"), error))
        {
            const bool taken = error == ERROR_ACCESS_DENIED;
            Report(SERVICE_STOPPED, taken ? ERROR_SERVICE_SPECIFIC_ERROR : error,
                   taken ? static_cast<DWORD>(ExitCode::EndpointTaken) : 0);
            return;
        }
        Report(SERVICE_RUNNING);
        LOG_INFO << L"the service runs";
        WaitForSingleObject(m_stop.Get(), INFINITE);
        const bool stopped = host->Stop(serviceStopLimit);
        LOG_INFO << L"the service ends";
        if (!stopped)
        {
            // What does not come back still uses the host, so nothing may be destroyed.
            Report(SERVICE_STOPPED);
            TerminateProcess(GetCurrentProcess(), 0);
        }
        host.reset();
        Report(SERVICE_STOPPED);
    }

    void Report(DWORD state, DWORD error = NO_ERROR, DWORD specific = 0)
    {
        constexpr DWORD waitHintMs = 5000;
        const bool pending = state == SERVICE_START_PENDING || state == SERVICE_STOP_PENDING;
        SERVICE_STATUS status{};
        status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
        status.dwCurrentState = state;
        status.dwControlsAccepted =
            state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN : 0;
        status.dwWin32ExitCode = error;
        status.dwServiceSpecificExitCode = specific;
        status.dwWaitHint = pending ? waitHintMs : 0;
        SetServiceStatus(m_status, &status);
    }

    static ServiceProcess* s_running; // Weak. Set while Dispatch runs: Main is given no context.

    VzCommon::KernelHandle m_stop;
    std::wstring m_name;
    SERVICE_STATUS_HANDLE m_status = nullptr;
};

ServiceProcess* ServiceProcess::s_running = nullptr;
} // namespace

ExitCode RunAsService()
{
    ServiceProcess service;
    if (service.Dispatch())
    {
        return ExitCode::Success;
    }
    const DWORD error = GetLastError();
    return error == ERROR_FAILED_SERVICE_CONTROLLER_CONNECT
               ? Say(ExitCode::NotByHand,
                     L"Without an option this program is started by the service manager. "
                     L"Try --help.")
               : Say(ExitCode::Failure, L"The service cannot run: error " + std::to_wstring(error) + L".");
}

} // namespace SvcHost
