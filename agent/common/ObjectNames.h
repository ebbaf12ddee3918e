#pragma once

#include <string>

#include "VzComn_Synchronize.h"

// Every name that the agent shares with other processes of its product. All end in, or begin with, the
// product id.
namespace ObjectNames
{
// Single-instance mutex of the session; made and held by the agent.
[[nodiscard]] std::wstring InstanceMutex();

// Signalled to end the agent: set by the tray's exit command, the watchdog or any product process; the
// agent waits on it.
[[nodiscard]] std::wstring ExitEvent();

// Signalled by the crash handler; the watchdog waits on it and starts the agent again.
[[nodiscard]] std::wstring CrashRestartEvent();

// Signalled when the splash may go; the service has it set by a command, and whoever shows the splash waits
// on it.
[[nodiscard]] std::wstring SplashEvent();

// Window property on the main frame, value 1: other processes find the agent by it.
[[nodiscard]] std::wstring FrameProperty();

// Window property on each console window: the exit command closes the windows that carry it.
[[nodiscard]] std::wstring ConsoleProperty();

// Window property on the splash, value 1: other processes find the splash by it.
[[nodiscard]] std::wstring SplashProperty();
} // namespace ObjectNames

// Creates the exit event, or opens it if another process came first, with its name and rights together.
// False: the reason is logged, and the event has no handle.
[[nodiscard]] bool CreateExitEvent(VzCommon::Synchronize::Event& event);
