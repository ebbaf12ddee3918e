#include "MessageAccess.h"

#include <gtest/gtest.h>

using MessageModel::Bytes;

TEST(NestingTest, ANestedMessageStandsWholeAtThePlaceOfAnItem)
{
    MsgBuffer inner;
    Assign(inner, MessageModel::MessageBytes(7, {MessageModel::UInt(2, 3)}));
    MsgBuffer outer;
    outer.Reset(1);
    outer.AppendMessage(inner);
    EXPECT_EQ(BytesOf(outer), (Bytes{1,  0, 0, 0, 100, 0, 0, 0, 28, 0, 0, 0, 7, 0, 0, 0, 100, 0, 0, 0,
                                     16, 0, 0, 0, 2,   0, 0, 0, 7,  0, 0, 0, 4, 0, 0, 0, 3,   0, 0, 0}));
}

TEST(NestingTest, AnEmptyMessageIsNestedAsAValueOfNoLength)
{
    const MsgBuffer inner;
    MsgBuffer outer;
    outer.AppendMessage(inner);
    EXPECT_EQ(BytesOf(outer), MessageModel::MessageBytes(0, {{0, 100, {}}}));
    MsgBuffer read;
    read.Reset(5);
    EXPECT_EQ(outer.GetMessage(0, read), Status::Success);
    EXPECT_EQ(BytesOf(read), BytesOf(inner));
}

TEST(NestingTest, TheLengthInTheNestedHeadCounts)
{
    MsgBuffer inner;
    MsgItem item{2, 7, 4, 0};
    inner.Append(item, nullptr); // the head still says 0
    MsgBuffer outer;
    outer.AppendMessage(inner);
    EXPECT_EQ(BytesOf(outer), MessageModel::MessageBytes(0, {{0, 100, {}}}));
}

TEST(NestingTest, ALengthBeyondTheNestedBytesIsBounded)
{
    const Bytes value = MessageModel::ItemBytes(MessageModel::UInt(2, 3));
    for (const std::uint32_t length : {17U, 0x7FFFFFFFU, 0xFFFFFFF4U, 0xFFFFFFFFU})
    {
        const Bytes bytes = MessageModel::Joined({MessageModel::Head(7, 100, length), value});
        MsgBuffer inner;
        inner.Attach(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
        MsgBuffer outer;
        outer.AppendMessage(inner);
        EXPECT_EQ(BytesOf(outer), MessageModel::MessageBytes(0, {{7, 100, value}}));
    }
}

TEST(NestingTest, TheNestedHeadGivesIdAndType)
{
    const Bytes bytes = MessageModel::Joined(
        {MessageModel::Head(7, 0, 16), MessageModel::ItemBytes(MessageModel::UInt(2, 3))});
    MsgBuffer inner;
    Assign(inner, bytes);
    MsgBuffer outer;
    outer.AppendMessage(inner);
    EXPECT_EQ(BytesOf(outer), MessageModel::WithNested(MessageModel::MessageBytes(0, {}), bytes));
    MsgBuffer read;
    EXPECT_EQ(outer.GetMessage(7, read), Status::NotFound) << "raw bytes by its head";
}

TEST(NestingTest, AMessageNestsIntoItself)
{
    MsgBuffer message;
    Assign(message, MessageModel::MessageBytes(7, {MessageModel::UInt(2, 3)}));
    Bytes expected = BytesOf(message);
    for (int i = 0; i < 12; ++i)
    {
        message.AppendMessage(message);
        expected = MessageModel::WithNested(expected, expected);
        ASSERT_EQ(BytesOf(message), expected) << i;
    }
    MsgBuffer read;
    EXPECT_EQ(message.GetMessage(7, read), Status::Success);
    EXPECT_EQ(BytesOf(read), MessageModel::MessageBytes(7, {MessageModel::UInt(2, 3)}));
}

TEST(NestingTest, ABorrowedMessageNestsIntoItself)
{
    const Bytes bytes = MessageModel::MessageBytes(7, {MessageModel::UInt(2, 3)});
    MsgBuffer message;
    message.Attach(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    message.AppendMessage(message);
    EXPECT_EQ(BytesOf(message), MessageModel::WithNested(bytes, bytes));
}

TEST(NestingTest, NestsAHundredDeep)
{
    constexpr std::uint32_t depth = 100;
    Bytes innermost = MessageModel::MessageBytes(depth, {MessageModel::UInt(1000, 4711)});
    MsgBuffer message;
    Assign(message, innermost);
    for (std::uint32_t id = depth; id-- > 0;)
    {
        MsgBuffer outer;
        outer.Reset(id);
        outer.AppendMessage(message);
        Assign(message, BytesOf(outer));
    }
    EXPECT_EQ(message.Bytes().size(), 28U + depth * 12U);
    for (std::uint32_t id = 1; id <= depth; ++id)
    {
        MsgBuffer nested;
        ASSERT_EQ(message.GetMessage(id, nested), Status::Success);
        Assign(message, BytesOf(nested));
    }
    EXPECT_EQ(BytesOf(message), innermost);
}
