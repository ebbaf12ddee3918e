// Leaves behind how it was started: LaunchRecorder.exe FILE [ARGUMENT...] writes to the file, in UTF-16, one
// line each for the show command of its start and for its whole command line.
#include <windows.h>

#include <string>

int wmain(int argc, wchar_t** argv)
{
    if (argc < 2)
    {
        return 1;
    }
    STARTUPINFOW startup{};
    GetStartupInfoW(&startup);
    const std::wstring text = std::to_wstring(startup.wShowWindow) + L"\n" + GetCommandLineW() + L"\n";

    // The file appears with all that it holds.
    const std::wstring unfinished = std::wstring(argv[1]) + L".unfinished";
    HANDLE file = CreateFileW(unfinished.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
    {
        return 1;
    }
    DWORD written = 0;
    WriteFile(file, text.data(), static_cast<DWORD>(text.size() * sizeof(wchar_t)), &written, nullptr);
    CloseHandle(file);
    return MoveFileW(unfinished.c_str(), argv[1]) ? 0 : 1;
}
