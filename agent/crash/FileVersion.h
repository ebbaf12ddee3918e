#pragma once

#include "FaultText.h"

// Writes the version of a program file as "1.2.3.4". False leaves "0.0.0.0" there, if the file has no version
// or cannot be read. Any thread.
bool GetFileVersionText(const wchar_t* moduleName, FaultText& buffer);
