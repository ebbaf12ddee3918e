// How long engines and their library live.
#include <windows.h>

#include <exception>
#include <sstream>
#include <thread>

#include "EngineHostTest.h"
#include "LastingGrowth.h"
#include "ScarceMemory.h"
#include "VzComn_Handle.h"
#include "WaitUntil.h"

using ::testing::ElementsAre;

namespace
{
class HostLifeTest : public EngineHostTest
{
protected:
    HostLifeTest() { InstallProbe(); }

    // The record that the library keeps in a file, line by line.
    [[nodiscard]] std::vector<std::string> RecordLines() const
    {
        std::istringstream text(folder.Read(L"record.txt"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);)
        {
            lines.push_back(line);
        }
        return lines;
    }

    // Of a process that ends with engines of these items, after it has written the record.
    [[nodiscard]] DWORD ExitCodeWith(const std::wstring& items)
    {
        const std::wstring program = folder.Path(L"EngineExit.exe");
        CopyProgram(L"EngineExit", L"EngineExit.exe", program);
        SetEnvironmentVariableW(L"QX_ENGINE_RECORD", folder.Path(L"record.txt").c_str());
        std::wstring commandLine = L"\"" + program + L"\" " + items;
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION started{};
        EXPECT_TRUE(CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                   nullptr, &startup, &started));
        SetEnvironmentVariableW(L"QX_ENGINE_RECORD", nullptr);
        const VzCommon::KernelHandle process(started.hProcess);
        const VzCommon::KernelHandle thread(started.hThread);
        EXPECT_EQ(WaitForSingleObject(process.Get(), 60000), WAIT_OBJECT_0);
        DWORD exitCode = 0;
        EXPECT_TRUE(GetExitCodeProcess(process.Get(), &exitCode));
        return exitCode;
    }
};

// While the log records, memory grows with each line.
TEST_F(HostLifeTest, TenThousandEnginesLeaveNothing)
{
    log.reset();
    const auto hundred = [this]
    {
        for (int i = 0; i < 100; ++i)
        {
            const std::wstring id =
                Create(L"keeper", L"a session id that does not fit into any small buffer");
            ASSERT_EQ(StatusOf(ActionOn(id, 0x2005, L",\"details\":[1,2,{\"a\":\"b\"}]")), Status::Success);
            ASSERT_EQ(StatusOf(ActionOn(id, 0x2003)), Status::Success);
            ASSERT_EQ(StatusOf(ActionOn(id, 0x1002)), Status::Success);
        }
    };
    EXPECT_EQ(TestSupport::LastingGrowthOf(hundred), "");
    EXPECT_EQ(Living(), 0);
    EXPECT_GT(std::stoi(Create(L"plain")), 10000);
}

TEST_F(HostLifeTest, WhatEnginesThrowLeavesNothing)
{
    log.reset();
    const std::wstring ids[] = {Create(L"throws Perform", L"library"),
                                Create(L"throws Perform", L"exception"), Create(L"throws Perform", L"own")};
    EXPECT_EQ(TestSupport::LastingGrowthOf(
                  [&]
                  {
                      for (const std::wstring& id : ids)
                      {
                          ASSERT_EQ(StatusOf(ActionOn(id, 0x2001)), Status::Failure);
                      }
                  }),
              "");
}

// Whichever allocation fails: what was made can be reached, or is gone. Not even its end may do harm.
TEST_F(HostLifeTest, NoEngineIsLostForLackOfMemory)
{
    log.reset();
    int attempts = 0;
    for (bool hasFailed = true; hasFailed; ++attempts)
    {
        QxCommon::JsonDb command;
        command.ParseFromString(L"{\"action\":4097,\"itemId\":\"throws end\",\"sessionId\":\"number\","
                                L"\"x\":\"a text of some length\"}");
        const OneFailure failure(attempts);
        try
        {
            host->Dispatch(command);
        }
        catch (const std::exception&) // the link's callback answers that
        {
        }
        hasFailed = failure.HasFailed();
    }
    EXPECT_GT(attempts, 5);
    for (int id = 1; id <= attempts; ++id)
    {
        StatusOf(ActionOn(std::to_wstring(id), 0x1002));
    }
    EXPECT_EQ(Living(), 0);
}

TEST_F(HostLifeTest, TheHostsEndIsThatOfItsEnginesAndThenOfTheirLibrary)
{
    SetEnvironmentVariableW(L"QX_ENGINE_RECORD", folder.Path(L"record.txt").c_str());
    Create(L"plain");
    Create(L"plain");
    EXPECT_EQ(StatusOf(L"{\"action\":4097,\"itemId\":\"refused\"}"), Status::InitializeFailed);
    folder.Write(L"record.txt", "");
    host.reset();
    SetEnvironmentVariableW(L"QX_ENGINE_RECORD", nullptr);
    EXPECT_THAT(RecordLines(),
                ElementsAre("end()", "end()", "library freed")); // not the one that was refused
    EXPECT_EQ(GetModuleHandleW(L"Quenta.dll"), nullptr);
}

