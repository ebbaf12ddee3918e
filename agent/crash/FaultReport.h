#pragma once

#include <windows.h>

#include <string>

// Hands the crash to the error reporting of the system, by the interface that this version of Windows has,
// and logs whether it was taken. Called on the thread that crashed; the report may ask the user, and returns
// when that is done.
void ReportToSystem(EXCEPTION_POINTERS* pExceptionPointers, const std::wstring& applicationName);
