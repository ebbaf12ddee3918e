#include "ServiceKeeper.h"

#include <algorithm>

#include "Report.h"

namespace WatchDog
{
namespace
{
using std::chrono::milliseconds;
using VzCommon::KernelHandle;
using VzCommon::ServiceHandle;

constexpr milliseconds onTheWay{100};
constexpr milliseconds idle{1000};
constexpr milliseconds shortestDelay{1000}; // between two starts
constexpr milliseconds longestDelay{60000};

SERVICE_STATUS_PROCESS Query(SC_HANDLE service)
{
    SERVICE_STATUS_PROCESS status{};
    DWORD size = 0;
    QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof(status),
                         &size);
    return status;
}

// Opened for one step only: a handle that stays would keep a removed service alive.
class Connection
{
public:
    explicit Connection(const std::wstring& name)
        : m_manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT))
    {
        if (m_manager)
        {
            constexpr DWORD access = SERVICE_QUERY_STATUS | SERVICE_START | SERVICE_STOP;
            m_service.Reset(OpenServiceW(m_manager.Get(), name.c_str(), access));
        }
        m_error = GetLastError();
    }

    // Null if it cannot be had, for the reason that Error tells.
    [[nodiscard]] SC_HANDLE Service() const { return m_service.Get(); }

    [[nodiscard]] DWORD Error() const { return m_error; }

private:
    ServiceHandle m_manager;
    ServiceHandle m_service;
    DWORD m_error = 0;
};
} // namespace

void ServiceKeeper::WantRunning()
{
    m_goal = Goal::Running;
    m_hasRun = false;
    m_startDelay = shortestDelay;
}

void ServiceKeeper::WantStopped()
{
    m_goal = Goal::Stopped;
}

std::optional<milliseconds> ServiceKeeper::Step()
{
    const Connection connection(m_name);
    if (connection.Service() == nullptr)
    {
        ComplainOnce(L"The service cannot be opened", connection.Error());
        return idle;
    }
    const SERVICE_STATUS_PROCESS status = Query(connection.Service());
    WatchProcess(status.dwProcessId);
    switch (m_goal)
    {
    case Goal::Running: return StepToRunning(connection.Service(), status.dwCurrentState);
    case Goal::Stopped: return StepToStopped(connection.Service(), status.dwCurrentState);
    default: return StayIdle(status.dwCurrentState);
    }
}

void ServiceKeeper::WatchProcess(DWORD processId)
{
    // A process that still ends may be told as none already.
    if (m_process && (processId == m_processId || processId == 0))
    {
        return;
    }
    m_process.Reset();
    m_processId = processId;
    if (processId == 0)
    {
        m_isProcessGone = true;
        return;
    }
    KernelHandle process(OpenProcess(SYNCHRONIZE, FALSE, processId));
    const DWORD error = GetLastError();
    m_isProcessGone =
        process ? WaitForSingleObject(process.Get(), 0) == WAIT_OBJECT_0 : error == ERROR_INVALID_PARAMETER;
    if (process && !m_isProcessGone)
    {
        m_process = std::move(process);
    }
}

std::optional<milliseconds> ServiceKeeper::StepToRunning(SC_HANDLE service, DWORD state)
{
    if (state == SERVICE_STOPPED && m_hasRun && m_process)
    {
        return std::nullopt; // the end of the process will tell why
    }
    if (state == SERVICE_STOPPED || m_isProcessGone)
    {
        const auto now = Clock::now();
        if (now < m_nextStart)
        {
            return std::chrono::ceil<milliseconds>(m_nextStart - now);
        }
        m_nextStart = now + m_startDelay;
        Start(service);
        return onTheWay;
    }
    if (state != SERVICE_RUNNING)
    {
        return onTheWay;
    }
    if (!m_hasRun)
    {
        Tell(L"The service runs.");
    }
    m_hasRun = true;
    m_complainedError = 0;
    m_startDelay = shortestDelay;
    return m_process ? std::nullopt : std::optional(idle);
}

std::optional<milliseconds> ServiceKeeper::StepToStopped(SC_HANDLE service, DWORD state)
{
    if (state == SERVICE_STOPPED || m_isProcessGone)
    {
        Tell(L"The service is stopped.");
        m_goal = Goal::None;
        return idle;
    }
    if (state == SERVICE_RUNNING || state == SERVICE_PAUSED)
    {
        SERVICE_STATUS ignored{};
        if (!ControlService(service, SERVICE_CONTROL_STOP, &ignored))
        {
            ComplainOnce(L"The service does not take the request to stop", GetLastError());
        }
    }
    return onTheWay;
}

// A service that somebody else has started is kept running as well.
std::optional<milliseconds> ServiceKeeper::StayIdle(DWORD state)
{
    if (state == SERVICE_RUNNING && !m_isProcessGone)
    {
        WantRunning();
        return milliseconds(0);
    }
    return idle;
}

void ServiceKeeper::Start(SC_HANDLE service)
{
    if (StartServiceW(service, 0, nullptr))
    {
        Tell(L"The service is started.");
        return;
    }
    const DWORD error = GetLastError();
    if (error != ERROR_SERVICE_ALREADY_RUNNING)
    {
        ComplainOnce(L"The service cannot be started", error);
    }
}

void ServiceKeeper::OnProcessEnd()
{
    m_process.Reset();
    m_isProcessGone = true;
    if (m_goal != Goal::Running)
    {
        return;
    }
    const Connection connection(m_name);
    const SERVICE_STATUS_PROCESS status = Query(connection.Service());
    const bool isStopped = status.dwCurrentState == SERVICE_STOPPED && status.dwWin32ExitCode == NO_ERROR;
    if (m_hasRun && isStopped)
    {
        Tell(L"The service has been stopped by somebody else.");
        m_goal = Goal::None;
        return;
    }
    Complain(L"The process of the service has died.");
    if (!m_hasRun)
    {
        m_startDelay = std::min(m_startDelay * 2, longestDelay);
        m_nextStart = Clock::now() + m_startDelay;
    }
    m_hasRun = false;
}

void ServiceKeeper::ComplainOnce(const wchar_t* what, DWORD error)
{
    if (m_complainedError != error)
    {
        Complain(what + (L": error " + std::to_wstring(error) + L"."));
        m_complainedError = error;
    }
}

} // namespace WatchDog
