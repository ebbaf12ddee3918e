#include "CipherBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace CipherTest;
using namespace VzCommon::Cryptograph;

namespace
{

constexpr std::uint8_t Untouched = 0xA5;

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
