#include "CipherBytes.h"
#include "ImportPatch.h"
#include "LogCapture.h"
#include "ObjectCounts.h"
#include "VzComn_StringCrypt.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>

using namespace VzCommon::Cryptograph;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::ImportPatch;
using TestSupport::LogCapture;

namespace
{

struct Container
{
    std::string plain;
    std::string text; // without the magic
};

// Enciphered by OpenSSL's command line under the product's key.
std::vector<Container> ReadContainers()
{
    std::vector<Container> containers;
    std::ifstream file(QX_GENERATED_VECTORS "/containers.txt");
    for (std::string line; std::getline(file, line);)
    {
        line.erase(line.find_last_not_of('\r') + 1);
        const std::size_t blank = line.find(' ');
        const CipherTest::Bytes plain = CipherTest::FromHex(line.substr(0, blank));
        containers.push_back({{plain.begin(), plain.end()}, line.substr(blank + 1)});
    }
    return containers;
}

// One whose plaintext consists of this many bytes of that value.
std::string ContainerOf(char value, std::size_t length)
{
    for (const Container& container : ReadContainers())
    {
        if (container.plain == std::string(length, value))
        {
            return container.text;
        }
    }
    ADD_FAILURE() << "no such container";
    return {};
}

std::string Decipher(const std::string& text)
{
    std::string plain = "what was there before";
    EXPECT_TRUE(DecryptStringA(plain, text));
    return plain;
}

std::string InUpperCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

TEST(StringCryptTest, DeciphersWhatOpenSslEnciphered)
{
    const std::vector<Container> containers = ReadContainers();
    ASSERT_GT(containers.size(), 40U);
    for (const Container& container : containers)
    {
        EXPECT_EQ(Decipher(container.text), container.plain);
        EXPECT_EQ(Decipher(InUpperCase(container.text)), container.plain);
    }
}

TEST(StringCryptTest, GivesNothingForNoText)
{
    EXPECT_EQ(Decipher(""), "");
    EXPECT_EQ(Decipher("7"), "");
}

TEST(StringCryptTest, GivesNothingForLessThanABlock)
{
    for (std::size_t bytes = 1; bytes < 16; ++bytes)
    {
        EXPECT_EQ(Decipher(std::string(2 * bytes, 'a')), "");
    }
}

TEST(StringCryptTest, IgnoresAnOddLastDigit)
{
    for (const Container& container : ReadContainers())
    {
        EXPECT_EQ(Decipher(container.text + "5"), container.plain);
    }
}

TEST(StringCryptTest, GivesTheWholeLastBlockWithoutValidPadding)
{
    const std::string text = ContainerOf('x', 4096);
    EXPECT_EQ(Decipher(text.substr(0, 2 * 32)), std::string(32, 'x'));
    EXPECT_EQ(Decipher(text.substr(0, 2 * 32 + 31)), std::string(32, 'x')) << "and drops what is no block";
}

TEST(StringCryptTest, GivesTheRestOfADamagedText)
{
    std::string text = ContainerOf('x', 4096);
    text.replace(2 * 100, 2, "zz");
    const std::string plain = Decipher(text);
    ASSERT_EQ(plain.size(), 4096U);
    // The block that is hit, and one byte of the block behind it.
    EXPECT_EQ(plain.substr(0, 96), std::string(96, 'x'));
    EXPECT_NE(plain.substr(96, 16), std::string(16, 'x'));
    EXPECT_EQ(plain.substr(112, 4), "xxxx");
    EXPECT_NE(plain[116], 'x');
    EXPECT_EQ(plain.substr(117), std::string(4096 - 117, 'x'));

    text.replace(2 * 100, 2, "00");
    EXPECT_EQ(Decipher(text), plain) << "a pair that is no number is 0";
}

TEST(StringCryptTest, GivesGarbageForAForeignText)
{
    const std::string plain = Decipher(CipherTest::ToHex(CipherTest::RandomBytes(64, 30)));
    EXPECT_GE(plain.size(), 48U);
    EXPECT_LE(plain.size(), 64U);
}

TEST(StringCryptTest, TakesAsManyBytesAsTheLengthSays)
{
    const std::string text = ContainerOf('x', 4096);
    std::string plain;
    EXPECT_TRUE(DecryptStringA_Sub(plain, text, 48));
    EXPECT_EQ(plain, std::string(48, 'x'));
    EXPECT_TRUE(DecryptStringA_Sub(plain, text, 0));
    EXPECT_EQ(plain, "");

    // Digits that are not there count as 0: the text's own padding is then in the middle.
    EXPECT_TRUE(DecryptStringA_Sub(plain, text, text.size() / 2 + 64));
    EXPECT_EQ(plain.size(), text.size() / 2 + 64);
    EXPECT_EQ(plain.substr(0, 4096 + 16), std::string(4096, 'x') + std::string(16, '\x10'));
}

// Every outcome so far counts as success, however little there was to read.
TEST(StringCryptTest, WritesNoLineForADamagedText)
{
    const LogCapture log;
    Decipher("");
    Decipher("abc");
    Decipher("this is no number at all, but long enough for a block");
    Decipher(ContainerOf('x', 4096).substr(2));
    EXPECT_THAT(log.Lines(), IsEmpty());
}

// Fails the chosen one of the allocations of that size, and tells why as the system would.
class FailingMemory
{
public:
    FailingMemory(std::size_t size, int allocation) : m_patch(nullptr, "calloc", &Allocate)
    {
        s_size = size;
        s_untilFailure = allocation;
        s_original = m_patch.Original<void*(std::size_t, std::size_t)>();
    }

private:
    static void* Allocate(std::size_t count, std::size_t size)
    {
        if (count * size == s_size && --s_untilFailure == 0)
        {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }
        return s_original(count, size);
    }

