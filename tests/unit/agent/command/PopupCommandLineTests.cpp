// The popup's command down to the command line that starts the console.
#include <gtest/gtest.h>

#include <windows.h>

#include "CallbackHelper.h"
#include "FakeProduct.h"
#include "LogCapture.h"
#include "TempRegistry.h"

namespace
{
std::wstring g_commandLine;

BOOL WINAPI NoteCreateProcessW(LPCWSTR /*application*/, LPWSTR commandLine, LPSECURITY_ATTRIBUTES /*process*/,
                               LPSECURITY_ATTRIBUTES /*thread*/, BOOL /*inherit*/, DWORD /*flags*/,
                               LPVOID /*environment*/, LPCWSTR /*folder*/, LPSTARTUPINFOW /*startup*/,
                               LPPROCESS_INFORMATION /*information*/)
{
    g_commandLine = commandLine;
    SetLastError(ERROR_FILE_NOT_FOUND);
    return FALSE;
}

class PopupCommandLineTest : public ::testing::Test
{
protected:
    TestSupport::TempRegistry registry;
    FakeProduct product{L"QxSessionAgent_M.exe"};
    TestSupport::ImportPatch create{nullptr, "CreateProcessW", &NoteCreateProcessW};
    TestSupport::LogCapture log{logLevels};
};

TEST_F(PopupCommandLineTest, HoldsAnObjectAsCompactJsonWithItsQuotesEscaped)
{
    QxCommon::JsonDb command;
    command.ParseFromString(L"{\"JD_COMMAND_ID\":1000,\"nFeatureId\":\"MainConsole\",\"popupId\":7,"
                            L"\"param\":{\"title\":\"say \\\"hi\\\"\",\"n\":[1,2]}}");
    EXPECT_EQ(OnServiceCommand(command), Status::FromSystemError(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(g_commandLine, L"\"C:\\Product\\win32\\QxMainConsole_M.exe\" -p \"MainConsole\" 7 "
                             L"\"{\\\"n\\\":[1,2],\\\"title\\\":\\\"say \\\\\"hi\\\\\"\\\"}\"");
    EXPECT_EQ(log.Texts().back(), L": [ERROR] Show Popup failed...");
}

TEST_F(PopupCommandLineTest, HoldsTheNumbersOfModesAndPopupsSigned)
{
    QxCommon::JsonDb command;
    command.ParseFromString(L"{\"JD_COMMAND_ID\":1000,\"popupId\":4294967295}");
    OnServiceCommand(command);
    EXPECT_EQ(g_commandLine, L"\"C:\\Product\\win32\\QxMainConsole_M.exe\" -p \"\" -1 \"null\"");

    command.ParseFromString(L"{\"JD_COMMAND_ID\":1001,\"modeId\":2147483648}");
    OnServiceCommand(command);
    EXPECT_EQ(g_commandLine, L"\"C:\\Product\\win32\\QxMainConsole_M.exe\" -m -2147483648");
    EXPECT_EQ(log.Texts().back(), L": [ERROR] SHow Monitor Failed..., ModeID: 2147483648");
}
} // namespace
