#include "SplashLaunch.h"

AgentStatus ShowSplash()
{
    return Status::Success;
}
