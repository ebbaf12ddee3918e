// Whether the host service runs, and the ways of bringing it up.
#include "StartHelper.h"

#include "QxCommon_service.h"
#include "VzComn_LogFront.h"
#include "VzComn_OsVersion.h"
#include "VzComn_Service.h"

namespace
{
constexpr std::uint32_t startSeconds = 120;

bool IsWatchdogThere()
{
    return VzCommon::Synchronize::Event::ExistsGlobal(QxCommon::GetStartRequestEventName().c_str());
}

AgentStatus StartByWatchdog()
{
    const AgentStatus status = QxCommon::StartServiceByWatchdog(startSeconds);
    if (Status::Failed(status))
    {
        LOG_ERROR << L"Start service failed with " << L"0x" << std::hex << status;
    }
    return status;
}

AgentStatus StartDirectly()
{
    const AgentStatus status = QxCommon::StartServiceDirect(QxCommon::GetServiceName(), true, startSeconds);
    // The elevated copy takes over; this process ends its start with the failure.
    if (status == Status::FromSystemError(ERROR_ACCESS_DENIED))
    {
        QxCommon::RelaunchElevated();
    }
    return status;
}

AgentStatus LogWaitFailure(const wchar_t* operation, std::uint32_t error)
{
    LOG_ERROR << L"VzCommon::Service::Base::" << operation << L"() failed... ErrorCode = " << error;
    return Status::FromSystemError(error);
}
} // namespace

AgentStatus CStartHelper::CheckQxSvc()
{
    FUNCTION_TRACE(L"CStartHelper::CheckQxSvc");
    constexpr std::int32_t patientMode = 1;
    if (startMode == patientMode)
    {
        return CheckQxSvcPatiently();
    }
    return IsWatchdogThere() ? StartByWatchdog() : StartDirectly();
}

// The mode of the session's start, in which service and watchdog may be on their way up as well.
AgentStatus CStartHelper::CheckQxSvcPatiently()
{
    constexpr std::uint32_t firstLookSeconds = 3;
    constexpr std::uint32_t bootSeconds = 600;
    const AgentStatus running = WaitQxSvc(firstLookSeconds);
    if (!Status::Failed(running))
    {
        return running;
    }
    if (VzCommon::IsOsVersion(VzCommon::OsVersion::Windows8OrLater))
    {
        if (!IsWatchdogThere())
        {
            LOG_WARN << L"QxWatchDog does not exist, just return...";
            return Status::NotFound;
        }
        return StartByWatchdog();
    }
    const AgentStatus status = WaitQxSvc(bootSeconds);
    if (Status::Failed(status))
    {
        LOG_ERROR << L"QX service was not started... " << L"0x" << std::hex << status;
    }
    return status;
}

AgentStatus CStartHelper::WaitQxSvc(std::uint32_t seconds)
{
    FUNCTION_TRACE(L"CStartHelper::WaitQxSvc");
    constexpr std::uint32_t roundMs = 1000;
    VzCommon::Service::Base service;
    std::uint32_t error = 0;
    if (!service.Connect(VzCommon::Service::ConnectMode::Read, &error))
    {
        return LogWaitFailure(L"Connect", error);
    }
    if (!service.Open(QxCommon::GetServiceName(), GENERIC_READ, &error))
    {
        return LogWaitFailure(L"Open", error);
    }
    if (!service.WaitStatus(SERVICE_RUNNING, seconds, roundMs, nullptr, &error))
    {
        return LogWaitFailure(L"WaitStatus", error);
    }
    return Status::Success;
}
