#pragma once

#include <windows.h>

// Bounds the time that the handling of a crash takes: it needs the log, the heap and the loader, and whoever
// holds one of them may never let go. A thread of its own waits for a crash, and ends the process, with the
// signals that the handling owes, when it is not through after a minute. The writing of the dump has ten, and
// what comes behind it a minute again. A writer that suspends this thread and then hangs is not bounded.

// Starts that thread, once. Called on the main thread.
void StartCrashLimit();

// Called by each thread that crashes, before anything else.
void BeginCrashLimit();

// Tells that the dump is written to that file from now on, or, with null, that it is no longer written. The
// file must stay open until then. Called by the thread that owns the crash.
void AllowTimeForDump(HANDLE file);

// Whether the dump has begun, grown or ended within the last minute. To be asked again and again. Any thread.
[[nodiscard]] bool IsDumpUnderWay();
