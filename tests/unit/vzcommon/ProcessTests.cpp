#include "VzComn_Process.h"

#include "ImportPatch.h"
#include "LogCapture.h"
#include "ObjectCounts.h"
#include "TempDir.h"
#include "WaitUntil.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>
#include <string>

namespace
{

using TestSupport::ImportPatch;
using VzCommon::Process::InvokeProcessAsynch;

// What the creating call was given.
struct Created
{
    bool hasApplication;
    std::wstring commandLine;
    SECURITY_ATTRIBUTES process;
    bool hasThreadAttributes;
    BOOL inherit;
    DWORD flags;
    bool hasEnvironment;
    bool hasFolder;
    STARTUPINFOW startup;
} g_created;

BOOL WINAPI RecordProcess(const wchar_t* application, wchar_t* commandLine, SECURITY_ATTRIBUTES* process,
                          SECURITY_ATTRIBUTES* thread, BOOL inherit, DWORD flags, void* environment,
                          const wchar_t* folder, STARTUPINFOW* startup, PROCESS_INFORMATION* /*information*/)
{
    g_created = {application != nullptr, commandLine,       *process, thread != nullptr, inherit, flags,
                 environment != nullptr, folder != nullptr, *startup};
    commandLine[0] = L'?'; // the system writes there, too
    SetLastError(0x12345);
    return FALSE;
}

} // namespace

TEST(ProcessTest, StartsACommandLineAndDoesNotWait)
{
    const TestSupport::TempDir folder;
    const std::wstring commandLine = L"cmd.exe /c echo done> \"" + folder.Path(L"started.txt") + L'"';
    EXPECT_EQ(InvokeProcessAsynch(commandLine), Status::FromBits(0x20FF0000U));
    EXPECT_TRUE(TestSupport::WaitUntil([&] { return folder.Read(L"started.txt") == "done\r\n"; }));
}

TEST(ProcessTest, GivesTheStatusOfTheSystemsError)
{
    EXPECT_EQ(InvokeProcessAsynch(L"NoSuchProgram.exe"), Status::FromBits(0xE0FE0002U));
    EXPECT_TRUE(Status::Failed(InvokeProcessAsynch(L"")));
}

TEST(ProcessTest, LogsAFailureInOneLine)
{
    const TestSupport::LogCapture log;
    static_cast<void>(InvokeProcessAsynch(L"NoSuchProgram.exe"));
    EXPECT_THAT(log.Texts(),
                testing::ElementsAre(L": [ERROR] VzCommon::Process::InvokeProcessAsynch() failed. 2"));
    EXPECT_EQ(log.Messages().at(0).source, L"VzComn_Process");
}

TEST(ProcessTest, LogsNothingOnSuccess)
{
    const TestSupport::LogCapture log;
    EXPECT_EQ(InvokeProcessAsynch(L"cmd.exe /c exit"), Status::Success);
    EXPECT_THAT(log.Texts(), testing::IsEmpty());
}

TEST(ProcessTest, TakesTheLowHalfOfTheError)
{
    const ImportPatch patch(nullptr, "CreateProcessW", &RecordProcess);
    EXPECT_EQ(InvokeProcessAsynch(L"x"), Status::FromBits(0xE0FE2345U));
}

TEST(ProcessTest, PassesAWritableCopyAndFixedArguments)
{
    const ImportPatch patch(nullptr, "CreateProcessW", &RecordProcess);
    const std::wstring commandLine = L"\"C:\\folder\\QxMainConsole.exe\" ";
    static_cast<void>(InvokeProcessAsynch(commandLine));
    EXPECT_EQ(commandLine, L"\"C:\\folder\\QxMainConsole.exe\" ");
    EXPECT_EQ(g_created.commandLine, commandLine);
    EXPECT_FALSE(g_created.hasApplication);
    EXPECT_EQ(g_created.process.nLength, 24U);
    EXPECT_FALSE(g_created.process.bInheritHandle);
    EXPECT_FALSE(g_created.hasThreadAttributes);
    EXPECT_FALSE(g_created.inherit);
    EXPECT_EQ(g_created.flags, 512U);
    EXPECT_FALSE(g_created.hasEnvironment);
    EXPECT_FALSE(g_created.hasFolder);
}

TEST(ProcessTest, AsksForNothingSpecialAtTheStart)
{
    const ImportPatch patch(nullptr, "CreateProcessW", &RecordProcess);
    static_cast<void>(InvokeProcessAsynch(L"x"));
    STARTUPINFOW expected{};
    expected.cb = 104;
    expected.wShowWindow = 5;
    EXPECT_EQ(std::memcmp(&g_created.startup, &expected, sizeof(expected)), 0);
}

TEST(ProcessTest, LeavesNothingBehind)
{
    EXPECT_EQ(TestSupport::GrowthOf(
                  []
                  {
                      EXPECT_EQ(InvokeProcessAsynch(L"cmd.exe /c exit"), Status::Success);
                      EXPECT_TRUE(Status::Failed(InvokeProcessAsynch(L"NoSuchProgram.exe")));
                  },
                  5),
              "");
}
