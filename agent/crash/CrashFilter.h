#pragma once

#include <windows.h>

// Makes the filter the one that the system calls for an unhandled exception of any thread, and that all other
// deaths of the program come to. Once; does nothing after that. Called on the main thread.
void InstallCrashFilter();

// Does not return while another thread handles a crash: the end of the process is that thread's, with all
// that belongs to it. Called on the main thread.
void WaitForCrash();

// The filter that the system calls. Gives what the crash handler gives, 0 without one.
LONG WINAPI TopLevelFilter(EXCEPTION_POINTERS* pExceptionPointers);

// Handles a crash: channel lines, dump, log record, signal to the watchdog, end of the process. One thread
// does it; others that crash meanwhile wait for it. Returns only to them, or if the process cannot be ended.
// The pointers are null for a crash that is no exception. Any thread.
LONG WINAPI CrashFilter(EXCEPTION_POINTERS* pExceptionPointers);
