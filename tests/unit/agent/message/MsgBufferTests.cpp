#include "MessageAccess.h"

#include <gtest/gtest.h>

#include <string>

using MessageModel::Bytes;
using MessageModel::Item;

namespace
{
constexpr AgentStatus success = Status::FromBits(0x20FF0000);
constexpr AgentStatus wrongItem = Status::FromBits(0xE0FF0007);
constexpr AgentStatus noItem = Status::FromBits(0xE0FF000E);

void AppendUInt(MsgBuffer& message, std::uint32_t id, std::uint32_t value)
{
    MsgItem item{id, 7, 4, 0};
    message.Append(item, &value);
}

// The value's bytes in the message after appending what the source holds as an item of that type and length.
Bytes AppendedValue(std::uint32_t type, std::uint32_t length, const char* source)
{
    MsgBuffer message;
    MsgItem item{9, type, length, 0};
    message.Append(item, source);
    EXPECT_EQ(message.Bytes().size(), 24U + length);
    EXPECT_EQ(item.offset, 24U);
    return {message.Bytes().begin() + 24, message.Bytes().end()};
}

std::uint32_t NumberIn(const MsgBuffer& message, std::uint32_t id)
{
    std::uint32_t value = 0xAAAAAAAA;
    EXPECT_EQ(message.GetUInt(id, value), success);
    return value;
}
} // namespace

