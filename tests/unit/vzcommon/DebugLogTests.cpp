#include "LogFixture.h"

#include "ImportPatch.h"
#include "ObjectCounts.h"
#include "TestProgram.h"

#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::ImportPatch;
using TestSupport::RecordingLogFolder;
using TestSupport::RecordingWriter;
using TestSupport::TempDir;
using namespace VzCommon;

namespace
{

constexpr char allLevels[] = "Enable=1\r\nLevel=0x1111";

class DebugLogTest : public LogFixture
{
protected:
    ~DebugLogTest() override { s_pDebugLog = nullptr; }
};

bool IsLoaded(const std::wstring& folder)
{
    return GetModuleHandleW((folder + L"\\VzDbgLog.dll").c_str()) != nullptr;
}

// A copy of the recording writer that is a library of its own.
void CopyWriter(const TempDir& dir)
{
    ASSERT_TRUE(CopyFileW((RecordingLogFolder() + L"\\VzDbgLog.dll").c_str(),
                          dir.Path(L"VzDbgLog.dll").c_str(), TRUE));
}

TEST_F(DebugLogTest, WritesLinesOnceItStands)
{
    Configure(allLevels);
    EXPECT_FALSE(Trace(LogLevel::Error, L"too early"));
    ASSERT_TRUE(Initialize());
    EXPECT_TRUE(Trace(LogLevel::Error, L"text"));
    EXPECT_THAT(Rests(), ElementsAre(L"!!! <Test> text - Source(12)\r\n"));
    EXPECT_EQ(writer->initializations, 1);
    EXPECT_EQ(writer->wrongHandles, 0);
}

TEST_F(DebugLogTest, PassesForcedLinesAloneWithoutAConfiguration)
{
    ASSERT_TRUE(Initialize());
    EXPECT_EQ(writer->initializations, 1);
    for (const std::uint32_t level : {LogLevel::Info, LogLevel::Warn, LogLevel::Error, LogLevel::Debug})
    {
        EXPECT_FALSE(log.IsEnabledFor(level));
        EXPECT_TRUE(Trace(level, L"kept back")) << "a line that is kept back is no failure";
    }
    EXPECT_TRUE(log.IsEnabledFor(LogLevel::Forced));
    EXPECT_TRUE(Trace(LogLevel::Forced, L"forced"));
    EXPECT_THAT(Rests(), ElementsAre(L"??? <Test> forced - Source(12)\r\n"));
}

TEST_F(DebugLogTest, PassesForcedLinesWithEnableAtZero)
{
    Configure("Enable=0\r\nLevel=0x10001111");
    ASSERT_TRUE(Initialize());
    EXPECT_TRUE(Trace(LogLevel::Error, L"kept back"));
    EXPECT_TRUE(Trace(LogLevel::Forced, L"forced"));
    EXPECT_THAT(Rests(), ElementsAre(L"??? <Test> forced - Source(12)\r\n"));
}

TEST_F(DebugLogTest, TakesLevelsAsIndependentBits)
{
    Configure("Enable=1\r\nLevel=0x10");
    ASSERT_TRUE(Initialize());
    EXPECT_TRUE(log.IsEnabledFor(LogLevel::Warn));
    EXPECT_FALSE(log.IsEnabledFor(LogLevel::Error)) << "a level is no threshold";
    EXPECT_FALSE(log.IsEnabledFor(LogLevel::Info));
    EXPECT_TRUE(log.IsEnabledFor(0x11)) << "one bit in common is enough";
    EXPECT_FALSE(log.IsEnabledFor(0));
}

TEST_F(DebugLogTest, WritesErrorsAloneWhenOnlyEnabled)
{
    Configure("Enable=1");
    ASSERT_TRUE(Initialize());
    EXPECT_TRUE(log.IsEnabledFor(LogLevel::Error));
    EXPECT_FALSE(log.IsEnabledFor(LogLevel::Info | LogLevel::Warn | LogLevel::Debug));
}

TEST_F(DebugLogTest, DoesNotStandWithoutTheWriter)
{
    Configure(allLevels);
    EXPECT_FALSE(Initialize(L"Test", dir.Path()));
    EXPECT_FALSE(Trace(LogLevel::Error, L"x"));
    EXPECT_FALSE(Trace(LogLevel::Forced, L"x"));
}

TEST_F(DebugLogTest, LoadsNothingWithoutAFolder)
{
    Configure(allLevels);
    EXPECT_FALSE(Initialize(L"Test", L""));
    EXPECT_TRUE(Initialize(L"Test", RecordingLogFolder())) << "the next try is free";
}

TEST_F(DebugLogTest, TakesAFolderWithABackslashAtItsEnd)
{
    EXPECT_TRUE(Initialize(L"Test", RecordingLogFolder() + L'\\'));
}

TEST_F(DebugLogTest, DoesNotStandWithAWriterThatLacksAnExport)
{
    Configure(allLevels);
    std::wstring folder = TestSupport::TestProgram(L"RecordingVzDbgLog\\IncompleteVzDbgLog", L"VzDbgLog.dll");
    folder.resize(folder.rfind(L'\\'));
    EXPECT_FALSE(Initialize(L"Test", folder));
    EXPECT_FALSE(Trace(LogLevel::Forced, L"x"));
    EXPECT_FALSE(Initialize(L"Test", folder)) << "the library is loaded already, and still lacks it";
}

TEST_F(DebugLogTest, LetsAWriterGoThatFailsToBegin)
{
    TempDir other;
    CopyWriter(other);
    {
        const RecordingWriter failing(other.Path());
        failing->initializeResult = ERROR_DISK_FULL;
        EXPECT_FALSE(Initialize(L"Test", other.Path()));
        EXPECT_EQ(failing->initializations, 1);
        EXPECT_EQ(failing->uninitializations, 0);
    }
    EXPECT_FALSE(IsLoaded(other.Path()));
    EXPECT_FALSE(Trace(LogLevel::Forced, L"x"));
    EXPECT_TRUE(Initialize(L"Test", other.Path())) << "the next try is free";
    EXPECT_TRUE(Trace(LogLevel::Forced, L"x"));
}

TEST_F(DebugLogTest, LetsAWriterGoThatGivesNoHandle)
{
    TempDir other;
    CopyWriter(other);
    {
        const RecordingWriter failing(other.Path());
        failing->givesHandle = false;
        EXPECT_FALSE(Initialize(L"Test", other.Path()));
    }
    EXPECT_FALSE(IsLoaded(other.Path()));
    EXPECT_FALSE(Trace(LogLevel::Forced, L"x"));
}

TEST_F(DebugLogTest, LosesOnlyTheLineThatTheWriterRefuses)
{
    ASSERT_TRUE(Initialize());
    writer->traceResult = ERROR_DISK_FULL;
    EXPECT_FALSE(Trace(LogLevel::Forced, L"lost"));
    writer->traceResult = ERROR_SUCCESS;
    EXPECT_TRUE(Trace(LogLevel::Forced, L"next"));
    EXPECT_THAT(Rests(), ElementsAre(L"??? <Test> next - Source(12)\r\n"));
}

TEST_F(DebugLogTest, ASecondInitializeRefreshesTheConfigurationAndLoadsNothing)
{
    Configure(allLevels);
    ASSERT_TRUE(Initialize(L"First"));
    Configure("Enable=1\r\nLevel=0x1");
    ASSERT_TRUE(Initialize(L"Second", dir.Path())) << "the folder is not looked at";
    EXPECT_FALSE(log.IsEnabledFor(LogLevel::Error));
    EXPECT_TRUE(Trace(LogLevel::Info, L"x"));
    EXPECT_THAT(Rests(), ElementsAre(L".w. <Second> x - Source(12)\r\n"));
    EXPECT_EQ(writer->initializations, 1);
    EXPECT_STREQ(writer->config.moduleName, L"First");
}

TEST_F(DebugLogTest, AnEmptyNameKeepsTheEarlierOne)
{
    ASSERT_TRUE(Initialize(L"First"));
    ASSERT_TRUE(Initialize(L""));
    EXPECT_TRUE(Trace(LogLevel::Forced, L"x"));
    EXPECT_THAT(Rests(), ElementsAre(L"??? <First> x - Source(12)\r\n"));
}

TEST_F(DebugLogTest, StandsOnAfterASecondInitializeThatFails)
{
    Configure(allLevels);
    ASSERT_TRUE(Initialize());
    EXPECT_FALSE(log.Initialize(L"Other", Storage::Key(2, L"", L""), RecordingLogFolder()));
    EXPECT_TRUE(log.IsEnabledFor(LogLevel::Error));
    EXPECT_TRUE(Trace(LogLevel::Error, L"x"));
}

TEST_F(DebugLogTest, WritesNothingAfterUninitialize)
{
    Configure(allLevels);
    ASSERT_TRUE(Initialize());
    s_pDebugLog = &log;
    EXPECT_TRUE(log.Uninitialize());
    EXPECT_EQ(writer->uninitializations, 1);
    EXPECT_EQ(writer->wrongHandles, 0);
    EXPECT_FALSE(Trace(LogLevel::Error, L"x"));
    EXPECT_FALSE(Trace(LogLevel::Forced, L"x"));
    EXPECT_FALSE(log.IsEnabledFor(LogLevel::Error));
    EXPECT_TRUE(log.IsEnabledFor(LogLevel::Forced));
    EXPECT_FALSE(log.Uninitialize()) << "it is no longer initialized";
    EXPECT_THAT(writer.Lines(), IsEmpty());
}

TEST_F(DebugLogTest, StandsAgainAfterUninitialize)
{
    Configure(allLevels);
    ASSERT_TRUE(Initialize());
    s_pDebugLog = &log;
    ASSERT_TRUE(log.Uninitialize());
    ASSERT_TRUE(Initialize());
    EXPECT_TRUE(Trace(LogLevel::Error, L"x"));
    EXPECT_EQ(writer->initializations, 2);
}

TEST_F(DebugLogTest, UninitializeUnloadsTheWriter)
{
    TempDir other;
    CopyWriter(other);
    ASSERT_TRUE(Initialize(L"Test", other.Path()));
    EXPECT_TRUE(IsLoaded(other.Path()));
    s_pDebugLog = &log;
    EXPECT_TRUE(DebugLog::Uninitialize());
    EXPECT_FALSE(IsLoaded(other.Path()));
}

TEST_F(DebugLogTest, FinishClosesTheLogAndKeepsTheWriterLoaded)
{
    TempDir other;
    CopyWriter(other);
    const RecordingWriter recorder(other.Path());
    Configure(allLevels);
    ASSERT_TRUE(Initialize(L"Test", other.Path()));
    EXPECT_TRUE(log.Finish());
    EXPECT_EQ(recorder->uninitializations, 1);
    EXPECT_FALSE(Trace(LogLevel::Forced, L"too late"));
    EXPECT_FALSE(log.Finish()) << "it is closed";
    EXPECT_THAT(recorder.Lines(), IsEmpty());

    s_pDebugLog = &log;
    EXPECT_TRUE(DebugLog::Uninitialize());
    EXPECT_EQ(recorder->uninitializations, 1) << "and not told again";
    EXPECT_EQ(recorder->wrongHandles, 0);
}

TEST_F(DebugLogTest, FinishNeedsALogThatStands)
{
    EXPECT_FALSE(log.Finish());
    Configure(allLevels);
    ASSERT_TRUE(Initialize());
    s_pDebugLog = &log;
    ASSERT_TRUE(DebugLog::Uninitialize());
    EXPECT_FALSE(log.Finish());
}

TEST_F(DebugLogTest, UninitializeActsOnTheProcessWideLogWhicheverObjectIsAsked)
{
    ASSERT_TRUE(Initialize());
    DebugLog main;
    ASSERT_TRUE(main.Initialize(L"Main", Storage::Key::ForIniFile(dir.Path().c_str(), L"\\vzdbg.ini"),
                                RecordingLogFolder()));
    EXPECT_FALSE(log.Uninitialize()) << "there is no process-wide log";
    s_pDebugLog = &main;
    EXPECT_TRUE(log.Uninitialize());
    EXPECT_FALSE(main.Trace("f", 1, LogLevel::Forced, L"x"));
    EXPECT_TRUE(Trace(LogLevel::Forced, L"x"));
}

TEST_F(DebugLogTest, TheDestructorUnloadsTheWriterWithoutTellingIt)
{
    TempDir other;
    CopyWriter(other);
    {
        const RecordingWriter kept(other.Path());
        {
            DebugLog brief;
            ASSERT_TRUE(brief.Initialize(
                L"Brief", Storage::Key::ForIniFile(dir.Path().c_str(), L"\\vzdbg.ini"), other.Path()));
        }
        EXPECT_EQ(kept->uninitializations, 0);
    }
    EXPECT_FALSE(IsLoaded(other.Path()));
}

TEST_F(DebugLogTest, StartsAndEndsWithoutLeavingAnythingBehind)
{
    EXPECT_EQ(TestSupport::GrowthOf(
                  [this]
                  {
                      auto brief = std::make_unique<DebugLog>();
                      brief->Initialize(L"Brief",
                                        Storage::Key::ForIniFile(dir.Path().c_str(), L"\\vzdbg.ini"),
                                        RecordingLogFolder());
                      brief->Trace("f", 1, LogLevel::Forced, L"x");
                      s_pDebugLog = brief.release();
                      ShutdownDebugLog();
                  }),
              "");
}

DebugLog* s_recursive = nullptr;

TEST_F(DebugLogTest, AWriterMayLogWhileItWrites)
{
    ASSERT_TRUE(Initialize());
    s_recursive = &log;
    writer->duringTrace = [](const wchar_t* line)
    {
        if (std::wstring(line).find(L"outer") != std::wstring::npos)
        {
            s_recursive->Trace("f", 2, LogLevel::Forced, L"inner");
        }
    };
    EXPECT_TRUE(log.Trace("f", 1, LogLevel::Forced, L"outer"));
    EXPECT_THAT(Rests(), ElementsAre(L"??? <Test> outer - f(1)\r\n", L"??? <Test> inner - f(2)\r\n"));
}

// The lock of the state is not held during the writer's call: a thread that has nothing to write does not
// wait.
TEST_F(DebugLogTest, TheStateCanBeAskedWhileTheWriterWrites)
{
    Configure("Enable=1\r\nLevel=0x100");
    ASSERT_TRUE(Initialize());
    s_recursive = &log;
    writer->duringTrace = [](const wchar_t*)
    {
        std::thread other(
            []
            {
                EXPECT_TRUE(s_recursive->IsEnabledFor(LogLevel::Error));
                EXPECT_TRUE(s_recursive->Trace("f", 1, LogLevel::Info, L"kept back"));
            });
        other.join();
    };
    EXPECT_TRUE(Trace(LogLevel::Error, L"x"));
    EXPECT_EQ(writer.Lines().size(), 1U);
}

std::wstring s_modulePath;

DWORD WINAPI FakeGetModuleFileNameW(HMODULE /*module*/, wchar_t* path, DWORD size)
{
    const DWORD length = std::min(size, static_cast<DWORD>(s_modulePath.size()));
    s_modulePath.copy(path, length);
    if (length < size)
    {
        path[length] = L'\0';
    }
    return length;
}

class InitDebugLogTest : public DebugLogTest
{
protected:
    ~InitDebugLogTest() override { ShutdownDebugLog(); }

