#include "Output.h"

#include <windows.h>

#include "StreamText.h"

bool StandardOutput::Write(const std::wstring& text)
{
    return WriteText(GetStdHandle(STD_OUTPUT_HANDLE), text);
}

void StandardOutput::Note(const std::wstring& text)
{
    // With nobody to read it there is nobody to tell.
    static_cast<void>(WriteText(GetStdHandle(STD_ERROR_HANDLE), L"qxctl: " + text + L'\n'));
}
