#include "UiLaunch.h"

#include <gmock/gmock.h>

#include <cstring>

#include "FakeProduct.h"
#include "ImportPatch.h"
#include "LogCapture.h"
#include "ObjectCounts.h"
#include "TempRegistry.h"

using ::testing::ElementsAre;

namespace
{
struct Started
{
    std::wstring commandLine;
    DWORD flags = 0;
    STARTUPINFOW startup{};
    bool processRights = false;
    bool threadRights = false;
    bool inherit = true;
};

Started g_started;
DWORD g_failure = 0;

BOOL WINAPI FakeCreateProcessW(LPCWSTR application, LPWSTR commandLine, LPSECURITY_ATTRIBUTES process,
                               LPSECURITY_ATTRIBUTES thread, BOOL inherit, DWORD flags, LPVOID environment,
                               LPCWSTR folder, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION information)
{
    EXPECT_EQ(application, nullptr);
    EXPECT_EQ(environment, nullptr);
    EXPECT_EQ(folder, nullptr);
    g_started = {commandLine, flags, *startup, process != nullptr, thread != nullptr, inherit != FALSE};
    if (g_failure != 0)
    {
        SetLastError(g_failure);
        return FALSE;
    }
    commandLine[0] = L'x'; // the call may write to its buffer
    information->hProcess = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    information->hThread = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    return TRUE;
}

decltype(&GetProcAddress) g_getProcAddress = nullptr;

void WINAPI Fake32BitSystem(SYSTEM_INFO* info)
{
    *info = {};
    info->wProcessorArchitecture = PROCESSOR_ARCHITECTURE_INTEL;
}

FARPROC WINAPI FakeGetProcAddress(HMODULE module, LPCSTR name)
{
    if (std::strcmp(name, "GetNativeSystemInfo") == 0)
    {
        return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&Fake32BitSystem));
    }
    return g_getProcAddress(module, name);
}

class UiLaunchTest : public ::testing::Test
{
protected:
    TestSupport::TempRegistry registry;
    FakeProduct product{L"QxSessionAgent_M.exe"};
    TestSupport::ImportPatch create{nullptr, "CreateProcessW", &FakeCreateProcessW};
    TestSupport::LogCapture log{logLevels};
};

TEST_F(UiLaunchTest, QuotesThePathAndKeepsTheBlankWithoutArguments)
{
    EXPECT_EQ(ShowQxUi(L""), Status::Success);
    EXPECT_EQ(g_started.commandLine, L"\"C:\\Product\\win32\\QxMainConsole_M.exe\" ");
    EXPECT_THAT(
        log.Texts(),
        ElementsAre(L": [INFO] Show QX UI. Command-line: \"C:\\Product\\win32\\QxMainConsole_M.exe\" "));
}

TEST_F(UiLaunchTest, StartsAGroupOfItsOwnWithoutInheritance)
{
    ShowQxUi(L"-m 100");
    EXPECT_EQ(g_started.flags, static_cast<DWORD>(CREATE_NEW_PROCESS_GROUP));
    EXPECT_EQ(g_started.startup.cb, 104U);
    EXPECT_EQ(g_started.startup.wShowWindow, SW_SHOW);
    EXPECT_EQ(g_started.startup.dwFlags, 0U);
    EXPECT_TRUE(g_started.processRights);
    EXPECT_FALSE(g_started.threadRights);
    EXPECT_FALSE(g_started.inherit);
}

TEST_F(UiLaunchTest, BuildsAPopupFromFeatureNumberAndParameter)
{
    ShowPopup(L"MainConsole", 7, L"x");
    EXPECT_EQ(g_started.commandLine,
              L"\"C:\\Product\\win32\\QxMainConsole_M.exe\" -p \"MainConsole\" 7 \"x\"");
    ShowPopup(L"", 4294967295U, L"{\\\"a\\\":\"\x4E09\"}");
    EXPECT_EQ(g_started.commandLine,
              L"\"C:\\Product\\win32\\QxMainConsole_M.exe\" -p \"\" -1 \"{\\\"a\\\":\"\x4E09\"}\"");
}

TEST_F(UiLaunchTest, AddsNoSecondBackslash)
{
    registry.SetString(HKEY_LOCAL_MACHINE, L"SOFTWARE\\NorvaneSoft\\Melvio", L"ProductPath", L"D:\\Qx\\",
                       KEY_WOW64_64KEY);
    ShowQxUi(L"a");
    EXPECT_EQ(g_started.commandLine, L"\"D:\\Qx\\win32\\QxMainConsole_M.exe\" a");
}

// There the programs lie in the registered path itself, as it stands.
TEST_F(UiLaunchTest, AddsNoSecondBackslashOnA32BitSystem)
{
    const TestSupport::ImportPatch address(nullptr, "GetProcAddress", &FakeGetProcAddress);
    g_getProcAddress = address.Original<decltype(GetProcAddress)>();
    registry.SetString(HKEY_LOCAL_MACHINE, L"SOFTWARE\\NorvaneSoft\\Melvio", L"ProductPath", L"D:\\Qx\\");
    ShowQxUi(L"a");
    EXPECT_EQ(g_started.commandLine, L"\"D:\\Qx\\QxMainConsole_M.exe\" a");
}

TEST_F(UiLaunchTest, TurnsTheSystemsErrorIntoAStatusAndOneLine)
{
    g_failure = ERROR_FILE_NOT_FOUND;
    EXPECT_EQ(ShowQxUi(L"a"), Status::FromSystemError(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(ShowQxUi(L"a"), Status::FromBits(0xE0FE0002U));
    EXPECT_EQ(log.Texts()[1], L": [ERROR] VzCommon::Process::InvokeProcessAsynch() failed. 2");
    EXPECT_EQ(log.Texts().size(), 4U);
}

TEST_F(UiLaunchTest, ClosesBothHandles)
{
    EXPECT_EQ(TestSupport::GrowthOf([] { ShowQxUi(L""); }), "");
}
} // namespace
