#include "CipherBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>

using namespace CipherTest;
using namespace VzCommon::Cryptograph;

namespace
{

constexpr std::size_t BlockSize = Rijndael::BlockSize;
constexpr std::uint8_t Untouched = 0xA5;

Bytes Slice(const Bytes& bytes, std::size_t from, std::size_t to)
{
    return {bytes.begin() + static_cast<std::ptrdiff_t>(from),
            bytes.begin() + static_cast<std::ptrdiff_t>(to)};
}

// Feeds pieces to one cipher and checks on the way what each call may give.
class Feeder
{
public:
    Feeder(const Setting& setting, CipherDirection cipherDirection, const Bytes& key, const Bytes& iv)
        : direction(cipherDirection), cipher(GetBackend(setting.backend))
    {
        std::uint32_t error = 0;
        EXPECT_TRUE(
            cipher.Initialize(direction, key.data(), key.size(), setting.mode, iv.data(), iv.size(), &error));
    }

    void Update(const Bytes& piece)
    {
        // Exactly as large as it has to be, so that a write past it is a heap overrun.
        fed += piece.size();
        const std::size_t whole = fed / BlockSize;
        const std::size_t due =
            direction == CipherDirection::Encrypt ? whole : std::max<std::size_t>(whole, 1) - 1;
        Bytes room(due * BlockSize - output.size());
        std::size_t count = 77;
        std::uint32_t error = 77;
        ASSERT_TRUE(cipher.Update(piece.data(), piece.size(), room.data(), room.size(), &count, &error));
        EXPECT_EQ(error, 0U);
        ASSERT_EQ(count, room.size());
        output.insert(output.end(), room.begin(), room.end());
    }

    Bytes Finish()
    {
        Bytes room(BlockSize);
        std::size_t count = 77;
        std::uint32_t error = 77;
        EXPECT_TRUE(cipher.Finish(room.data(), room.size(), &count, &error));
        EXPECT_EQ(error, 0U);
        EXPECT_LE(count, room.size());
        output.insert(output.end(), room.begin(), room.begin() + static_cast<std::ptrdiff_t>(count));
        return output;
    }

private:
    CipherDirection direction;
    Rijndael cipher;
    Bytes output;
    std::size_t fed = 0;
};

class RijndaelMessageTest : public testing::TestWithParam<Setting>
{
protected:
    void SetUp() override
    {
        if (!HasBackend(GetParam().backend))
        {
            GTEST_SKIP() << "this processor has no AES instructions";
        }
    }

    Bytes Encrypt(const Bytes& plain) const
    {
        return ConvertAll(GetParam(), CipherDirection::Encrypt, key, iv, plain);
    }

    Bytes Decrypt(const Bytes& ciphered) const
    {
        return ConvertAll(GetParam(), CipherDirection::Decrypt, key, iv, ciphered);
    }

    // A ciphertext that deciphers to exactly these whole blocks, without padding of its own.
    Bytes EncryptBare(const Bytes& blocks) const
    {
        EXPECT_EQ(blocks.size() % BlockSize, 0U);
        return Slice(Encrypt(blocks), 0, blocks.size());
    }

