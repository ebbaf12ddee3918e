#include "Report.h"

#include <windows.h>

#include "StreamText.h"
#include "VzComn_LogFront.h"

namespace WatchDog
{

void Tell(const std::wstring& text)
{
    LOG_INFO << text;
    Print(text);
}

void Complain(const std::wstring& text)
{
    LOG_ERROR << text;
    Print(text);
}

void Print(const std::wstring& text)
{
    // Without an output this fails, and the log has it all the same.
    WriteText(GetStdHandle(STD_OUTPUT_HANDLE), text + L"\r\n");
}

} // namespace WatchDog
