#include "Frame.h"
#include "FrameMemory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <utility>
#include <vector>

using SvcLink::Frame;
using SvcLink::FrameBlock;
using SvcLink::FrameHeader;
using SvcLink::FrameMemory;

namespace
{

TEST(FrameMemoryTest, ABlockHasRoomForWhatWasAsked)
{
    FrameMemory memory;
    EXPECT_EQ(memory.Take(1).Size(), FrameMemory::SmallBlock);
    EXPECT_EQ(memory.Take(FrameMemory::SmallBlock).Size(), FrameMemory::SmallBlock);
    EXPECT_EQ(memory.Take(FrameMemory::SmallBlock + 1).Size(), FrameMemory::LargeBlock);
    EXPECT_EQ(memory.Take(FrameMemory::LargeBlock).Size(), FrameMemory::LargeBlock);
    EXPECT_EQ(memory.Take(FrameMemory::LargeBlock + 1).Size(), FrameMemory::LargeBlock + 1);
}

TEST(FrameMemoryTest, ABlockThatWasGivenBackIsTakenAgainForAFrameOfItsSize)
{
    FrameMemory memory;
    FrameBlock large = memory.Take(60000);
    const auto* const place = large.First(1).data();
    memory.Give(std::move(large));
    EXPECT_EQ(large.Size(), 0U) << "it is the memory's now";
    const FrameBlock small = memory.Take(100);
    EXPECT_NE(small.First(1).data(), place) << "a small frame does not take a large block";
    EXPECT_EQ(memory.Take(50000).First(1).data(), place);
}

TEST(FrameMemoryTest, ABlockBeyondTheLargeIsNotKept)
{
    FrameMemory memory;
    memory.Give(memory.Take(FrameMemory::LargeBlock + 1000));
    EXPECT_EQ(memory.Take(FrameMemory::LargeBlock).Size(), FrameMemory::LargeBlock);
}

TEST(FrameMemoryTest, ThreeBlocksAreKeptAndLargeOnesBeforeSmall)
{
    FrameMemory memory;
    std::vector<FrameBlock> small;
    std::vector<FrameBlock> large;
    for (int i = 0; i < 4; ++i)
    {
        small.push_back(memory.Take(1));
        large.push_back(memory.Take(60000));
    }
    std::set<const std::uint8_t*> places;
    for (FrameBlock& block : small)
    {
        memory.Give(std::move(block));
    }
    for (FrameBlock& block : large)
    {
        places.insert(block.First(1).data());
        memory.Give(std::move(block));
    }
    std::vector<FrameBlock> again;
    for (int i = 0; i < 3; ++i)
    {
        again.push_back(memory.Take(60000));
        EXPECT_EQ(places.count(again.back().First(1).data()), 1U);
    }
}

TEST(FrameTest, TheMessageIsWhatStandsBehindTheHeader)
{
    Frame frame;
    EXPECT_TRUE(frame.Message().empty());
    frame.header.length = 3;
    frame.block = FrameBlock(4096);
    std::memcpy(frame.block.First(4096).data() + sizeof(FrameHeader), "abc", 3);
    ASSERT_EQ(frame.Message().size(), 3U);
    EXPECT_EQ(std::memcmp(frame.Message().data(), "abc", 3), 0);
}

} // namespace