    const Bytes key = RandomBytes(GetParam().keyLength, 1);
    const Bytes iv = RandomBytes(BlockSize, 2);
};

TEST_P(RijndaelMessageTest, GivesBackEveryLength)
{
    for (std::size_t length = 0; length <= 20 * BlockSize; ++length)
    {
        const Bytes plain = RandomBytes(length, 3);
        const Bytes ciphered = Encrypt(plain);
        ASSERT_EQ(ciphered.size(), (length / BlockSize + 1) * BlockSize);
        ASSERT_EQ(Decrypt(ciphered), plain) << length;
    }
}

TEST_P(RijndaelMessageTest, GivesTheSameForEverySplitInThree)
{
    for (const CipherDirection direction : {CipherDirection::Encrypt, CipherDirection::Decrypt})
    {
        for (const std::size_t length : {std::size_t{64}, std::size_t{71}})
        {
            const Bytes input = RandomBytes(length, 4);
            const Bytes expected = ConvertAll(GetParam(), direction, key, iv, input);
            for (std::size_t first = 0; first <= length; ++first)
            {
                for (std::size_t second = first; second <= length;
                     second += GetParam().mode == CipherMode::Cfb ? 5 : 1)
                {
                    Feeder feeder(GetParam(), direction, key, iv);
                    feeder.Update(Slice(input, 0, first));
                    feeder.Update(Slice(input, first, second));
                    feeder.Update(Slice(input, second, length));
                    ASSERT_EQ(feeder.Finish(), expected) << first << ' ' << second;
                }
            }
        }
    }
}

TEST_P(RijndaelMessageTest, GivesTheSameByteForByte)
{
    for (const CipherDirection direction : {CipherDirection::Encrypt, CipherDirection::Decrypt})
    {
        const Bytes input = RandomBytes(300, 5);
        Feeder feeder(GetParam(), direction, key, iv);
        for (const std::uint8_t byte : input)
        {
            feeder.Update({byte});
        }
        EXPECT_EQ(feeder.Finish(), ConvertAll(GetParam(), direction, key, iv, input));
    }
}

TEST_P(RijndaelMessageTest, WorksInPlace)
{
    for (const CipherDirection direction : {CipherDirection::Encrypt, CipherDirection::Decrypt})
    {
        for (const std::size_t length : {std::size_t{15}, std::size_t{16}, std::size_t{400}})
        {
            const Bytes input = RandomBytes(length, 6);
            Bytes buffer = input;
            buffer.resize(length + BlockSize);
            Rijndael cipher(GetBackend(GetParam().backend));
            std::size_t count = 0;
            ASSERT_TRUE(cipher.Initialize(direction, key.data(), key.size(), GetParam().mode, iv.data(),
                                          iv.size(), nullptr));
            ASSERT_TRUE(cipher.Convert(buffer.data(), length, buffer.data(), buffer.size(), &count, nullptr));
            buffer.resize(count);
            EXPECT_EQ(buffer, ConvertAll(GetParam(), direction, key, iv, input)) << length;
        }
    }
}

TEST_P(RijndaelMessageTest, PadsAWholeMessageWithAWholeBlock)
{
    const Bytes plain = RandomBytes(2 * BlockSize, 7);
    const Bytes padded = Encrypt(plain);
    ASSERT_EQ(padded.size(), 3 * BlockSize);

    // One block more behind it, so that the padding is not taken for the message's end.
    Bytes longer = padded;
    longer.resize(4 * BlockSize);
    const Bytes shown = Slice(Decrypt(longer), 0, 3 * BlockSize);
    EXPECT_EQ(Slice(shown, 2 * BlockSize, 3 * BlockSize), Bytes(BlockSize, 0x10));
}

TEST_P(RijndaelMessageTest, FillsUpAPartBlockWithWhatIsMissing)
{
    for (std::size_t length = 1; length < BlockSize; ++length)
    {
        Bytes longer = Encrypt(RandomBytes(length, 8));
        longer.resize(2 * BlockSize);
        const Bytes shown = Slice(Decrypt(longer), length, BlockSize);
        EXPECT_EQ(shown, Bytes(BlockSize - length, static_cast<std::uint8_t>(BlockSize - length)));
    }
}

TEST_P(RijndaelMessageTest, DropsEveryCountOfPaddingAndZeroesIt)
{
    for (std::size_t pad = 1; pad <= BlockSize; ++pad)
    {
        Bytes plain = RandomBytes(2 * BlockSize, 9);
        std::fill(plain.end() - static_cast<std::ptrdiff_t>(pad), plain.end(),
                  static_cast<std::uint8_t>(pad));
        // The byte in front is neither the count nor zero.
        plain[plain.size() - pad - 1] = 0x77;
        const Bytes ciphered = EncryptBare(plain);

        Rijndael cipher(GetBackend(GetParam().backend));
        Bytes output(plain.size(), Untouched);
        std::size_t count = 0;
        ASSERT_TRUE(cipher.Initialize(CipherDirection::Decrypt, key.data(), key.size(), GetParam().mode,
                                      iv.data(), iv.size(), nullptr));
        ASSERT_TRUE(
            cipher.Convert(ciphered.data(), ciphered.size(), output.data(), output.size(), &count, nullptr));
        EXPECT_EQ(count, plain.size() - pad);
        std::fill(plain.end() - static_cast<std::ptrdiff_t>(pad), plain.end(), std::uint8_t{0});
        EXPECT_EQ(output, plain) << pad;
    }
}

TEST_P(RijndaelMessageTest, KeepsTheWholeBlockWhenItDoesNotEndInPadding)
{
    const Bytes random = Slice(RandomBytes(2 * BlockSize, 10), 0, 2 * BlockSize);
    for (const Bytes& ending : {Bytes{0}, Bytes{17}, Bytes{255}, Bytes{1, 2}, Bytes{9, 3, 3},
                                Bytes{4, 5, 4, 4}, Bytes(15, 16), Bytes(20, 17), Bytes{0, 0, 0, 0}})
    {
        Bytes plain = random;
        plain[plain.size() - ending.size() - 1] = 0x77;
        std::copy(ending.begin(), ending.end(), plain.end() - static_cast<std::ptrdiff_t>(ending.size()));
        EXPECT_EQ(Decrypt(EncryptBare(plain)), plain) << ToHex(ending);
    }
}

TEST_P(RijndaelMessageTest, DropsATailThatIsNoWholeBlock)
{
    const Bytes plain = RandomBytes(3 * BlockSize - 5, 11);
    Bytes ciphered = Encrypt(plain);
    for (std::size_t tail = 1; tail < BlockSize; ++tail)
    {
        ciphered.push_back(static_cast<std::uint8_t>(tail));
        EXPECT_EQ(Decrypt(ciphered), plain);
    }
}

TEST_P(RijndaelMessageTest, DeciphersNothingFromLessThanABlock)
{
    for (std::size_t length = 0; length < BlockSize; ++length)
    {
        Rijndael cipher(GetBackend(GetParam().backend));
        const Bytes input = RandomBytes(length, 12);
        Bytes output(length, Untouched);
        std::size_t count = 77;
        ASSERT_TRUE(cipher.Initialize(CipherDirection::Decrypt, key.data(), key.size(), GetParam().mode,
                                      iv.data(), iv.size(), nullptr));
        EXPECT_TRUE(cipher.Convert(input.data(), length, output.data(), output.size(), &count, nullptr));
        EXPECT_EQ(count, 0U);
        EXPECT_EQ(output, Bytes(length, Untouched));
    }
}

TEST_P(RijndaelMessageTest, RefusesAnOutputThatIsTooSmallAndStaysAsItWas)
{
    const Bytes input = RandomBytes(3 * BlockSize, 13);
    const Bytes expected = ConvertAll(GetParam(), CipherDirection::Encrypt, key, iv, input);
    Rijndael cipher(GetBackend(GetParam().backend));
    ASSERT_TRUE(cipher.Initialize(CipherDirection::Encrypt, key.data(), key.size(), GetParam().mode,
                                  iv.data(), iv.size(), nullptr));

    Bytes output(4 * BlockSize, Untouched);
    std::size_t count = 77;
    std::uint32_t error = 77;
    EXPECT_FALSE(
        cipher.Convert(input.data(), input.size(), output.data(), output.size() - 1, &count, &error));
    EXPECT_EQ(error, 122U);
    EXPECT_EQ(count, 0U);
    EXPECT_FALSE(cipher.Update(input.data(), input.size(), output.data(), 3 * BlockSize - 1, &count, &error));
    EXPECT_EQ(error, 122U);
    EXPECT_EQ(output, Bytes(4 * BlockSize, Untouched));
    EXPECT_TRUE(cipher.Update(input.data(), input.size(), output.data(), 3 * BlockSize, &count, &error));
    EXPECT_EQ(count, 3 * BlockSize);
    EXPECT_FALSE(cipher.Finish(output.data() + count, BlockSize - 1, &count, &error));
    EXPECT_EQ(error, 122U);
    EXPECT_TRUE(cipher.Finish(output.data() + 3 * BlockSize, BlockSize, &count, &error));
    EXPECT_EQ(output, expected);
}

TEST_P(RijndaelMessageTest, NeverWritesPastTheOutputLength)
{
    for (const CipherDirection direction : {CipherDirection::Encrypt, CipherDirection::Decrypt})
    {
        for (std::size_t inputLength = 0; inputLength <= 50; ++inputLength)
        {
            for (std::size_t outputLength = 0; outputLength <= 70; ++outputLength)
            {
                const Bytes input = RandomBytes(inputLength, 14);
                Bytes output(80, Untouched);
                std::size_t count = 0;
                std::uint32_t error = 0;
                Rijndael cipher(GetBackend(GetParam().backend));
                cipher.Initialize(direction, key.data(), key.size(), GetParam().mode, iv.data(), iv.size(),
                                  &error);
                const bool done =
                    cipher.Convert(input.data(), input.size(), output.data(), outputLength, &count, &error);
                ASSERT_EQ(error, done ? 0U : 122U);
                ASSERT_LE(count, outputLength);
                ASSERT_EQ(Slice(output, done ? outputLength : 0, output.size()),
                          Bytes(output.size() - (done ? outputLength : 0), Untouched));
            }
        }
    }
}

TEST_P(RijndaelMessageTest, StartsAfreshAfterUninitialize)
{
    const Bytes input = RandomBytes(100, 15);
    Rijndael cipher(GetBackend(GetParam().backend));
    Bytes output(112);
    std::size_t count = 0;
    for (int round = 0; round < 3; ++round)
    {
        ASSERT_TRUE(cipher.Initialize(CipherDirection::Encrypt, key.data(), key.size(), GetParam().mode,
                                      iv.data(), iv.size(), nullptr));
        ASSERT_TRUE(
            cipher.Convert(input.data(), input.size(), output.data(), output.size(), &count, nullptr));
        EXPECT_EQ(output, Encrypt(input));
        // A message that is dropped in the middle leaves nothing for the next one.
        ASSERT_TRUE(cipher.Uninitialize(nullptr));
        ASSERT_TRUE(cipher.Initialize(CipherDirection::Decrypt, key.data(), key.size(), GetParam().mode,
                                      iv.data(), iv.size(), nullptr));
        ASSERT_TRUE(cipher.Update(input.data(), 90, output.data(), output.size(), &count, nullptr));
        ASSERT_TRUE(cipher.Uninitialize(nullptr));
    }
}

INSTANTIATE_TEST_SUITE_P(All, RijndaelMessageTest, testing::ValuesIn(OneOfEachMode()),
                         [](const auto& test) { return NameOf(test.param); });

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

// The processor's own form where there is one.
TEST(RijndaelBackendTest, TheBestOneIsThatOfTheProcessor)
{
    const RijndaelBackend* const instructions = RijndaelInstructionBackend();
    EXPECT_EQ(&BestRijndaelBackend(), instructions != nullptr ? instructions : &RijndaelTableBackend());
    EXPECT_EQ(instructions != nullptr, __builtin_cpu_supports("aes") != 0);
}

// The two forms side by side: random keys, modes, pieces and lengths.
TEST(RijndaelBackendTest, BothFormsAgreeOnRandomMessages)
{
    if (!HasBackend(Backend::Instructions))
    {
        GTEST_SKIP() << "this processor has no AES instructions";
    }
    std::mt19937 random(24);
    for (std::uint32_t round = 0; round < 3000; ++round)
    {
        const std::size_t keyLength = 16 + 8 * (random() % 3);
        const CipherMode mode = static_cast<CipherMode>(random() % 3);
        const CipherDirection direction = static_cast<CipherDirection>(random() % 2);
        const Bytes input = RandomBytes(random() % (mode == CipherMode::Cfb ? 100 : 1000), round);
        const Bytes key = RandomBytes(keyLength, round + 1);
        const Bytes iv = RandomBytes(BlockSize, round + 2);

        const Bytes expected = ConvertAll({mode, keyLength, Backend::Table}, direction, key, iv, input);
        Feeder feeder({mode, keyLength, Backend::Instructions}, direction, key, iv);
        for (std::size_t at = 0; at < input.size();)
        {
            const std::size_t taken = std::min<std::size_t>(input.size() - at, random() % 300);
            feeder.Update(Slice(input, at, at + taken));
            at += taken;
        }
        if (input.empty())
        {
            feeder.Update({});
        }
        ASSERT_EQ(feeder.Finish(), expected) << "round " << round;
    }
}

} // namespace
