#pragma once

#include <windows.h>

// The ends of a C++ program that the system does not take for an unhandled exception, and the ways by which
// they come to the filter all the same. docs/crash.md lists them.

// std::terminate on any thread, the abort of any library of the process, a heap that the system finds
// corrupted, and exceptions that pass through the system on their way. Called on the main thread.
void RouteCrashes();

// Hands the calling thread's state to the filter under the code. Ends the process without a filter as well.
[[noreturn]] void CrashWith(DWORD code);

// An abort, which is no exception: a program's own request to end.
inline constexpr DWORD abortCode = 0x40000015; // STATUS_FATAL_APP_EXIT

// A function that finds its own stack overwritten.
inline constexpr DWORD stackSmashedCode = 0xC0000409; // STATUS_STACK_BUFFER_OVERRUN
