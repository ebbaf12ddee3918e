#pragma once

#include <cstddef>

// Room for one text of a fault: a name, a version, a number.
inline constexpr std::size_t faultTextLength = 1024;
using FaultText = wchar_t[faultTextLength];

// Writes the version of a program file as "1.2.3.4". False leaves "0.0.0.0" there, if the file has no version
// or cannot be read. Any thread.
bool GetFileVersionText(const wchar_t* moduleName, FaultText& buffer);
