#pragma once

#include <windows.h>

#include "VzComn_AgentStatus.h"

// Turns the power notices of the main frame into events for the service. Lives on the main thread.
class CPowerEventHandler
{
public:
    // Asks the system to notify the window of changes of power source, battery and power scheme.
    AgentStatus InitPowerEvents(HWND window);

    // Handles one WM_POWERBROADCAST. setting is read only for PBT_POWERSETTINGCHANGE.
    AgentStatus HandlePowerEvent(UINT eventCode, const POWERBROADCAST_SETTING* setting);
};
