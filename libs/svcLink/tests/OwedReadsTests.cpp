#include "OwedReads.h"

#include <gtest/gtest.h>

#include <memory>

using SvcLink::OwedReads;
using SvcLink::ServerConnection;

namespace
{

OwedReads::Connection MakeConnection()
{
    return std::make_shared<ServerConnection>(VzCommon::FileHandle());
}

TEST(OwedReadsTest, AReadIsBegunOnceOnly)
{
    OwedReads reads;
    const auto connection = MakeConnection();
    EXPECT_FALSE(reads.Take(connection));
    ASSERT_TRUE(reads.Add(connection));
    EXPECT_TRUE(reads.Take(connection));
    EXPECT_FALSE(reads.Take(connection));
    EXPECT_EQ(reads.TakeAny(), nullptr);
}

TEST(OwedReadsTest, WhoeverGoesToThePortGetsAllOfThem)
{
    OwedReads reads;
    const auto first = MakeConnection();
    const auto second = MakeConnection();
    ASSERT_TRUE(reads.Add(first) && reads.Add(second));
    const auto one = reads.TakeAny();
    const auto other = reads.TakeAny();
    EXPECT_TRUE((one == first && other == second) || (one == second && other == first));
    EXPECT_EQ(reads.TakeAny(), nullptr);
    EXPECT_FALSE(reads.Take(first));
    EXPECT_FALSE(reads.Take(second));
}

TEST(OwedReadsTest, AConnectionIsHeldNoLongerThanItsRead)
{
    OwedReads reads;
    const auto connection = MakeConnection();
    ASSERT_TRUE(reads.Add(connection));
    EXPECT_EQ(connection.use_count(), 2);
    EXPECT_TRUE(reads.Take(connection));
    EXPECT_EQ(connection.use_count(), 1);
}

} // namespace