TEST_F(HostLifeTest, ASlowEngineIsSignalledAndOthersWorkMeanwhile)
{
    const std::wstring slow = Create(L"slow");
    AgentStatus performed = 0;
    std::thread thread([&] { performed = StatusOf(ActionOn(slow, 0x2001)); });
    EXPECT_TRUE(TestSupport::WaitUntil([] { return Events().ends_with(L"Perform();"); }));
    const std::wstring other = Create(L"plain");
    EXPECT_EQ(StatusOf(ActionOn(other, 0x2001)), 4711);
    EXPECT_EQ(StatusOf(ActionOn(other, 0x1002)), Status::Success);
    EXPECT_EQ(StatusOf(ActionOn(slow, 0x2003)), Status::Success);
    EXPECT_EQ(performed, 0);
    EXPECT_EQ(StatusOf(ActionOn(slow, 0x2002)), Status::Success);
    thread.join();
    EXPECT_EQ(performed, 4711);
}

TEST_F(HostLifeTest, AnEngineThatIsEndedWhileItWorksLivesUntilItsWorkIsDone)
{
    const std::wstring slow = Create(L"slow");
    AgentStatus performed = 0;
    std::thread thread([&] { performed = StatusOf(ActionOn(slow, 0x2001)); });
    EXPECT_TRUE(TestSupport::WaitUntil([] { return Events().ends_with(L"Perform();"); }));
    EXPECT_EQ(StatusOf(ActionOn(slow, 0x1002)), Status::Success);
    EXPECT_EQ(StatusOf(ActionOn(slow, 0x2002)), Status::UnknownTrackId);
    EXPECT_EQ(Living(), 1);
    ReleaseSlowEngines();
    thread.join();
    EXPECT_EQ(performed, 4711);
    EXPECT_EQ(Living(), 0);
}

// The process ends without asking whether a command is under way.
TEST_F(HostLifeTest, AnEngineThatWorksAtTheHostsEndKeepsItsLibraryUntilItsWorkIsDone)
{
    const std::wstring slow = Create(L"slow");
    Create(L"plain");
    AgentStatus performed = 0;
    std::thread thread([&] { performed = StatusOf(ActionOn(slow, 0x2001)); });
    EXPECT_TRUE(TestSupport::WaitUntil([] { return Events().ends_with(L"Perform();"); }));
    host.reset();
    ASSERT_NE(GetModuleHandleW(L"Quenta.dll"), nullptr);
    EXPECT_EQ(Living(), 1) << "the other one is gone";
    ReleaseSlowEngines();
    thread.join();
    EXPECT_EQ(performed, 4711);
    EXPECT_EQ(GetModuleHandleW(L"Quenta.dll"), nullptr);
}

TEST_F(HostLifeTest, AnEngineThatComesUpAfterTheHostsEndIsEndedAtOnce)
{
    AgentStatus created = 0;
    std::thread thread([&] { created = StatusOf(L"{\"action\":4097,\"itemId\":\"late\"}"); });
    EXPECT_TRUE(TestSupport::WaitUntil([] { return Events().ends_with(L"Initialize();"); }));
    SetEnvironmentVariableW(L"QX_ENGINE_RECORD", folder.Path(L"record.txt").c_str());
    host.reset();
    ReleaseSlowEngines();
    thread.join();
    SetEnvironmentVariableW(L"QX_ENGINE_RECORD", nullptr);
    EXPECT_EQ(created, Status::NoEngineLibrary);
    EXPECT_THAT(RecordLines(), ElementsAre("end()", "library freed"));
}

TEST_F(HostLifeTest, AProcessEndsItsEnginesBeforeTheirLibrary)
{
    EXPECT_EQ(ExitCodeWith(L"plain \"throws end\" refused keeper"), 3U);
    const std::vector<std::string> record = RecordLines();
    ASSERT_GE(record.size(), 4U);
    EXPECT_THAT(std::vector(record.end() - 4, record.end()),
                ElementsAre("end()", "end()", "end()", "library freed"));
}

TEST_F(HostLifeTest, AProcessEndsWhileAnEngineWorks)
{
    EXPECT_EQ(ExitCodeWith(L"plain slow plain"), 3U);
    const std::vector<std::string> record = RecordLines();
    ASSERT_GE(record.size(), 3U);
    EXPECT_THAT(std::vector(record.end() - 3, record.end()),
                ElementsAre("end()", "end()", "library goes with the process"));
}
} // namespace
