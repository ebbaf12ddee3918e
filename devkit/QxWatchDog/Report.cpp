#include "Report.h"

#include <windows.h>

#include "QxCommon_JsonText.h"
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
    HANDLE stream = GetStdHandle(STD_OUTPUT_HANDLE);
    const std::wstring line = text + L"\r\n";
    DWORD mode = 0;
    DWORD written = 0;
    if (GetConsoleMode(stream, &mode))
    {
        WriteConsoleW(stream, line.c_str(), static_cast<DWORD>(line.size()), &written, nullptr);
        return;
    }
    // Without an output this fails, and the log has it all the same.
    const std::string bytes = QxCommon::JsonText::ToUtf8(line);
    WriteFile(stream, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

} // namespace WatchDog
