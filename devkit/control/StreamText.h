#pragma once

#include <windows.h>

#include <string>

// Writes to one of a program's outputs: wide text on a console, UTF-8 without a mark anywhere else. False if
// nobody takes it.
bool WriteText(HANDLE stream, const std::wstring& text);
