#include "MessageInvariants.h"
#include "MessageModel.h"
#include "MsgBuffer.h"
#include "RpcMsgBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

using MessageModel::Bytes;
using MessageModel::Item;

namespace
{
// Small, with an item of every kind.
Bytes Sample()
{
    return MessageModel::MessageBytes(
        0x10014,
        {MessageModel::UInt(0xE001D, 0x10014),
         MessageModel::Nested(0x10014, {MessageModel::Text(0xE001F, u"{}"), MessageModel::Int(0xE001E, 0)}),
         {1, 1, {'a', 0}},
         {2, 0, {1, 2, 3}},
         {3, 55, {}}});
}

Bytes ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
} // namespace

TEST(OutsideBytesTest, EveryPrefixOfAMessageHoldsTheInvariants)
{
    const Bytes bytes = Sample();
    for (std::size_t length = 0; length <= bytes.size(); ++length)
    {
        EXPECT_EQ(BrokenMessageInvariant({bytes.data(), length}), "") << length;
    }
}

TEST(OutsideBytesTest, EveryFlippedBitOfAMessageHoldsTheInvariants)
{
    Bytes bytes = Sample();
    for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit)
    {
        const auto mask = static_cast<std::uint8_t>(1U << bit % 8);
        bytes[bit / 8] ^= mask;
        EXPECT_EQ(BrokenMessageInvariant(bytes), "") << bit;
        bytes[bit / 8] ^= mask;
    }
}

TEST(OutsideBytesTest, EveryItemMaySayAnyLength)
{
    const Bytes sample = Sample();
    for (const std::uint32_t length : {0U, 1U, 2U, 3U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFE8U, 0xFFFFFFF3U,
                                       0xFFFFFFF4U, 0xFFFFFFF5U, 0xFFFFFFFFU})
    {
        const Bytes number = MessageModel::Number(length);
        for (std::size_t position = 0; position + 4 <= sample.size(); ++position)
        {
            Bytes bytes = sample;
            std::copy(number.begin(), number.end(), bytes.begin() + static_cast<std::ptrdiff_t>(position));
            EXPECT_EQ(BrokenMessageInvariant(bytes), "") << length << " at " << position;
        }
    }
}

TEST(OutsideBytesTest, ALengthThatWrapsAroundEndsTheParsing)
{
    // Added in 32 bits it would lead back to the item itself.
    const Bytes bytes =
        MessageModel::Joined({MessageModel::Head(1, 100, 12), MessageModel::Head(2, 7, 0xFFFFFFF4)});
    MsgBuffer message;
    message.Assign(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    EXPECT_EQ(Bytes(message.Bytes().begin(), message.Bytes().end()), MessageModel::MessageBytes(0, {}));
}

TEST(OutsideBytesTest, AMillionItemsAreWrittenAndRead)
{
    constexpr std::uint32_t count = 1'000'000;
    CRpcMsgBuffer message(1);
    for (std::uint32_t i = 0; i < count; ++i)
    {
        // Half of them share an id.
        ASSERT_EQ(message.AddUInt(i % 2 == 0 ? i : 1, i), Status::Success);
    }
    ASSERT_EQ(message.Bytes().size(), 12U + 16U * count);
    EXPECT_EQ(MessageModel::NumberAt(message.Bytes(), 8), 16U * count);

    const CRpcMsgBuffer copy(message);
    EXPECT_TRUE(std::ranges::equal(copy.Bytes(), message.Bytes()));
    std::uint32_t value = 0;
    EXPECT_EQ(copy.GetUInt(1, value), Status::Success);
    EXPECT_EQ(value, 1U);
    EXPECT_EQ(copy.GetUInt(count - 2, value), Status::Success);
    EXPECT_EQ(value, count - 2);
    EXPECT_EQ(copy.GetUInt(count - 1, value), Status::NotFound);
}

TEST(OutsideBytesTest, AMillionItemsOfNoLengthAreReadFast)
{
    Bytes bytes = MessageModel::Head(1, 100, 0);
    bytes.resize(12U + 12U * 1'000'000U); // ids, types and lengths are all 0
    MsgBuffer message;
    message.Attach(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    std::uint32_t value = 0;
    EXPECT_EQ(message.GetUInt(0, value), Status::InvalidParameter);
    message.Reset(2);
    EXPECT_EQ(message.GetUInt(0, value), Status::NotFound);
}

TEST(OutsideBytesTest, TheCorpusOfTheFuzzerHoldsTheInvariants)
{
    int count = 0;
    for (const auto& file : std::filesystem::directory_iterator(QX_MESSAGE_CORPUS))
    {
        const Bytes bytes = ReadFile(file.path());
        ASSERT_FALSE(bytes.empty()) << file.path();
        EXPECT_EQ(BrokenMessageInvariant(bytes), "") << file.path();
        ++count;
    }
    EXPECT_GT(count, 20);
}
