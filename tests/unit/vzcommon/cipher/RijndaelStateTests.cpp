// The cipher's states: what it takes when, and what it leaves as it was.
#include "CipherBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>

using namespace CipherTest;
using namespace VzCommon::Cryptograph;

namespace
{

class RijndaelStateTest : public testing::Test
{
protected:
    bool Initialize(CipherDirection direction = CipherDirection::Decrypt, CipherMode mode = CipherMode::Cbc)
    {
        return cipher.Initialize(direction, key.data(), key.size(), mode, iv.data(), iv.size(), &error);
    }

    bool Update(std::size_t length)
    {
        return cipher.Update(input.data(), length, output.data(), output.size(), &count, &error);
    }

    bool Finish() { return cipher.Finish(output.data(), output.size(), &count, &error); }

    bool Convert() { return cipher.Convert(input.data(), 32, output.data(), output.size(), &count, &error); }

    const Bytes key = RandomBytes(16, 20);
    const Bytes iv = RandomBytes(16, 21);
    const Bytes input = RandomBytes(64, 22);
    Bytes output = Bytes(128);
    std::size_t count = 77;
    std::uint32_t error = 77;
    Rijndael cipher;
};

TEST_F(RijndaelStateTest, HasBlocksOfSixteenBytes)
{
    EXPECT_EQ(cipher.GetBlockSize(), 16U);
}

TEST_F(RijndaelStateTest, KnowsItsKeySizeWhileItHasAKey)
{
    EXPECT_EQ(cipher.GetKeySize(), 0U);
    for (const std::size_t length : {16U, 24U, 32U})
    {
        const Bytes anyKey(length);
        ASSERT_TRUE(cipher.Initialize(CipherDirection::Encrypt, anyKey.data(), length, CipherMode::Ecb,
                                      nullptr, 0, &error));
        EXPECT_EQ(cipher.GetKeySize(), length);
    }
    ASSERT_TRUE(cipher.Uninitialize(&error));
    EXPECT_EQ(cipher.GetKeySize(), 0U);
}

TEST_F(RijndaelStateTest, RefusesEveryOtherKeyLength)
{
    const Bytes longKey(100);
    for (std::size_t length = 0; length <= longKey.size(); ++length)
    {
        const bool valid = length == 16 || length == 24 || length == 32;
        EXPECT_EQ(cipher.Initialize(CipherDirection::Encrypt, longKey.data(), length, CipherMode::Ecb,
                                    nullptr, 0, &error),
                  valid);
        EXPECT_EQ(error, valid ? 0U : 13U) << length;
    }
}

TEST_F(RijndaelStateTest, RefusesAModeAboveTwo)
{
    for (const std::uint32_t mode : {3U, 4U, 0x80000000U, 0xFFFFFFFFU})
    {
        EXPECT_FALSE(Initialize(CipherDirection::Decrypt, static_cast<CipherMode>(mode)));
        EXPECT_EQ(error, 87U);
    }
    EXPECT_FALSE(Initialize(static_cast<CipherDirection>(2)));
    EXPECT_EQ(error, 87U);
}

TEST_F(RijndaelStateTest, RefusesNullPointers)
{
    EXPECT_FALSE(
        cipher.Initialize(CipherDirection::Decrypt, nullptr, 16, CipherMode::Cbc, iv.data(), 16, &error));
    EXPECT_EQ(error, 87U);
    EXPECT_FALSE(
        cipher.Initialize(CipherDirection::Decrypt, key.data(), 16, CipherMode::Cbc, nullptr, 16, &error));
    EXPECT_EQ(error, 87U);
    EXPECT_FALSE(
        cipher.Initialize(CipherDirection::Decrypt, key.data(), 16, CipherMode::Cfb, iv.data(), 15, &error));
    EXPECT_EQ(error, 87U);

    ASSERT_TRUE(Initialize());
    EXPECT_FALSE(cipher.Update(nullptr, 16, output.data(), output.size(), &count, &error));
    EXPECT_EQ(error, 87U);
    EXPECT_FALSE(cipher.Update(input.data(), 16, nullptr, 16, &count, &error));
    EXPECT_EQ(error, 87U);
    EXPECT_FALSE(cipher.Update(input.data(), 16, output.data(), output.size(), nullptr, &error));
    EXPECT_EQ(error, 87U);
    EXPECT_FALSE(cipher.Convert(nullptr, 16, output.data(), output.size(), &count, &error));
    EXPECT_EQ(error, 87U);
    ASSERT_TRUE(Update(32));
    EXPECT_FALSE(cipher.Finish(nullptr, 16, &count, &error));
    EXPECT_EQ(error, 87U);
    EXPECT_FALSE(cipher.Finish(output.data(), 16, nullptr, &error));
    EXPECT_EQ(error, 87U);
    EXPECT_TRUE(Finish()) << "none of the failures did harm";
}

TEST_F(RijndaelStateTest, TakesNullForNothing)
{
    ASSERT_TRUE(Initialize());
    EXPECT_TRUE(cipher.Update(nullptr, 0, nullptr, 0, &count, nullptr));
    EXPECT_EQ(count, 0U);
    EXPECT_TRUE(cipher.Finish(nullptr, 0, &count, nullptr));
    EXPECT_EQ(count, 0U);
}

TEST_F(RijndaelStateTest, DoesNothingBeforeInitialize)
{
    EXPECT_FALSE(Update(16));
    EXPECT_EQ(error, 1U);
    EXPECT_EQ(count, 0U);
    EXPECT_FALSE(Finish());
    EXPECT_EQ(error, 1U);
    EXPECT_FALSE(Convert());
    EXPECT_EQ(error, 1U);
    EXPECT_TRUE(cipher.Uninitialize(&error));
    EXPECT_EQ(error, 0U);
}

TEST_F(RijndaelStateTest, FinishesOnlyAMessageThatHasBegun)
{
    ASSERT_TRUE(Initialize());
    EXPECT_FALSE(Finish());
    EXPECT_EQ(error, 1U);
    // Also where the output would be too small.
    EXPECT_FALSE(cipher.Finish(output.data(), 1, &count, &error));
    EXPECT_EQ(error, 1U);
    ASSERT_TRUE(Update(0));
    EXPECT_TRUE(Finish());
}

TEST_F(RijndaelStateTest, TakesAnotherKeyUntilAMessageBegins)
{
    ASSERT_TRUE(Initialize());
    ASSERT_TRUE(Initialize(CipherDirection::Encrypt, CipherMode::Ecb));
    ASSERT_TRUE(Update(16));
    EXPECT_FALSE(Initialize());
    EXPECT_EQ(error, 1U);
    // In these states the rest is not looked at.
    EXPECT_FALSE(
        cipher.Initialize(CipherDirection::Encrypt, nullptr, 5, CipherMode::Ecb, nullptr, 0, &error));
    EXPECT_EQ(error, 1U);
    ASSERT_TRUE(Finish());
    EXPECT_FALSE(Initialize());
    EXPECT_EQ(error, 1U);
    ASSERT_TRUE(cipher.Uninitialize(&error));
    EXPECT_TRUE(Initialize());
}

TEST_F(RijndaelStateTest, TakesNothingBehindTheEnd)
{
    ASSERT_TRUE(Initialize());
    ASSERT_TRUE(Convert());
    EXPECT_FALSE(Update(16));
    EXPECT_EQ(error, 1U);
    EXPECT_FALSE(Finish());
    EXPECT_EQ(error, 1U);
    EXPECT_FALSE(Convert());
    EXPECT_EQ(error, 1U);
}

TEST_F(RijndaelStateTest, ConvertsTheRestOfAMessage)
{
    ASSERT_TRUE(Initialize(CipherDirection::Encrypt));
    ASSERT_TRUE(cipher.Update(input.data(), 20, output.data(), output.size(), &count, &error));
    ASSERT_EQ(count, 16U);
    ASSERT_TRUE(
        cipher.Convert(input.data() + 20, 44, output.data() + 16, output.size() - 16, &count, &error));
    ASSERT_EQ(count, 64U);
    output.resize(80);
    EXPECT_EQ(output,
              ConvertAll({CipherMode::Cbc, 16, Backend::Table}, CipherDirection::Encrypt, key, iv, input));
}

TEST_F(RijndaelStateTest, SetUpTakesAZeroVectorForNone)
{
    ASSERT_TRUE(cipher.SetUp(CipherDirection::Encrypt, key.data(), key.size(), CipherMode::Cbc, nullptr));
    ASSERT_TRUE(Convert());
    output.resize(count);
    EXPECT_EQ(output, ConvertAll({CipherMode::Cbc, 16, Backend::Table}, CipherDirection::Encrypt, key,
                                 Bytes(16), Slice(input, 0, 32)));
    EXPECT_FALSE(cipher.SetUp(CipherDirection::Encrypt, nullptr, 16, CipherMode::Cbc, nullptr));
    EXPECT_FALSE(cipher.SetUp(CipherDirection::Encrypt, key.data(), 15, CipherMode::Cbc, nullptr));
}

TEST_F(RijndaelStateTest, LeavesNoKeyOrTextInItsMemory)
{
    alignas(Rijndael) std::array<std::uint8_t, sizeof(Rijndael)> memory{};
    const Bytes text = RandomBytes(25, 23);
    Rijndael* const placed = new (memory.data()) Rijndael;
    ASSERT_TRUE(placed->Initialize(CipherDirection::Encrypt, key.data(), key.size(), CipherMode::Ecb, nullptr,
                                   0, nullptr));
    ASSERT_TRUE(placed->Update(text.data(), text.size(), output.data(), output.size(), &count, nullptr));
    const auto holds = [&memory](const std::uint8_t* bytes, std::size_t length)
    { return std::search(memory.begin(), memory.end(), bytes, bytes + length) != memory.end(); };
    ASSERT_TRUE(holds(key.data(), key.size()));
    ASSERT_TRUE(holds(text.data() + 16, 9));

    ASSERT_TRUE(placed->Uninitialize(nullptr));
    EXPECT_FALSE(holds(key.data(), 4));
    EXPECT_FALSE(holds(text.data() + 16, 4));

    ASSERT_TRUE(placed->Initialize(CipherDirection::Encrypt, key.data(), key.size(), CipherMode::Ecb, nullptr,
                                   0, nullptr));
    ASSERT_TRUE(holds(key.data(), key.size()));
    placed->~Rijndael();
    EXPECT_FALSE(holds(key.data(), 4));
}

// The place of a virtual operation in the table of its class, which is what GCC keeps in such a pointer.
template <typename Operation>
std::size_t SlotOf(Operation operation)
{
    std::size_t offset = 0;
    std::memcpy(&offset, &operation, sizeof(offset));
    return offset / sizeof(void*);
}

TEST_F(RijndaelStateTest, HasItsOperationsInSlotOrder)
{
    // The destructor takes the first two slots.
    EXPECT_EQ(SlotOf(&SymmetricCipherBase::Initialize), 2U);
    EXPECT_EQ(SlotOf(&SymmetricCipherBase::Convert), 3U);
    EXPECT_EQ(SlotOf(&SymmetricCipherBase::Uninitialize), 4U);
    EXPECT_EQ(SlotOf(&SymmetricCipherBase::Update), 5U);
    EXPECT_EQ(SlotOf(&SymmetricCipherBase::Finish), 6U);
    EXPECT_EQ(SlotOf(&SymmetricCipherBase::GetBlockSize), 7U);
    EXPECT_EQ(SlotOf(&SymmetricCipherBase::GetKeySize), 8U);
}

} // namespace
