// The agent's keeper with a real process, in a time that the test tells it.
#include "AgentKeeper.h"

#include <gmock/gmock.h>

#include "AgentFolder.h"
#include "ImportPatch.h"
#include "LogCapture.h"
#include "ObjectCounts.h"

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using WatchDog::AgentKeeper;
using WatchDog::Clock;

namespace
{
BOOL WINAPI DeniedEnd(HANDLE /*process*/, UINT /*code*/)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

class AgentKeeperTest : public ::testing::Test
{
protected:
    // The agent ends without a crash, or with one that only the test knows of.
    void EndAgent()
    {
        folder.Behave("leave");
        ASSERT_EQ(WaitForSingleObject(keeper.Process(), 30000), WAIT_OBJECT_0);
    }

    void StartAgent()
    {
        const std::size_t before = folder.Starts().size();
        keeper.Start(now);
        ASSERT_TRUE(folder.WaitForStarts(before + 1));
    }

    AgentFolder folder;
    AgentKeeper keeper{folder.Agent(), 7};
    Clock::time_point now = Clock::now();
    TestSupport::LogCapture log{0x0111};
};
} // namespace

TEST_F(AgentKeeperTest, StartsTheAgentInItsMode)
{
    StartAgent();
    EXPECT_EQ(folder.Starts().front().mode, "7");
    EXPECT_NE(keeper.Process(), nullptr);
    EXPECT_FALSE(keeper.Due());
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] The agent is started in mode 7."));
}

TEST_F(AgentKeeperTest, LeavesAnAgentThatEndsWithoutACrash)
{
    StartAgent();
    EndAgent();
    log.Clear();
    keeper.OnProcessEnd(now);
    EXPECT_EQ(keeper.Process(), nullptr);
    EXPECT_FALSE(keeper.Due());
    EXPECT_THAT(log.Texts(),
                ElementsAre(L": [INFO] The agent has ended with code 0 and without a crash; it is left so."));
}

TEST_F(AgentKeeperTest, StartsACrashedAgentAgainWhenTheTimeHasCome)
{
    StartAgent();
    EndAgent();
    folder.Behave("run");
    log.Clear();
    keeper.OnCrashSignal(now);
    EXPECT_EQ(keeper.Due(), now + 1s);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] The agent has crashed; it is started again in 1 s."));
    keeper.Step(now + 999ms);
    EXPECT_EQ(keeper.Process(), nullptr);
    keeper.Step(now + 1s);
    EXPECT_NE(keeper.Process(), nullptr);
    EXPECT_FALSE(keeper.Due());
    EXPECT_TRUE(folder.WaitForStarts(2));
}

TEST_F(AgentKeeperTest, WaitsForTheEndOfAnAgentThatHasSignalledItsCrash)
{
    StartAgent();
    keeper.OnCrashSignal(now);
    EXPECT_EQ(keeper.Due(), now + 10s); // not of a restart
    EndAgent();
    keeper.OnProcessEnd(now + 9s);
    EXPECT_EQ(keeper.Due(), now + 10s); // of the restart
    folder.Behave("run");
    keeper.Step(now + 10s);
    EXPECT_TRUE(folder.WaitForStarts(2));
}

TEST_F(AgentKeeperTest, EndsAnAgentThatSignalsACrashAndRunsOnAndStartsItAgain)
{
    StartAgent();
    keeper.OnCrashSignal(now);
    keeper.OnCrashSignal(now + 9s); // does not put it off
    EXPECT_EQ(keeper.Due(), now + 10s);
    log.Clear();
    keeper.Step(now + 10s);
    EXPECT_FALSE(keeper.Due());
    ASSERT_EQ(WaitForSingleObject(keeper.Process(), 30000), WAIT_OBJECT_0);
    keeper.OnProcessEnd(now + 10s);
    EXPECT_EQ(keeper.Due(), now + 11s);
    keeper.Step(now + 11s);
    EXPECT_TRUE(folder.WaitForStarts(2));
    EXPECT_THAT(log.Texts(),
                ElementsAre(L": [ERROR] The agent has signalled a crash and runs on; it is ended.",
                            L": [ERROR] The agent has crashed; it is started again in 1 s.",
                            L": [INFO] The agent is started in mode 7."));
}

