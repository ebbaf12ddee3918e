#include "InputInfoHelper.h"

ActiveWindowState g_activeWindowState;

AgentStatus SendActiveWindow(ActiveWindowState& /*state*/)
{
    return Status::Success;
}

AgentStatus SendInputInfo()
{
    return Status::Success;
}
