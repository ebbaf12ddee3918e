#pragma once

#include <string>

// Dies of it in the place of that name: a kind of thread, a callback of the system, a moment of the process.
// False if there is no such place. Some places return, and the process dies at its end.
bool DieIn(const std::wstring& place, const std::wstring& death);
