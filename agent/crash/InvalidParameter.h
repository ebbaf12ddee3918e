#pragma once

#include <cstdint>

// What the C library calls when one of its functions with security checks is given a wrong argument. Logs it,
// and returns: the function then fails, and the program goes on. The arguments are filled only by the
// library's debug version and are not looked at. Any thread.
void __cdecl InvalidParameterHandler(const wchar_t* expression, const wchar_t* function, const wchar_t* file,
                                     unsigned line, std::uintptr_t reserved);
