#include "RestartPolicy.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using WatchDog::Clock;
using WatchDog::RestartPolicy;

namespace
{
const Clock::time_point start{1000h};
}

TEST(RestartPolicyTest, WaitsTwiceAsLongAfterEachCrash)
{
    RestartPolicy policy;
    EXPECT_EQ(policy.OnCrash(start), 1000ms);
    EXPECT_EQ(policy.OnCrash(start + 1s), 2000ms);
    EXPECT_EQ(policy.OnCrash(start + 3s), 4000ms);
    EXPECT_EQ(policy.OnCrash(start + 7s), 8000ms);
}

TEST(RestartPolicyTest, GivesUpAtTheFifthCrashWithinAMinute)
{
    RestartPolicy policy;
    for (int crash = 0; crash < 4; ++crash)
    {
        EXPECT_TRUE(policy.OnCrash(start + crash * 15s));
    }
    EXPECT_FALSE(policy.OnCrash(start + 60s));
}

TEST(RestartPolicyTest, ForgetsCrashesThatAreOlderThanAMinute)
{
    RestartPolicy policy;
    for (int crash = 0; crash < 4; ++crash)
    {
        EXPECT_TRUE(policy.OnCrash(start + crash * 15s));
    }
    EXPECT_EQ(policy.OnCrash(start + 60s + 1ms), 8000ms); // the first one is gone
    EXPECT_EQ(policy.OnCrash(start + 10min), 1000ms);
}

TEST(RestartPolicyTest, BeginsAnewAfterItHasGivenUp)
{
    RestartPolicy policy;
    for (int crash = 0; crash < 5; ++crash)
    {
        (void)policy.OnCrash(start);
    }
    EXPECT_FALSE(policy.OnCrash(start + 30s));
    EXPECT_EQ(policy.OnCrash(start + 91s), 1000ms);
}

TEST(RestartPolicyTest, NeverGivesUpOnCrashesThatAreFarApart)
{
    RestartPolicy policy;
    for (int crash = 0; crash < 100; ++crash)
    {
        EXPECT_EQ(policy.OnCrash(start + crash * 61s), 1000ms);
    }
}

TEST(RestartPolicyTest, GivesUpAtTheCrashThatReachesItsLimit)
{
    RestartPolicy once(1);
    EXPECT_FALSE(once.OnCrash(start));
    RestartPolicy seven(7);
    for (int crash = 0; crash < 6; ++crash)
    {
        EXPECT_TRUE(seven.OnCrash(start));
    }
    EXPECT_FALSE(seven.OnCrash(start));
}

TEST(RestartPolicyTest, NeverGivesUpWithoutALimitAndWaitsEightSecondsAtMost)
{
    RestartPolicy policy(0);
    for (const auto delay : {1000ms, 2000ms, 4000ms, 8000ms})
    {
        EXPECT_EQ(policy.OnCrash(start), delay);
    }
    for (int crash = 0; crash < 1000; ++crash)
    {
        EXPECT_EQ(policy.OnCrash(start), 8000ms);
    }
}