TEST_F(AgentKeeperTest, CountsTheLateEndOfAnAgentThatItMayNotEndAsACrash)
{
    StartAgent();
    keeper.OnCrashSignal(now);
    log.Clear();
    {
        const TestSupport::ImportPatch end(nullptr, "TerminateProcess", &DeniedEnd);
        keeper.Step(now + 10s);
    }
    EXPECT_FALSE(keeper.Due());
    EXPECT_NE(keeper.Process(), nullptr);
    EXPECT_THAT(log.Texts(),
                ElementsAre(L": [ERROR] The agent has signalled a crash and cannot be ended: error 5."));
    EndAgent();
    keeper.OnProcessEnd(now + 1h);
    EXPECT_EQ(keeper.Due(), now + 1h + 1s);
}

TEST_F(AgentKeeperTest, StartsAnAgentAgainThatSomebodyElseHadStarted)
{
    keeper.OnCrashSignal(now);
    keeper.Step(now + 1s);
    EXPECT_NE(keeper.Process(), nullptr);
    EXPECT_TRUE(folder.WaitForStarts(1));
}

TEST_F(AgentKeeperTest, GivesUpAnAgentThatCrashesFiveTimesInAMinute)
{
    for (int crash = 0; crash < 4; ++crash)
    {
        keeper.OnCrashSignal(now);
        EXPECT_TRUE(keeper.Due());
    }
    log.Clear();
    keeper.OnCrashSignal(now + 60s);
    EXPECT_FALSE(keeper.Due());
    keeper.Step(now + 1h);
    EXPECT_EQ(keeper.Process(), nullptr);
    EXPECT_THAT(
        log.Texts(),
        ElementsAre(L": [ERROR] The agent has crashed 5 times within a minute; it is not started again."));
}

TEST_F(AgentKeeperTest, TriesAStartThatIsRefusedAgainAndGivesUpInTheEnd)
{
    AgentKeeper missing(folder.Dir().Path(L"none.exe"), 1);
    missing.Start(now);
    EXPECT_EQ(missing.Process(), nullptr);
    EXPECT_THAT(log.Texts(),
                ElementsAre(HasSubstr(L"none.exe cannot be started: error 2."),
                            L": [ERROR] The agent has failed to start; it is started again in 1 s."));
    for (const auto delay : {1s, 2s, 4s, 8s})
    {
        ASSERT_EQ(missing.Due(), now + delay);
        now += delay;
        missing.Step(now);
    }
    EXPECT_FALSE(missing.Due());
    EXPECT_EQ(log.Texts().back(),
              L": [ERROR] The agent has failed to start 5 times within a minute; it is not started again.");
}

TEST_F(AgentKeeperTest, StartsAnAgentThatCouldNotBeStartedAtFirst)
{
    AgentKeeper late(folder.Dir().Path(L"late.exe"), 7);
    late.Start(now);
    ASSERT_TRUE(CopyFileW(folder.Agent().c_str(), folder.Dir().Path(L"late.exe").c_str(), TRUE));
    late.Step(now + 1s);
    EXPECT_NE(late.Process(), nullptr);
    ASSERT_TRUE(folder.WaitForStarts(1));
    folder.Behave("leave");
    EXPECT_EQ(WaitForSingleObject(late.Process(), 30000), WAIT_OBJECT_0);
}

TEST_F(AgentKeeperTest, LeavesNothingBehind)
{
    folder.Behave("leave");
    EXPECT_EQ(TestSupport::GrowthOf(
                  [this]
                  {
                      keeper.Start(now);
                      WaitForSingleObject(keeper.Process(), 30000);
                      keeper.OnProcessEnd(now);
                  },
                  10),
              "");
}
