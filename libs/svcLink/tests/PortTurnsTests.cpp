#include "PortTurns.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "WaitUntil.h"

using SvcLink::PortTurns;

namespace
{

TEST(PortTurnsTest, TheFirstThreadTakesThePortAtOnce)
{
    PortTurns turns;
    EXPECT_TRUE(turns.Take());
}

TEST(PortTurnsTest, AThreadThatComesBackSoonKeepsThePort)
{
    PortTurns turns;
    for (int call = 0; call < 1000; ++call)
    {
        ASSERT_TRUE(turns.Take());
        EXPECT_FALSE(turns.Leave()) << "nobody else is there";
    }
}

TEST(PortTurnsTest, AnotherThreadTakesThePlaceOfOneThatStaysAway)
{
    PortTurns turns;
    ASSERT_TRUE(turns.Take());
    std::future<bool> spare = std::async(std::launch::async, [&] { return turns.Take(); });
    ASSERT_TRUE(TestSupport::WaitUntil(
        [&]
        {
            const bool isAnotherThere = turns.Leave();
            return isAnotherThere || !turns.Take();
        }));
    EXPECT_TRUE(spare.get());
    std::future<bool> first = std::async(std::launch::async, [&] { return turns.Take(); });
    turns.Quit();
    EXPECT_FALSE(first.get()) << "the port is taken";
}

TEST(PortTurnsTest, EveryTakeEndsAfterTheEnd)
{
    PortTurns turns;
    ASSERT_TRUE(turns.Take());
    std::future<bool> spare = std::async(std::launch::async, [&] { return turns.Take(); });
    turns.Quit();
    EXPECT_FALSE(spare.get());
    static_cast<void>(turns.Leave());
    EXPECT_FALSE(turns.Take());
}

} // namespace
