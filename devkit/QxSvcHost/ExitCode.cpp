#include "ExitCode.h"

#include <windows.h>

#include "StreamText.h"

namespace SvcHost
{

ExitCode Say(ExitCode code, const std::wstring& text)
{
    WriteText(GetStdHandle(code == ExitCode::Success ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE), text + L"\r\n");
    return code;
}

} // namespace SvcHost
