#include "QxCommon_service.h"

#include "FrwkMode.h"
#include "VzComn_Handle.h"
#include "VzComn_LogFront.h"
#include "VzComn_Service.h"

#include <windows.h>

#include <shellapi.h>

#include <array>

namespace QxCommon
{

namespace
{

using VzCommon::KernelHandle;
using VzCommon::LogLevel::Error;
using VzCommon::LogLevel::Info;
using VzCommon::LogLevel::Warn;
using VzCommon::Service::Base;
namespace ConnectMode = VzCommon::Service::ConnectMode;

constexpr std::uint32_t roundMs = 1000;
constexpr std::uint32_t toWatch = GENERIC_READ;
// Deliberate: asks for the right to start and stop although a running service needs neither, so that a caller
// without it learns so at once.
constexpr std::uint32_t toControl = GENERIC_READ | GENERIC_EXECUTE;

AgentStatus Connect(Base& service, std::uint32_t mode)
{
    std::uint32_t error = 0;
    if (!service.Connect(mode, &error))
    {
        LOG_PRINTF(Error, L"VzCommon::Service::Base::Connect() failed: 0x%08X", error);
        return Status::FromSystemError(error);
    }
    return Status::Success;
}

AgentStatus LogOpenFailure(std::uint32_t error)
{
    LOG_PRINTF(Error, L"VzCommon::Service::Base::Open() failed: 0x%08X", error);
    return Status::FromSystemError(error);
}

AgentStatus Query(Base& service, DWORD& state)
{
    SERVICE_STATUS status{};
    std::uint32_t error = 0;
    if (!service.QueryStatus(status, &error))
    {
        LOG_PRINTF(Error, L"VzCommon::Service::Base::QueryStatus() failed: 0x%08X", error);
        return Status::FromSystemError(error);
    }
    state = status.dwCurrentState;
    return Status::Success;
}

AgentStatus Await(Base& service, std::uint32_t state, std::uint32_t seconds)
{
    std::uint32_t error = 0;
    if (!service.WaitStatus(state, seconds, roundMs, nullptr, &error))
    {
        LOG_PRINTF(Error, L"VzCommon::Service::Base::WaitStatus() failed: 0x%08X", error);
        return Status::FromSystemError(error);
    }
    return Status::Success;
}

// Waits for what the watchdog does with the service.
AgentStatus WatchService(std::uint32_t state, std::uint32_t seconds)
{
    Base service;
    const AgentStatus connected = Connect(service, ConnectMode::Read);
    if (Status::Failed(connected))
    {
        return connected;
    }
    std::uint32_t error = 0;
    if (!service.Open(GetServiceName(), toWatch, &error))
    {
        return LogOpenFailure(error);
    }
    return Await(service, state, seconds);
}

// Gives a watchdog that is just starting the time to create the event. Null: error says why the last try
// failed.
KernelHandle OpenStartRequest(std::uint32_t seconds, DWORD& error)
{
    const std::wstring name = GetStartRequestEventName();
    KernelHandle request;
    for (std::uint32_t round = 0; round < seconds; ++round)
    {
        request.Reset(OpenEventW(EVENT_MODIFY_STATE, FALSE, name.c_str()));
        error = GetLastError();
        if (request)
        {
            break;
        }
        Sleep(roundMs);
    }
    return request;
}

// A way between the two states of rest.
struct Way
{
    DWORD goal;
    DWORD underWay;      // on the way to the goal
    DWORD otherUnderWay; // on the way back
    DWORD origin;
    const wchar_t* alreadyThere;
};

constexpr Way toRunning{SERVICE_RUNNING, SERVICE_START_PENDING, SERVICE_STOP_PENDING, SERVICE_STOPPED,
                        L"Service is already running..."};
constexpr Way toStopped{SERVICE_STOPPED, SERVICE_STOP_PENDING, SERVICE_START_PENDING, SERVICE_RUNNING,
                        L"Service is already stopped..."};

// Sees to it that the service is at rest. True: it can be sent on the way; false: there is nothing more to
// do, and status says how it ended.
bool IsAtOrigin(Base& service, const Way& way, std::uint32_t seconds, AgentStatus& status)
{
    DWORD state = 0;
    status = Query(service, state);
    if (Status::Failed(status))
    {
        return false;
    }
    if (state == way.goal)
    {
        LOG_PRINTF(Warn, L"%s", way.alreadyThere);
        return false;
    }
    if (state == way.underWay)
    {
        status = Await(service, way.goal, seconds);
        return false;
    }
    if (state == way.otherUnderWay)
    {
        status = Await(service, way.origin, seconds);
        if (Status::Failed(status))
        {
            return false;
        }
        Sleep(roundMs);
    }
    return true;
}

AgentStatus Start(Base& service, bool waitRunning, std::uint32_t seconds)
{
    std::uint32_t error = 0;
    if (!service.Start(0, nullptr, &error))
    {
        LOG_PRINTF(Error, L"VzCommon::Service::Base::Start() failed: 0x%08X", error);
        return Status::FromSystemError(error);
    }
    if (waitRunning && !service.WaitStatus(SERVICE_RUNNING, seconds, roundMs, nullptr, &error))
    {
        LOG_PRINTF(Error, L"VzCommon::Service::Base::WaitStatus(SERVICE_RUNNING) failed: 0x%08X", error);
        return Status::FromSystemError(error);
    }
    return Status::Success;
}

AgentStatus Stop(Base& service, std::uint32_t seconds)
{
    std::uint32_t error = 0;
    if (!service.Stop(&error))
    {
        LOG_PRINTF(Error, L"VzCommon::Service::Base::Stop() failed: 0x%08X", error);
        return Status::FromSystemError(error);
    }
    return Await(service, SERVICE_STOPPED, seconds);
}

} // namespace

AgentStatus StartServiceByWatchdog(std::uint32_t seconds)
{
    DWORD error = 0;
    const KernelHandle request = OpenStartRequest(seconds, error);
    if (!request)
    {
        LOG_PRINTF(Error, L"OpenEvent for WATCHDOG_EVENT_START_SERVICE failed: 0x%08X", error);
        return Status::FromSystemError(error);
    }
    SetEvent(request.Get());
    return WatchService(SERVICE_RUNNING, seconds);
}

AgentStatus StartServiceDirect(const std::wstring& name, bool waitRunning, std::uint32_t seconds)
{
    Base service;
    const AgentStatus connected = Connect(service, ConnectMode::Execute);
    if (Status::Failed(connected))
    {
        return connected;
    }
    std::uint32_t error = 0;
    if (!service.Open(name, toControl, &error))
    {
        return LogOpenFailure(error);
    }
    AgentStatus status = Status::Success;
    return IsAtOrigin(service, toRunning, seconds, status) ? Start(service, waitRunning, seconds) : status;
}

AgentStatus StopServiceByWatchdog(bool force, std::uint32_t seconds)
{
    const std::wstring name = GetStopRequestEventName();
    const KernelHandle request(OpenEventW(EVENT_MODIFY_STATE, FALSE, name.c_str()));
    const DWORD error = GetLastError();
    if (!request)
    {
        if (error == ERROR_FILE_NOT_FOUND)
        {
            LOG_PRINTF(Warn, L"QxWatchDog is already exit...");
            return Status::Success;
        }
        LOG_PRINTF(Error, L"OpenEvent for WATCHDOG_EVENT_STOP_SERVICE failed: 0x%08x", error);
        return Status::FromSystemError(error);
    }
    SetEvent(request.Get());
    AgentStatus status = WatchService(SERVICE_STOPPED, seconds);
    if (Status::Failed(status))
    {
        return status;
    }
    // Deliberate: cannot be reached, so a service that does not stop in time is not forced to.
    if (force && Status::Failed(status))
    {
        LOG_PRINTF(Error, L"Force stop service...");
        status = StopServiceDirect(GetServiceName(), seconds);
    }
    return status;
}

AgentStatus StopServiceDirect(const std::wstring& name, std::uint32_t seconds)
{
    Base service;
    const AgentStatus connected = Connect(service, ConnectMode::Execute);
    if (Status::Failed(connected))
    {
        return connected;
    }
    std::uint32_t error = 0;
    if (!service.Open(name, toControl, &error))
    {
        if (error == ERROR_SERVICE_DOES_NOT_EXIST)
        {
            LOG_PRINTF(Error, L"Service does not exist, so skip...");
            return Status::Success;
        }
        return LogOpenFailure(error);
    }
    AgentStatus status = Status::Success;
    return IsAtOrigin(service, toStopped, seconds, status) ? Stop(service, seconds) : status;
}

void RelaunchElevated()
{
    constexpr DWORD size = 259;
    std::array<wchar_t, size + 1> path{};
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), size);
    const DWORD error = GetLastError();
    // A path that was cut off names another program, which must not get these rights.
    if (length == 0 || length >= size)
    {
        LOG_PRINTF(Info, L"GetModuleFileNameW, GetLastError=0x%08X", error);
        return;
    }
    ShellExecuteW(nullptr, L"runas", path.data(), nullptr, nullptr, SW_SHOWNORMAL);
}

} // namespace QxCommon
