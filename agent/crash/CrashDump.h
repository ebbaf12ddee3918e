#pragma once

#include <windows.h>

#include <string>

// Writes one dump of the process into the folder, which is made with all that leads to it, and logs how that
// went. A dump that fails leaves its file behind. Without exception pointers the file's name tells so.
// Called on the thread that owns the crash. Deliberate: two arguments are ignored.
void WriteCrashDump(HANDLE hProcess, DWORD processId, unsigned ignored,
                    EXCEPTION_POINTERS* pExceptionPointers, unsigned ignoredToo, const std::wstring& folder);
