#pragma once

#include <windows.h>

#include <string>

// Reports the crash through wer.dll: eight parameters that name program, module and fault, and a small dump.
// True if the report was submitted; what became of it then stands in the log alone. Called on the thread that
// crashed.
[[nodiscard]] bool ReportByWer(EXCEPTION_POINTERS* pExceptionPointers, const std::wstring& applicationName);
