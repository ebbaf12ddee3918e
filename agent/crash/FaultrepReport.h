#pragma once

#include <windows.h>

// Reports the crash through Faultrep.dll. True if the library was there to be asked, whatever it answered:
// its answer stands in the log alone. Called on the thread that crashed.
[[nodiscard]] bool ReportByFaultrep(EXCEPTION_POINTERS* pExceptionPointers);
