#include "PowerEventHandler.h"

AgentStatus CPowerEventHandler::InitPowerEvents(HWND /*window*/)
{
    return Status::Success;
}

AgentStatus CPowerEventHandler::HandlePowerEvent(UINT /*eventCode*/,
                                                 const POWERBROADCAST_SETTING* /*setting*/)
{
    return Status::Success;
}
