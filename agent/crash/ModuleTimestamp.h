#pragma once

#include <windows.h>

// The time stamp that the linker put into a loaded module. 0 while Dbghelp.dll is not loaded.
[[nodiscard]] DWORD GetModuleTimestamp(HMODULE module);
