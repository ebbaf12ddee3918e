// Whether the host service runs, and the ways of bringing it up.
#include "StartHelper.h"

AgentStatus CStartHelper::CheckQxSvc()
{
    return Status::Success;
}

AgentStatus CStartHelper::WaitQxSvc(std::uint32_t /*seconds*/)
{
    return Status::Success;
}