    inline static std::size_t s_size = 0;
    inline static int s_untilFailure = 0;
    inline static void* (*s_original)(std::size_t, std::size_t) = nullptr;

    ImportPatch m_patch;
};

// Of no other allocation's size.
constexpr std::size_t OddSize = 12343;

TEST(StringCryptTest, SaysThatThereIsNoMemoryForTheCiphertext)
{
    const LogCapture log;
    const std::string text(2 * OddSize, 'a');
    std::string plain;
    {
        const FailingMemory memory(OddSize, 1);
        EXPECT_FALSE(DecryptStringA(plain, text));
    }
    EXPECT_EQ(plain, "");
    EXPECT_THAT(
        log.Texts(),
        ElementsAre(L"*** VzCommon::Cryptograph::DecryptStringA_Sub() - ui8TextCipher was NULL. [0x00000008]",
                    L"*** VzCommon::Cryptograph::EncryptStringA() - DecryptStringA_Sub() was failed."));
    for (const TestSupport::LogMessage& message : log.Messages())
    {
        EXPECT_EQ(message.tag, L"!!!");
        EXPECT_EQ(message.source, L"VzComn_StringCrypt");
    }
}

TEST(StringCryptTest, SaysThatThereIsNoMemoryForThePlaintext)
{
    const LogCapture log;
    const std::string text(2 * OddSize, 'a');
    std::string plain;
    {
        const FailingMemory memory(OddSize, 2);
        EXPECT_FALSE(DecryptStringA(plain, text));
    }
    EXPECT_EQ(plain, "");
    EXPECT_THAT(
        log.Texts(),
        ElementsAre(
            L"*** VzCommon::Cryptograph::DecryptStringA_Sub() - ui8TextDecoded was NULL. [0x00000008]",
            L"*** VzCommon::Cryptograph::EncryptStringA() - DecryptStringA_Sub() was failed."));
}

TEST(StringCryptTest, RefusesALengthThatNoMemoryHolds)
{
    const LogCapture log;
    std::string plain;
    EXPECT_FALSE(DecryptStringA_Sub(plain, "00", SIZE_MAX));
    EXPECT_EQ(log.Texts().size(), 1U) << "the worker writes one line of its own";
}

std::size_t PrivateBytes()
{
    PROCESS_MEMORY_COUNTERS counters{};
    EXPECT_TRUE(K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters)));
    return counters.PagefileUsage;
}

TEST(StringCryptTest, LeavesNothingBehind)
{
    const std::string text = ContainerOf('x', 4096);
    const auto decipher = [&text] { ASSERT_EQ(Decipher(text).size(), 4096U); };
    EXPECT_EQ(TestSupport::GrowthOf(decipher), "");

    const std::size_t before = PrivateBytes();
    for (int use = 0; use < 10000; ++use)
    {
        decipher();
    }
    EXPECT_LT(PrivateBytes(), before + (4U << 20)) << "one buffer a use would be 40 MB";
}

} // namespace
