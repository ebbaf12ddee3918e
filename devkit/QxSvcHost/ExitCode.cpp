#include "ExitCode.h"

#include <windows.h>

#include "QxCommon_JsonText.h"

namespace SvcHost
{

ExitCode Say(ExitCode code, const std::wstring& text)
{
    HANDLE stream = GetStdHandle(code == ExitCode::Success ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
    const std::wstring line = text + L"\r\n";
    DWORD mode = 0;
    DWORD written = 0;
    if (GetConsoleMode(stream, &mode))
    {
        WriteConsoleW(stream, line.c_str(), static_cast<DWORD>(line.size()), &written, nullptr);
        return code;
    }
    const std::string bytes = QxCommon::JsonText::ToUtf8(line);
    WriteFile(stream, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    return code;
}

} // namespace SvcHost
