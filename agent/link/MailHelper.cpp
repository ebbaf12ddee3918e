#include "MailHelper.h"

AgentStatus RegisterRPC()
{
    return Status::Success;
}

AgentStatus UnRegisterRPC()
{
    return Status::Success;
}

AgentStatus SendEventToEventCenter(UINT /*eventId*/)
{
    return Status::Success;
}

bool SendMailForStartScan()
{
    return true;
}

bool SendMailForGetResult()
{
    return true;
}
