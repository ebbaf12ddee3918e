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
constexpr milliseconds goodRun{30000}; // after which a death is the first one again
constexpr milliseconds askAgain{1000}; // a service that does not stop

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
    m_isExpected = false;
    m_startDelay = shortestDelay;
    m_nextStart = {};
}

void ServiceKeeper::WantStopped()
{
    m_goal = Goal::Stopped;
    m_nextAsk = {};
}

ServiceKeeper::NextStep ServiceKeeper::Step(Clock::time_point now)
{
    const Connection connection(m_name);
    if (connection.Service() == nullptr)
    {
        if (m_goal == Goal::Stopped && connection.Error() == ERROR_SERVICE_DOES_NOT_EXIST)
        {
            m_goal = Goal::None;
        }
        ComplainOnce(L"The service cannot be opened", connection.Error());
        return idle;
    }
    SERVICE_STATUS_PROCESS status{};
    DWORD size = 0;
    if (!QueryServiceStatusEx(connection.Service(), SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                              sizeof(status), &size))
    {
        ComplainOnce(L"The service does not tell its state", GetLastError());
        return idle;
    }
    WatchProcess(status);
    switch (m_goal)
    {
    case Goal::Running: return StepToRunning(connection.Service(), status, now);
    case Goal::Stopped: return StepToStopped(connection.Service(), status.dwCurrentState, now);
    default: return StayIdle(status.dwCurrentState);
    }
}

void ServiceKeeper::WatchProcess(const SERVICE_STATUS_PROCESS& status)
{
    const DWORD processId = status.dwProcessId;
    // A process that still ends may be told as none already.
    if (m_process && (processId == m_processId || processId == 0))
    {
        return;
    }
    m_process.Reset();
    m_processId = processId;
    if (processId == 0)
    {
        // A service that is on its way up may have none yet.
        m_isProcessGone = m_isProcessGone || status.dwCurrentState != SERVICE_START_PENDING;
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

ServiceKeeper::NextStep ServiceKeeper::StepToRunning(SC_HANDLE service, const SERVICE_STATUS_PROCESS& status,
                                                     Clock::time_point now)
{
    if (status.dwCurrentState == SERVICE_STOPPED || m_isProcessGone)
    {
        if (m_hasRun && m_process)
        {
            return std::nullopt; // the end of the process is still to come
        }
        if (m_isExpected && !IsToComeBack(status, now))
        {
            return idle;
        }
        return StartInTime(service, now);
    }
    // One that still goes down is not on its way up.
    m_isExpected = m_isExpected || status.dwCurrentState != SERVICE_STOP_PENDING;
    if (status.dwCurrentState != SERVICE_RUNNING)
    {
        return onTheWay;
    }
    if (!m_hasRun)
    {
        Tell(L"The service runs.");
        m_runningSince = now;
    }
    m_hasRun = true;
    m_complaint.clear();
    return m_process ? std::nullopt : std::optional(idle);
}

// Tells how the service went down. False if somebody has wanted that.
bool ServiceKeeper::IsToComeBack(const SERVICE_STATUS_PROCESS& status, Clock::time_point now)
{
    const bool hasRun = m_hasRun;
    m_isExpected = false;
    m_hasRun = false;
    if (hasRun && status.dwCurrentState == SERVICE_STOPPED && status.dwWin32ExitCode == NO_ERROR)
    {
        Tell(L"The service has been stopped by somebody else.");
        m_goal = Goal::None;
        return false;
    }
    Complain(L"The process of the service has died.");
    if (hasRun && now - m_runningSince >= goodRun)
    {
        m_startDelay = shortestDelay;
        m_nextStart = {};
    }
    return true;
}

ServiceKeeper::NextStep ServiceKeeper::StepToStopped(SC_HANDLE service, DWORD state, Clock::time_point now)
{
    if (state == SERVICE_STOPPED || m_isProcessGone)
    {
        Tell(L"The service is stopped.");
        m_goal = Goal::None;
        return idle;
    }
    if ((state == SERVICE_RUNNING || state == SERVICE_PAUSED) && now >= m_nextAsk)
    {
        m_nextAsk = now + askAgain;
        SERVICE_STATUS ignored{};
        if (!ControlService(service, SERVICE_CONTROL_STOP, &ignored))
        {
            ComplainOnce(L"The service does not take the request to stop", GetLastError());
        }
    }
    return onTheWay;
}

// A service that somebody else has started is kept running as well.
ServiceKeeper::NextStep ServiceKeeper::StayIdle(DWORD state)
{
    if (state == SERVICE_RUNNING && !m_isProcessGone)
    {
        WantRunning();
        return milliseconds(0);
    }
    return idle;
}

ServiceKeeper::NextStep ServiceKeeper::StartInTime(SC_HANDLE service, Clock::time_point now)
{
    if (now < m_nextStart)
    {
        // Somebody else may start it meanwhile.
        return std::min(std::chrono::ceil<milliseconds>(m_nextStart - now), idle);
    }
    m_nextStart = now + m_startDelay;
    if (StartServiceW(service, 0, nullptr))
    {
        Tell(L"The service is started.");
        m_isProcessGone = false;
        m_isExpected = true;
    }
    else if (const DWORD error = GetLastError(); error != ERROR_SERVICE_ALREADY_RUNNING)
    {
        ComplainOnce(L"The service cannot be started", error);
    }
    else
    {
        m_nextStart = now + shortestDelay; // the manager has not heard of the death yet
        return onTheWay;
    }
    m_startDelay = std::min(m_startDelay * 2, longestDelay);
    return onTheWay;
}

void ServiceKeeper::OnProcessEnd()
{
    m_process.Reset();
    m_isProcessGone = true;
}

void ServiceKeeper::ComplainOnce(const wchar_t* what, DWORD error)
{
    const std::wstring complaint = what + (L": error " + std::to_wstring(error) + L".");
    if (m_complaint != complaint)
    {
        Complain(complaint);
        m_complaint = complaint;
    }
}

} // namespace WatchDog
