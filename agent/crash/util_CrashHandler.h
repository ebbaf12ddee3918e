#pragma once

#include <string>

// Turns an unhandled exception of this process into a dump, a log record and a signal to the watchdog.
// Both operations are called on the main thread.

// Arms the handler. crashEventName is signalled on a crash; an empty dumpFolder selects the default one.
void InitCrashHandler(unsigned reserved, const std::wstring& crashEventName, const std::wstring& dumpFolder);

// Releases what the handler has loaded; the handler itself stays until the process ends.
void UninitCrashHandler();
