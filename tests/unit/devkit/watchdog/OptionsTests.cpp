#include "Options.h"

#include <gtest/gtest.h>

using WatchDog::Options;
using WatchDog::ParseOptions;
using WatchDog::Task;

TEST(WatchDogOptionsTest, WatchServiceAndAgentInModeOneByDefault)
{
    const Options options = ParseOptions({});
    EXPECT_EQ(options.task, Task::Watch);
    EXPECT_TRUE(options.withAgent);
    EXPECT_EQ(options.mode, 1);
    EXPECT_EQ(options.complaint, L"");
}

TEST(WatchDogOptionsTest, TakeTheModeOfTheAgent)
{
    EXPECT_EQ(ParseOptions({L"--mode", L"2"}).mode, 2);
    EXPECT_EQ(ParseOptions({L"--mode", L"-1"}).mode, -1);
    EXPECT_EQ(ParseOptions({L"--mode", L"0x10"}).mode, 16);
    EXPECT_EQ(ParseOptions({L"--mode", L"3", L"--service-only"}).mode, 3);
}

TEST(WatchDogOptionsTest, RefuseAModeThatIsNoNumber)
{
    for (const wchar_t* mode : {L"", L"x", L"2x", L"--stop", L"99999999999"})
    {
        EXPECT_EQ(ParseOptions({L"--mode", mode}).complaint, L"--mode needs a number.");
    }
    EXPECT_EQ(ParseOptions({L"--mode"}).complaint, L"--mode needs a number.");
}

TEST(WatchDogOptionsTest, TakeTheLimitOfCrashes)
{
    EXPECT_EQ(ParseOptions({}).crashLimit, 5U);
    EXPECT_EQ(ParseOptions({L"--crash-limit", L"0"}).crashLimit, 0U);
    EXPECT_EQ(ParseOptions({L"--crash-limit", L"1000", L"--mode", L"2"}).crashLimit, 1000U);
}

TEST(WatchDogOptionsTest, RefuseALimitThatIsNoneOrTooHigh)
{
    for (const wchar_t* limit : {L"", L"x", L"5x", L"-1", L"1001", L"4294967296", L"--stop"})
    {
        EXPECT_EQ(ParseOptions({L"--crash-limit", limit}).complaint,
                  L"--crash-limit needs a number from 0 to 1000.");
    }
    EXPECT_EQ(ParseOptions({L"--crash-limit"}).complaint, L"--crash-limit needs a number from 0 to 1000.");
}

TEST(WatchDogOptionsTest, LeaveTheAgentOut)
{
    EXPECT_FALSE(ParseOptions({L"--service-only"}).withAgent);
    EXPECT_FALSE(ParseOptions({L"--no-agent"}).withAgent);
}

TEST(WatchDogOptionsTest, EndWithTheExitEventOnlyIfAsked)
{
    EXPECT_FALSE(ParseOptions({L"--mode", L"2"}).untilExit);
    EXPECT_TRUE(ParseOptions({L"--mode", L"2", L"--until-exit"}).untilExit);
}

TEST(WatchDogOptionsTest, AskForAnotherTask)
{
    EXPECT_EQ(ParseOptions({L"--stop"}).task, Task::Stop);
    EXPECT_EQ(ParseOptions({L"--help"}).task, Task::Help);
}

TEST(WatchDogOptionsTest, RefuseWhatTheyDoNotKnow)
{
    EXPECT_EQ(ParseOptions({L"--Stop"}).complaint, L"Unknown option --Stop.");
    EXPECT_EQ(ParseOptions({L"--stop", L"now"}).complaint, L"Unknown option now.");
}
