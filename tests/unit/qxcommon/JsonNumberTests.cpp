#include "QxCommon_JsonNumber.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

using namespace QxCommon::JsonNumber;

TEST(JsonNumberTest, RefusesRealsAtTheEdgesOfEachType)
{
    constexpr double beyond64 = 18446744073709551616.0;
    EXPECT_EQ(FromReal<std::uint64_t>(beyond64), 0U);
    EXPECT_EQ(FromReal<std::uint64_t>(18446744073709549568.0), 18446744073709549568U);
    EXPECT_EQ(FromReal<std::uint32_t>(4294967295.0), 4294967295U);
    EXPECT_EQ(FromReal<std::uint32_t>(4294967295.5), 0U);
    EXPECT_EQ(FromReal<std::int32_t>(2147483647.0), 2147483647);
    EXPECT_EQ(FromReal<std::int32_t>(-2147483648.5), 0);
    EXPECT_EQ(FromReal<std::int32_t>(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_EQ(FromReal<std::int32_t>(std::numeric_limits<double>::infinity()), 0);
}

TEST(JsonNumberTest, ReadsDecimalNumbersAsFarAsTheyGo)
{
    EXPECT_EQ(ReadInt(L"12x"), 12);
    EXPECT_EQ(ReadInt(L"x"), 0);
    EXPECT_EQ(ReadInt(L""), 0);
    EXPECT_EQ(ReadInt(L"-"), 0);
    EXPECT_EQ(ReadInt(L" \t\n 12"), 12);
    EXPECT_EQ(ReadInt(L"+7"), 7);
    EXPECT_EQ(ReadInt(L"-7"), -7);
    EXPECT_EQ(ReadInt(L"007"), 7);
    EXPECT_EQ(ReadInt(L"1e3"), 1);
    EXPECT_EQ(ReadInt(L"0x10"), 0);
    EXPECT_EQ(ReadInt(L"1.9"), 1);
    EXPECT_EQ(ReadInt(L"-2147483648"), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(ReadUInt(L"4294967295"), 4294967295U);
    EXPECT_EQ(ReadUInt(L"-1"), 4294967295U);
    EXPECT_EQ(ReadUInt64(L"18446744073709551615"), 18446744073709551615U);
    EXPECT_EQ(ReadUInt64(L"-1"), 18446744073709551615U);
}

TEST(JsonNumberTest, ThrowsAStandardExceptionForANumberOutOfRange)
{
    EXPECT_THROW((void)ReadInt(L"2147483648"), std::out_of_range);
    EXPECT_THROW((void)ReadInt(L"-2147483649"), std::out_of_range);
    EXPECT_THROW((void)ReadUInt(L"4294967296"), std::out_of_range);
    EXPECT_THROW((void)ReadUInt64(L"18446744073709551616"), std::out_of_range);
    EXPECT_THROW((void)ReadInt(std::wstring(10000, L'9')), std::out_of_range);
    EXPECT_EQ(ReadInt(L"5"), 5) << "an earlier failure must not stick";
}

TEST(JsonNumberTest, FormatsRealsWithSixteenDigits)
{
    EXPECT_EQ(FormatReal(0.0), L"0.000000000000000");
    EXPECT_EQ(FormatReal(0.1), L"0.1000000000000000");
    EXPECT_EQ(FormatReal(1.5), L"1.500000000000000");
    EXPECT_EQ(FormatReal(-1.5), L"-1.500000000000000");
    EXPECT_EQ(FormatReal(100.0), L"100.0000000000000");
    EXPECT_EQ(FormatReal(1e15), L"1000000000000000.");
    EXPECT_EQ(FormatReal(1e16), L"1.000000000000000e+16");
    EXPECT_EQ(FormatReal(1e20), L"1.000000000000000e+20");
    EXPECT_EQ(FormatReal(1e-7), L"1.000000000000000e-07");
    EXPECT_EQ(FormatReal(-1.7976931348623157e308), L"-1.797693134862316e+308");
}
