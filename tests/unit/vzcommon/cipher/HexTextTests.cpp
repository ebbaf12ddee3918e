#include "VzComn_HexText.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace
{

std::vector<int> Decode(const std::string& text, std::size_t count)
{
    // A byte more than asked for shows whether it is left alone.
    std::vector<std::uint8_t> bytes(count + 1, 0xA5);
    VzCommon::DecodeHexPairs(text, bytes.data(), count);
    EXPECT_EQ(bytes.back(), 0xA5);
    return {bytes.begin(), bytes.end() - 1};
}

TEST(HexTextTest, ReadsEveryPairOfCharactersLikeStrtol)
{
    for (unsigned first = 0; first < 256; ++first)
    {
        for (unsigned second = 0; second < 256; ++second)
        {
            const char pair[] = {static_cast<char>(first), static_cast<char>(second), '\0'};
            const int expected = static_cast<int>(std::strtol(pair, nullptr, 16) & 0xFF);
            ASSERT_EQ(Decode(std::string(pair, 2), 1), std::vector<int>{expected}) << first << ' ' << second;
        }
    }
}

TEST(HexTextTest, ReadsBothCases)
{
    EXPECT_EQ(Decode("00ff7FAbcD", 5), (std::vector<int>{0, 255, 127, 0xAB, 0xCD}));
}

TEST(HexTextTest, ReadsBrokenPairsAsFarAsTheyAreNumbers)
{
    EXPECT_EQ(Decode("-1+F 55 5g\n50xg5--", 9), (std::vector<int>{0xFF, 0x0F, 5, 5, 5, 5, 0, 0, 0}));
}

TEST(HexTextTest, TakesMissingDigitsForNothing)
{
    EXPECT_EQ(Decode("", 2), (std::vector<int>{0, 0}));
    EXPECT_EQ(Decode("4", 2), (std::vector<int>{4, 0}));
    EXPECT_EQ(Decode("415", 4), (std::vector<int>{0x41, 5, 0, 0}));
    EXPECT_EQ(Decode("41424", 2), (std::vector<int>{0x41, 0x42}));
    EXPECT_EQ(Decode("4142", 0), std::vector<int>{});
}

} // namespace
