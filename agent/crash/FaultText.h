#pragma once

#include <cstddef>

// Room for one value of a fault: a name, a version, a number. On the stack, since a program that has crashed
// may have no heap to trust.
inline constexpr std::size_t faultTextLength = 1024;
using FaultText = wchar_t[faultTextLength];
