#pragma once

#include <windows.h>

#include <dbghelp.h>

// Puts another function in the place of the system's writer of dumps. The handler is armed.
void ReplaceDumpWriter(decltype(&::MiniDumpWriteDump) writer);

// Writes a dump of the exception alone, which takes no time.
BOOL WINAPI WriteBriefDump(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE type,
                           MINIDUMP_EXCEPTION_INFORMATION* exception,
                           MINIDUMP_USER_STREAM_INFORMATION* streams,
                           MINIDUMP_CALLBACK_INFORMATION* callback);
