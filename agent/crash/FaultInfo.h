#pragma once

#include <windows.h>

// Logs what is known of a fault: the module it happened in and that module's version, the exception's code
// and its offset in the module. Called on the thread that crashed; changes nothing.
void LogFaultInfo(EXCEPTION_POINTERS* pExceptionPointers);
