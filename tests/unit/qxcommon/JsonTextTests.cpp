#include "QxCommon_JsonText.h"

#include "QxCommon_JsonFile.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <random>
#include <sstream>
#include <vector>

using namespace std::string_literals;
using namespace QxCommon::JsonText;

namespace
{

// The bytes as the platform's own two conversions give them back, up to the first NUL.
std::string ThroughThePlatform(const std::string& bytes)
{
    std::wstring wide(bytes.size() + 1, L'\0');
    const int units =
        MultiByteToWideChar(CP_UTF8, 0, bytes.c_str(), -1, wide.data(), static_cast<int>(wide.size()));
    std::string narrow(3 * wide.size(), '\0');
    const int length = WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, narrow.data(),
                                           static_cast<int>(narrow.size()), nullptr, nullptr);
    narrow.resize(static_cast<std::size_t>(length));
    return narrow.substr(0, narrow.find('\0'));
}

std::string ReadBack(const std::string& bytes)
{
    std::istringstream file(bytes);
    return QxCommon::JsonFile::ReadText(file);
}

// Text of all lengths of sequences, now and then with a damaged byte.
std::string RandomText(std::mt19937& random, bool isDamaged)
{
    const std::vector<std::string> pieces = {"a",
                                             "{\"b\":1}",
                                             "\n",
                                             "\xC2\x80",
                                             "\xDF\xBF",
                                             "\xE0\xA0\x80",
                                             "\xED\x9F\xBF",
                                             "\xEE\x80\x80",
                                             "\xEF\xBF\xBF",
                                             "\xEF\xBF\xBD",
                                             "\xF0\x90\x80\x80",
                                             "\xF4\x8F\xBF\xBF",
                                             "\xEF\xBB\xBF"};
    std::string text;
    for (std::size_t count = random() % 20; count > 0; --count)
    {
        text += pieces[random() % pieces.size()];
    }
    if (isDamaged && !text.empty())
    {
        text[random() % text.size()] = static_cast<char>(random() % 256);
        text.resize(text.size() - random() % 2);
    }
    return text;
}

} // namespace

TEST(JsonTextTest, TakesExactlyTheWellFormedTwoByteSequences)
{
    for (unsigned lead = 0x80; lead <= 0xFF; ++lead)
    {
        for (unsigned second = 0; second <= 0xFF; ++second)
        {
            const std::string text = {static_cast<char>(lead), static_cast<char>(second)};
            const bool isWellFormed = lead >= 0xC2 && lead <= 0xDF && second >= 0x80 && second <= 0xBF;
            ASSERT_EQ(IsUtf8(text), isWellFormed) << std::hex << lead << ' ' << second;
        }
    }
}

TEST(JsonTextTest, TakesEveryCodePointButSurrogatesInItsOwnForm)
{
    for (wchar_t unit = 1; unit < 0xFFFF; ++unit)
    {
        const bool isSurrogate = unit >= 0xD800 && unit <= 0xDFFF;
        const std::string text = ToUtf8(std::wstring(1, unit));
        ASSERT_TRUE(IsUtf8(text)) << std::hex << static_cast<unsigned>(unit);
        ASSERT_EQ(ToWide(text), std::wstring(1, isSurrogate ? L'\xFFFD' : unit))
            << std::hex << static_cast<unsigned>(unit);
    }
}

TEST(JsonTextTest, RefusesOverlongSurrogateAndTooHighSequences)
{
    for (const char* text :
         {"\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xED\xBF\xBF",
          "\xF0\x80\x80\x80", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFE", "\xFF",
          "\x80", "\xBF", "\xE4", "\xE4\xB8", "\xF0\x9F\x98", "\xE4\xB8z", "\xE4zz"})
    {
        EXPECT_FALSE(IsUtf8(text)) << text;
        EXPECT_FALSE(IsUtf8("before"s + text)) << text;
        EXPECT_FALSE(IsUtf8("eight and more before "s + text + " and more than eight behind")) << text;
    }
    EXPECT_TRUE(IsUtf8("\xF4\x8F\xBF\xBF"));
    EXPECT_TRUE(IsUtf8(""));
    EXPECT_TRUE(IsUtf8("with a\0NUL"s));
}

TEST(JsonTextTest, ConvertsByLengthAndNotByTerminator)
{
    EXPECT_EQ(ToWide("a\0b"s), L"a\0b"s);
    EXPECT_EQ(ToUtf8(L"a\0b"s), "a\0b"s);
    EXPECT_EQ(ToWide(""), L"");
    EXPECT_EQ(ToUtf8(L""), "");
}

TEST(JsonTextTest, ReplacesALoneSurrogate)
{
    EXPECT_EQ(ToUtf8(L"a\xD83D"), "a\xEF\xBF\xBD");
    EXPECT_EQ(ToUtf8(L"\xD83D\xDE00"), "\xF0\x9F\x98\x80");
    EXPECT_EQ(ToWide("\xF0\x9F\x98\x80"), L"\xD83D\xDE00");
}

// Well-formed text does not go through the platform's conversions: what comes out must be the same.
TEST(JsonTextTest, GivesAFilesTextAsThePlatformConvertsIt)
{
    std::mt19937 random(20261120);
    for (int round = 0; round < 20000; ++round)
    {
        const std::string bytes = RandomText(random, round % 2 != 0);
        ASSERT_EQ(ReadBack(bytes), ThroughThePlatform(bytes)) << testing::PrintToString(bytes);
    }
}

TEST(JsonTextTest, CutsAFilesTextAtTheFirstNul)
{
    EXPECT_EQ(ReadBack("{}\0garbage"s), "{}");
    EXPECT_EQ(ReadBack("{}\0\xFF"s), "{}");
    EXPECT_EQ(ReadBack("\0"s), "");
}
