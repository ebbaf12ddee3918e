#include "QxCommon_service.h"

namespace QxCommon
{
AgentStatus StartServiceByWatchdog(std::uint32_t /*seconds*/)
{
    return Status::Success;
}

AgentStatus StartServiceDirect(const std::wstring& /*name*/, bool /*waitRunning*/, std::uint32_t /*seconds*/)
{
    return Status::Success;
}

AgentStatus StopServiceByWatchdog(bool /*force*/, std::uint32_t /*seconds*/)
{
    return Status::Success;
}

AgentStatus StopServiceDirect(const std::wstring& /*name*/, std::uint32_t /*seconds*/)
{
    return Status::Success;
}

void RelaunchElevated() {}
} // namespace QxCommon
