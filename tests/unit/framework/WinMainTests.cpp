#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <string>

namespace
{
// Runs the program that has nothing but a static application object; gives its exit code.
DWORD RunProgram(const std::wstring& arguments)
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const auto program = std::filesystem::path(path).replace_filename(L"FrameworkProgram.exe");
    std::wstring commandLine = L"\"" + program.wstring() + L"\" " + arguments;

    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    DWORD exitCode = STILL_ACTIVE;
    EXPECT_TRUE(CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                               &startup, &process));
    EXPECT_EQ(WaitForSingleObject(process.hProcess, 60000), WAIT_OBJECT_0);
    GetExitCodeProcess(process.hProcess, &exitCode);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return exitCode;
}

TEST(WinMainTest, RunsTheStaticApplicationAndReturnsWhatExitInstanceSays)
{
    EXPECT_EQ(RunProgram(L"code=7"), 7U);
}

TEST(WinMainTest, ReturnsWhatExitInstanceSaysWhenTheStartFails)
{
    EXPECT_EQ(RunProgram(L""), 99U);
}
} // namespace
