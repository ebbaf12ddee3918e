#include "MessageAccess.h"
#include "MessageIds.h"

#include <gtest/gtest.h>

#include <string>

using MessageModel::Bytes;

TEST(RpcMsgBufferTest, ANewMessageHasItsIdAndNothingElse)
{
    const CRpcMsgBuffer message(RpcMessageId);
    EXPECT_EQ(message.Id(), 0x10014U);
    EXPECT_EQ(BytesOf(message), (Bytes{0x14, 0, 1, 0, 100, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(RpcMsgBufferTest, AnEventMailIsWrittenToTheByte)
{
    const std::wstring text = L"{}\n";
    CRpcMsgBuffer inner(RpcMessageId);
    EXPECT_EQ(inner.AddString(0xE001F, text.data(), 3), Status::Success);
    EXPECT_EQ(inner.AddInt(0xE001E, 0), Status::Success);
    EXPECT_EQ(inner.AddUInt(0xE000E, 0x11223344), Status::Success);
    EXPECT_EQ(inner.AddUInt(0xE0020, 0x55667788), Status::Success);
    EXPECT_EQ(inner.AddUInt(0xE0001, 5), Status::Success);
    EXPECT_EQ(inner.AddUInt(0xE000F, 0x1802), Status::Success);
    CRpcMsgBuffer outer(RpcMessageId);
    EXPECT_EQ(outer.AddUInt(0xE001D, inner.Id()), Status::Success);
    EXPECT_EQ(outer.AddMessage(inner), Status::Success);

    // clang-format off
    EXPECT_EQ(BytesOf(outer), (Bytes{
        0x14, 0, 1, 0,        100, 0, 0, 0,   128, 0, 0, 0,
        0x1D, 0, 0x0E, 0,     7, 0, 0, 0,     4, 0, 0, 0,     0x14, 0, 1, 0,
        0x14, 0, 1, 0,        100, 0, 0, 0,   100, 0, 0, 0,
        0x1F, 0, 0x0E, 0,     2, 0, 0, 0,     8, 0, 0, 0,     '{', 0, '}', 0, '\n', 0, 0, 0,
        0x1E, 0, 0x0E, 0,     6, 0, 0, 0,     4, 0, 0, 0,     0, 0, 0, 0,
        0x0E, 0, 0x0E, 0,     7, 0, 0, 0,     4, 0, 0, 0,     0x44, 0x33, 0x22, 0x11,
        0x20, 0, 0x0E, 0,     7, 0, 0, 0,     4, 0, 0, 0,     0x88, 0x77, 0x66, 0x55,
        0x01, 0, 0x0E, 0,     7, 0, 0, 0,     4, 0, 0, 0,     5, 0, 0, 0,
        0x0F, 0, 0x0E, 0,     7, 0, 0, 0,     4, 0, 0, 0,     0x02, 0x18, 0, 0}));
    // clang-format on
}

TEST(RpcMsgBufferTest, AnAddedTextNeedsNoTerminatorAndLosesWhatComesAfterIt)
{
    CRpcMsgBuffer message(1);
    EXPECT_EQ(message.AddString(2, L"abcXYZ", 3), Status::Success);
    EXPECT_EQ(message.AddString(3, L"abc", 0), Status::Success);
    EXPECT_EQ(BytesOf(message),
              MessageModel::MessageBytes(1, {MessageModel::Text(2, u"abc"), MessageModel::Text(3, u"")}));
}

TEST(RpcMsgBufferTest, ACopyIsDeep)
{
    CRpcMsgBuffer message(1);
    EXPECT_EQ(message.AddUInt(2, 3), Status::Success);
    const CRpcMsgBuffer copy(message);
    EXPECT_NE(copy.Bytes().data(), message.Bytes().data());
    EXPECT_EQ(message.AddUInt(4, 5), Status::Success);
    EXPECT_EQ(BytesOf(copy), MessageModel::MessageBytes(1, {MessageModel::UInt(2, 3)}));
    std::uint32_t value = 0;
    EXPECT_EQ(copy.GetUInt(2, value), Status::Success);
    EXPECT_EQ(value, 3U);
    EXPECT_EQ(copy.GetUInt(4, value), Status::FromBits(0xE0FF000E));
}

TEST(RpcMsgBufferTest, ReadsBackWhatWasAdded)
{
    CRpcMsgBuffer message(1);
    CRpcMsgBuffer nested(9);
    EXPECT_EQ(nested.AddUInt(10, 11), Status::Success);
    EXPECT_EQ(message.AddInt(2, -3), Status::Success);
    EXPECT_EQ(message.AddString(4, L"abc", 3), Status::Success);
    EXPECT_EQ(message.AddMessage(nested), Status::Success);

    std::uint32_t value = 0;
    EXPECT_EQ(message.GetUInt(2, value), Status::Success);
    EXPECT_EQ(static_cast<std::int32_t>(value), -3);
    wchar_t text[8]{};
    EXPECT_EQ(message.GetString(4, text, 8, value), Status::Success);
    EXPECT_STREQ(text, L"abc");
    CRpcMsgBuffer read(0);
    EXPECT_EQ(message.GetMessage(9, read), Status::Success);
    EXPECT_EQ(BytesOf(read), BytesOf(nested));

    EXPECT_EQ(message.GetUInt(4, value), Status::FromBits(0xE0FF0007));
    EXPECT_EQ(message.GetString(2, nullptr, 0, value), Status::FromBits(0xE0FF0007));
    EXPECT_EQ(message.GetMessage(3, read), Status::FromBits(0xE0FF000E));
}

TEST(RpcMsgBufferTest, AMessageMayBeAddedToItself)
{
    CRpcMsgBuffer message(1);
    EXPECT_EQ(message.AddUInt(2, 3), Status::Success);
    const Bytes once = BytesOf(message);
    EXPECT_EQ(message.AddMessage(message), Status::Success);
    EXPECT_EQ(BytesOf(message), MessageModel::WithNested(once, once));
}

TEST(RpcMsgBufferTest, ATextTooLongForALengthNeedsMoreMemoryThanThereIs)
{
    CRpcMsgBuffer message(1);
    for (const std::uint32_t characters : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU})
    {
        EXPECT_EQ(message.AddString(2, L"abc", characters), Status::FromBits(0xE0FF001E));
        EXPECT_EQ(message.AddString(2, nullptr, characters), Status::FromBits(0xE0FF001E));
    }
    EXPECT_EQ(BytesOf(message), MessageModel::MessageBytes(1, {}));
}
