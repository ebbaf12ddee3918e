#pragma once

#include <windows.h>

#include "VzComn_AgentStatus.h"

// What the active-window reporter last told the service.
struct ActiveWindowState
{
    DWORD processId = 0; // owner of the window
    HWND window = nullptr;
};

// Written on the main thread by the reporter.
extern ActiveWindowState g_activeWindowState;

// One round of the reporter of the foreground process. Called on the main thread.
AgentStatus SendActiveWindow(ActiveWindowState& state);

// One round of the reporter of the last input. Called on the main thread.
AgentStatus SendInputInfo();