TEST(MsgBufferTest, ANewMessageIsAHeadOfTwelveBytes)
{
    MsgBuffer message;
    EXPECT_EQ(BytesOf(message), (Bytes{0, 0, 0, 0, 100, 0, 0, 0, 0, 0, 0, 0}));
    message.Reset(0x10014);
    EXPECT_EQ(BytesOf(message), (Bytes{0x14, 0, 1, 0, 100, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(MsgBufferTest, AnUnsignedItemTakesSixteenBytes)
{
    MsgBuffer message;
    message.Reset(0x10014);
    const std::uint32_t value = 0x04030201;
    MsgItem item{0xE000E, 7, 4, 0};
    message.Append(item, &value);
    EXPECT_EQ(BytesOf(message), (Bytes{0x14, 0, 1, 0, 100, 0, 0, 0, 16, 0, 0, 0, 0x0E, 0,
                                       0x0E, 0, 7, 0, 0,   0, 4, 0, 0,  0, 1, 2, 3,    4}));
    EXPECT_EQ(item.offset, 24U);
    EXPECT_EQ(NumberIn(message, 0xE000E), 0x04030201U);
}

TEST(MsgBufferTest, TheLengthInTheHeadGrowsWithEachItem)
{
    MsgBuffer message;
    message.Reset(1);
    AppendUInt(message, 2, 3);
    AppendUInt(message, 4, 5);
    EXPECT_EQ(BytesOf(message),
              MessageModel::MessageBytes(1, {MessageModel::UInt(2, 3), MessageModel::UInt(4, 5)}));
}

TEST(MsgBufferTest, AWideStringEndsInZerosWhateverItsSourceHolds)
{
    EXPECT_EQ(AppendedValue(2, 8, "a\0b\0c\0XY"), (Bytes{'a', 0, 'b', 0, 'c', 0, 0, 0}));
}

TEST(MsgBufferTest, CopiesANarrowStringButItsLastByte)
{
    EXPECT_EQ(AppendedValue(1, 0, "abc"), Bytes());
    EXPECT_EQ(AppendedValue(1, 1, "abc"), Bytes{0});
    EXPECT_EQ(AppendedValue(1, 2, "abc"), (Bytes{'a', 0}));
    EXPECT_EQ(AppendedValue(1, 3, "abc"), (Bytes{'a', 'b', 0}));
}

TEST(MsgBufferTest, CopiesAWideStringButItsLastTwoBytes)
{
    EXPECT_EQ(AppendedValue(2, 0, "abcd"), Bytes());
    EXPECT_EQ(AppendedValue(2, 1, "abcd"), Bytes{0});
    EXPECT_EQ(AppendedValue(2, 2, "abcd"), (Bytes{0, 0}));
    EXPECT_EQ(AppendedValue(2, 3, "abcd"), (Bytes{'a', 0, 0}));
    EXPECT_EQ(AppendedValue(2, 4, "abcd"), (Bytes{'a', 'b', 0, 0}));
}

TEST(MsgBufferTest, CopiesEveryOtherTypeWhole)
{
    EXPECT_EQ(AppendedValue(0, 3, "abc"), (Bytes{'a', 'b', 'c'}));
    EXPECT_EQ(AppendedValue(6, 4, "abcd"), (Bytes{'a', 'b', 'c', 'd'}));
    EXPECT_EQ(AppendedValue(0xFFFFFFFF, 1, "abc"), Bytes{'a'});
}

TEST(MsgBufferTest, ANullValueLeavesTheLengthInTheHead)
{
    MsgBuffer message;
    AppendUInt(message, 1, 2);
    MsgItem item{3, 7, 4, 0};
    message.Append(item, nullptr);
    EXPECT_EQ(item.offset, 40U);
    EXPECT_EQ(BytesOf(message), MessageModel::Joined({MessageModel::Head(0, 100, 16),
                                                      MessageModel::ItemBytes(MessageModel::UInt(1, 2)),
                                                      MessageModel::ItemBytes(MessageModel::UInt(3, 0))}));
    EXPECT_EQ(NumberIn(message, 3), 0U);

    MsgItem none{4, 3, 0, 0};
    message.Append(none, "");
    EXPECT_EQ(MessageModel::NumberAt(message.Bytes(), 8), 44U) << "a value of no length is a value";
}

TEST(MsgBufferTest, RawBytesAreFoundOnlyAfterParsing)
{
    MsgBuffer message;
    MsgItem item{5, 0, 4, 0};
    message.Append(item, "abcd");
    std::uint32_t value = 0;
    EXPECT_EQ(message.GetUInt(5, value), noItem);

    MsgBuffer copy;
    Assign(copy, BytesOf(message));
    EXPECT_EQ(copy.GetUInt(5, value), wrongItem);
}

TEST(MsgBufferTest, ReadersGetTheFirstOfTwoItemsOfAnId)
{
    MsgBuffer message;
    AppendUInt(message, 2, 3);
    AppendUInt(message, 2, 4);
    EXPECT_EQ(NumberIn(message, 2), 3U);
    MsgBuffer parsed;
    Assign(parsed, BytesOf(message));
    EXPECT_EQ(NumberIn(parsed, 2), 3U);
}

TEST(MsgBufferTest, FindsEachItemHoweverManyThereAre)
{
    MsgBuffer message;
    for (std::uint32_t count = 1; count <= 40; ++count)
    {
        AppendUInt(message, 1000 - count, count);
        AppendUInt(message, 7, count);
        MsgBuffer parsed;
        Assign(parsed, BytesOf(message));
        std::uint32_t value = 0;
        for (std::uint32_t i = 1; i <= count; ++i)
        {
            EXPECT_EQ(NumberIn(message, 1000 - i), i);
            EXPECT_EQ(NumberIn(parsed, 1000 - i), i);
        }
        EXPECT_EQ(NumberIn(message, 7), 1U);
        EXPECT_EQ(NumberIn(parsed, 7), 1U);
        EXPECT_EQ(message.GetUInt(1000 - count - 1, value), noItem);
        EXPECT_EQ(parsed.GetUInt(1000 - count - 1, value), noItem);
    }
}

TEST(MsgBufferTest, ResetForgetsEverything)
{
    const Bytes bytes = MessageModel::MessageBytes(1, {MessageModel::UInt(2, 3)});
    MsgBuffer message;
    std::uint32_t value = 0;
    for (const bool isBorrowed : {false, true})
    {
        isBorrowed ? message.Attach(bytes.data(), 28) : message.Assign(bytes.data(), 28);
        message.Reset(4);
        EXPECT_EQ(BytesOf(message), MessageModel::MessageBytes(4, {}));
        EXPECT_EQ(message.GetUInt(2, value), noItem);
    }
}

TEST(MsgBufferTest, BorrowsUntilTheFirstWrite)
{
    Bytes bytes = MessageModel::MessageBytes(1, {MessageModel::UInt(2, 3)});
    MsgBuffer message;
    message.Attach(bytes.data(), 28);
    EXPECT_EQ(message.Bytes().data(), bytes.data());
    bytes[24] = 9;
    EXPECT_EQ(NumberIn(message, 2), 9U);

    AppendUInt(message, 4, 5);
    EXPECT_NE(message.Bytes().data(), bytes.data());
    bytes[24] = 7;
    EXPECT_EQ(BytesOf(message),
              MessageModel::MessageBytes(1, {MessageModel::UInt(2, 9), MessageModel::UInt(4, 5)}));
    EXPECT_EQ(NumberIn(message, 2), 9U);
}

TEST(MsgBufferTest, AssignKeepsNothingBorrowed)
{
    Bytes bytes = MessageModel::MessageBytes(1, {MessageModel::UInt(2, 3)});
    MsgBuffer message;
    message.Assign(bytes.data(), 28);
    bytes.assign(28, 0xFF);
    EXPECT_EQ(NumberIn(message, 2), 3U);
}

TEST(MsgBufferTest, NullAndNoBytesChangeNothing)
{
    MsgBuffer message;
    Assign(message, MessageModel::MessageBytes(1, {MessageModel::UInt(2, 3)}));
    const Bytes before = BytesOf(message);
    message.Assign(nullptr, 28);
    message.Attach(nullptr, 28);
    message.Assign(before.data(), 0);
    message.Attach(before.data(), 0);
    EXPECT_EQ(BytesOf(message), before);
    EXPECT_EQ(NumberIn(message, 2), 3U);
}

TEST(MsgBufferTest, AHeadAloneKeepsItsIdAndOtherShortBuffersDoNot)
{
    const Bytes bytes = MessageModel::MessageBytes(5, {MessageModel::UInt(2, 3)});
    for (std::uint32_t length = 1; length < 28; ++length)
    {
        for (const bool isBorrowed : {false, true})
        {
            MsgBuffer message;
            message.Reset(8);
            isBorrowed ? message.Attach(bytes.data(), length) : message.Assign(bytes.data(), length);
            const Bytes expected =
                length == 12 ? Bytes(bytes.begin(), bytes.begin() + 12) : MessageModel::MessageBytes(0, {});
            EXPECT_EQ(BytesOf(message), expected) << length;
        }
    }
}

TEST(MsgBufferTest, ParsesByTheCallersLengthAndNotByTheHead)
{
    const Bytes item = MessageModel::ItemBytes(MessageModel::UInt(2, 3));
    for (const std::uint32_t length : {0U, 15U, 17U, 0xFFFFFFFFU})
    {
        const Bytes bytes = MessageModel::Joined({MessageModel::Head(1, 55, length), item});
        MsgBuffer message;
        Assign(message, bytes);
        EXPECT_EQ(BytesOf(message), bytes);
        EXPECT_EQ(NumberIn(message, 2), 3U);
    }
}

TEST(MsgBufferTest, AnItemPastTheEndMakesAnEmptyMessage)
{
    Bytes bytes = MessageModel::MessageBytes(1, {MessageModel::UInt(2, 3), MessageModel::Text(4, u"abc")});
    ++bytes[36]; // the second item's length
    MsgBuffer message;
    Assign(message, bytes);
    EXPECT_EQ(BytesOf(message), MessageModel::MessageBytes(0, {}));
    std::uint32_t value = 0;
    EXPECT_EQ(message.GetUInt(2, value), noItem);
}

TEST(MsgBufferTest, ReadsANumberOfEitherTypeAndOfFourBytesOnly)
{
    MsgBuffer message;
    Assign(message, MessageModel::MessageBytes(1, {MessageModel::Int(1, -2),
                                                   MessageModel::UInt(2, 0xFFFFFFFF),
                                                   {3, 7, {1, 2, 3}},
                                                   {4, 7, {1, 2, 3, 4, 5}},
                                                   {5, 2, {1, 2, 3, 4}},
                                                   {6, 100, {}}}));
    EXPECT_EQ(NumberIn(message, 1), 0xFFFFFFFEU);
    EXPECT_EQ(NumberIn(message, 2), 0xFFFFFFFFU);
    std::uint32_t value = 77;
    for (const std::uint32_t id : {3U, 4U, 5U, 6U})
    {
        EXPECT_EQ(message.GetUInt(id, value), wrongItem) << id;
    }
    EXPECT_EQ(message.GetUInt(7, value), noItem);
    EXPECT_EQ(value, 77U);
}

TEST(MsgBufferTest, ReadsATextWhoseLastUnitCountsAsTerminator)
{
    const std::string bytes("a\0b\0c\0d\0", 8);
    for (std::uint32_t length = 0; length <= 8; ++length)
    {
        MsgBuffer message;
        Assign(message,
               MessageModel::MessageBytes(1, {{2, 2, Bytes(bytes.begin(), bytes.begin() + length)}}));
        std::wstring text(8, L'#');
        std::uint32_t characters = 99;
        EXPECT_EQ(message.GetString(2, text.data(), 8, characters), success);
        const std::uint32_t expected = length < 4 ? 0 : length / 2 - 1;
        EXPECT_EQ(characters, expected) << length;
        EXPECT_EQ(text, std::wstring(L"abc").substr(0, expected) + L'\0' + std::wstring(7 - expected, L'#'));
    }
}

TEST(MsgBufferTest, ABufferThatIsTooSmallGetsNothing)
{
    MsgBuffer message;
    Assign(message,
           MessageModel::MessageBytes(1, {MessageModel::Text(2, u"abc"), MessageModel::Text(3, u"")}));
    wchar_t buffer[] = L"####";
    std::uint32_t length = 0;
    for (std::uint32_t capacity = 0; capacity < 4; ++capacity)
    {
        EXPECT_EQ(message.GetString(2, buffer, capacity, length), success);
        EXPECT_EQ(length, 3U);
        EXPECT_STREQ(buffer, L"####");
    }
    EXPECT_EQ(message.GetString(2, nullptr, 99, length), success);
    EXPECT_EQ(message.GetString(2, buffer, 4, length), success);
    EXPECT_STREQ(buffer, L"abc");

    EXPECT_EQ(message.GetString(3, buffer, 0, length), success);
    EXPECT_EQ(length, 0U);
    EXPECT_STREQ(buffer, L"abc");
    EXPECT_EQ(message.GetString(3, nullptr, 1, length), success);
    EXPECT_EQ(message.GetString(3, buffer, 1, length), success);
    EXPECT_STREQ(buffer, L"");
}

TEST(MsgBufferTest, ReadsATextFromAWideStringOnly)
{
    MsgBuffer message;
    Assign(message, MessageModel::MessageBytes(1, {{2, 1, {'a', 0, 0, 0}}, MessageModel::UInt(3, 4)}));
    std::uint32_t length = 0;
    EXPECT_EQ(message.GetString(2, nullptr, 0, length), wrongItem);
    EXPECT_EQ(message.GetString(3, nullptr, 0, length), wrongItem);
    EXPECT_EQ(message.GetString(4, nullptr, 0, length), noItem);
}

TEST(MsgBufferTest, ANestedMessageIsReadWithItsHead)
{
    MsgBuffer message;
    Assign(message, MessageModel::MessageBytes(
                        1, {MessageModel::UInt(2, 3), MessageModel::Nested(4, {MessageModel::UInt(5, 6)})}));
    MsgBuffer nested;
    EXPECT_EQ(message.GetMessage(4, nested), success);
    EXPECT_EQ(BytesOf(nested), MessageModel::MessageBytes(4, {MessageModel::UInt(5, 6)}));
    EXPECT_EQ(message.GetMessage(9, nested), noItem);
    EXPECT_EQ(message.GetMessage(4, message), success) << "a message may become its own part";
    EXPECT_EQ(BytesOf(message), BytesOf(nested));
    EXPECT_EQ(NumberIn(message, 5), 6U);
}

TEST(MsgBufferTest, AnItemThatIsNoMessageLeavesTheTargetAsItWas)
{
    MsgBuffer message;
    AppendUInt(message, 2, 3);
    MsgBuffer nested;
    AppendUInt(nested, 4, 5);
    const Bytes before = BytesOf(nested);
    EXPECT_EQ(message.GetMessage(2, nested), success);
    EXPECT_EQ(BytesOf(nested), before);
}

TEST(MsgBufferTest, ItsOwnBytesMayBeGivenToIt)
{
    const Bytes bytes =
        MessageModel::MessageBytes(1, {MessageModel::UInt(2, 3), MessageModel::Text(4, u"abc")});
    MsgBuffer message;
    Assign(message, bytes);
    message.Assign(message.Bytes().data(), static_cast<std::uint32_t>(bytes.size()));
    EXPECT_EQ(BytesOf(message), bytes);
    message.Attach(message.Bytes().data(), static_cast<std::uint32_t>(bytes.size()));
    EXPECT_EQ(BytesOf(message), bytes);
    EXPECT_EQ(NumberIn(message, 2), 3U);

    for (int i = 0; i < 100; ++i)
    {
        MsgItem item{9, 7, 4, 0};
        message.Append(item, message.Bytes().data() + 24);
    }
    EXPECT_EQ(NumberIn(message, 9), 3U);
    EXPECT_EQ(MessageModel::Parse(message.Bytes())->at(101).value, MessageModel::Number(3));
}