    ImportPatch patch{nullptr, "GetModuleFileNameW", &FakeGetModuleFileNameW};
};

TEST_F(InitDebugLogTest, TakesEverythingFromTheFolderOfTheExecutable)
{
    s_modulePath = dir.Path(L"QxSessionAgent_M.exe");
    Configure(allLevels);
    CopyWriter(dir);
    const RecordingWriter own(dir.Path());

    InitDebugLog(L"QxSessionAgent");
    ASSERT_NE(s_pDebugLog, nullptr);
    LOG_ERROR << L"text";
    ASSERT_EQ(own.Lines().size(), 1U);
    EXPECT_NE(own.Lines()[0].find(L"!!! <QxSessionAgent> : [ERROR] text - DebugLogTests("),
              std::wstring::npos);

    ShutdownDebugLog();
    EXPECT_EQ(s_pDebugLog, nullptr);
    EXPECT_EQ(own->uninitializations, 1);
}

TEST_F(InitDebugLogTest, KeepsALogThatCannotStart)
{
    s_modulePath = dir.Path(L"QxSessionAgent_M.exe");
    SetLastError(99);
    InitDebugLog(L"QxSessionAgent");
    EXPECT_EQ(GetLastError(), 99U);
    ASSERT_NE(s_pDebugLog, nullptr);
    EXPECT_FALSE(s_pDebugLog->Trace("f", 1, LogLevel::Forced, L"x"));
    LOG_ERROR << L"lost";
}

TEST_F(InitDebugLogTest, TakesAPathOfMoreThan260Characters)
{
    s_modulePath = RecordingLogFolder() + L"\\..\\" + L"RecordingVzDbgLog\\a.exe";
    while (s_modulePath.size() < 900)
    {
        s_modulePath.insert(s_modulePath.rfind(L'\\'), L"\\.");
    }
    InitDebugLog(L"QxSessionAgent");
    EXPECT_TRUE(s_pDebugLog->Trace("f", 1, LogLevel::Forced, L"x"));
}

TEST_F(InitDebugLogTest, LoadsNothingWhenThePathOfTheExecutableWasCut)
{
    s_modulePath = RecordingLogFolder() + L"\\" + std::wstring(1200, L'a');
    InitDebugLog(L"QxSessionAgent");
    ASSERT_NE(s_pDebugLog, nullptr);
    EXPECT_FALSE(s_pDebugLog->Trace("f", 1, LogLevel::Forced, L"x"));
}

TEST(DebugLog, ShutsDownWithoutALog)
{
    ShutdownDebugLog();
    EXPECT_EQ(s_pDebugLog, nullptr);
}

} // namespace
