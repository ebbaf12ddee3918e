#pragma once

#include <windows.h>

#include <boost/thread/shared_mutex.hpp>

#include <atomic>
#include <string>

#include "VzComn_Handle.h"

// The values of the crash handler. They belong to the whole process, are set on the main thread before the
// filter can run, and what has a destructor lives as long as the process: a crash may come behind the end of
// the statics.

using CrashFilterFunction = LONG(WINAPI*)(EXCEPTION_POINTERS* pExceptionPointers);

// How long one thread waits for another that handles a crash, in milliseconds.
inline constexpr DWORD crashTimeLimit = 60000;

extern std::wstring& s_dumpFolder;
extern std::wstring& s_applicationName;
extern std::wstring& s_crashEventName; // tells the watchdog; empty if nobody is to be told

// The watchdog's event. Empty if nobody is to be told, and if there is none.
[[nodiscard]] VzCommon::KernelHandle OpenCrashEvent();

// Signalled by the thread that owns the crash as soon as dump and report are done. Manual reset.
extern VzCommon::KernelHandle& s_hCrashDoneEvent;

// The thread that owns the crash, 0 before one. Never goes back.
extern std::atomic<DWORD> s_crashThreadId;

// Guards the claim of s_crashThreadId, and that nothing the owner needs is released after it.
extern boost::shared_mutex& s_crashMutex;

extern std::atomic<bool> s_bFullDump;
extern std::atomic<bool> s_bSilentDump;
extern std::atomic<bool> s_bReportToSystem;
extern std::atomic<bool> s_bDumpOnInvalidParameter;

extern std::atomic<CrashFilterFunction> s_pfnCrashHandler; // called by the top-level filter
extern CrashFilterFunction s_pfnPreviousFilter;            // what the filter replaced; never called
