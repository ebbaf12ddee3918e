#include "JsonTrees.h"

#include <stdexcept>

using QxCommon::JsonDb;
using namespace std::string_literals;

namespace
{

// One JSON value and what it reads as.
struct Reading
{
    const wchar_t* json;
    std::int32_t asInt;
    std::uint32_t asUInt;
    std::uint64_t asUInt64;
    const wchar_t* asString;
};

const Reading readings[] = {
    {L"null", 0, 0, 0, L""},
    {L"true", 1, 1, 1, L"true"},
    {L"false", 0, 0, 0, L"false"},
    {L"0", 0, 0, 0, L"0"},
    {L"-1", -1, 0, 0, L"-1"},
    {L"2147483647", 2147483647, 2147483647, 2147483647, L"2147483647"},
    {L"2147483648", 0, 2147483648, 2147483648, L"2147483648"},
    {L"-2147483648", INT32_MIN, 0, 0, L"-2147483648"},
    {L"-2147483649", 0, 0, 0, L"-2147483649"},
    {L"4294967295", 0, 4294967295, 4294967295, L"4294967295"},
    {L"4294967296", 0, 0, 4294967296, L"4294967296"},
    {L"9223372036854775807", 0, 0, 9223372036854775807, L"9223372036854775807"},
    {L"-9223372036854775808", 0, 0, 0, L"-9223372036854775808"},
    {L"18446744073709551615", 0, 0, 18446744073709551615U, L"18446744073709551615"},
    // Beyond 64 bits an integer is kept as a real.
    {L"18446744073709551616", 0, 0, 0, L"1.844674407370955e+19"},
    {L"-9223372036854775809", 0, 0, 0, L"-9.223372036854776e+18"},
    {L"1.9", 1, 1, 1, L"1.900000000000000"},
    {L"-1.9", -1, 0, 0, L"-1.900000000000000"},
    {L"0.1", 0, 0, 0, L"0.1000000000000000"},
    {L"-0.5", 0, 0, 0, L"-0.5000000000000000"},
    {L"2147483647.0", 2147483647, 2147483647, 2147483647, L"2147483647.000000"},
    {L"2147483647.5", 0, 2147483647, 2147483647, L"2147483647.500000"},
    {L"-2147483648.0", INT32_MIN, 0, 0, L"-2147483648.000000"},
    {L"-2147483648.5", 0, 0, 0, L"-2147483648.500000"},
    {L"4294967295.5", 0, 0, 4294967295, L"4294967295.500000"},
    {L"1e15", 0, 0, 1000000000000000, L"1000000000000000."},
    {L"1e19", 0, 0, 10000000000000000000U, L"1.000000000000000e+19"},
    {L"18446744073709549568.0", 0, 0, 18446744073709549568U, L"1.844674407370955e+19"},
    {L"18446744073709551616.0", 0, 0, 0, L"1.844674407370955e+19"},
    {L"1e300", 0, 0, 0, L"1.000000000000000e+300"},
    {L"-1e300", 0, 0, 0, L"-1.000000000000000e+300"},
    {LR"("12")", 12, 12, 12, L"12"},
    {LR"("12x")", 12, 12, 12, L"12x"},
    {LR"("x")", 0, 0, 0, L"x"},
    {LR"("")", 0, 0, 0, L""},
    {LR"("-")", 0, 0, 0, L"-"},
    {LR"(" 7 ")", 7, 7, 7, L" 7 "},
    {LR"("-7")", -7, 4294967289, 18446744073709551609U, L"-7"},
    {LR"("1e3")", 1, 1, 1, L"1e3"},
    {LR"("0x10")", 0, 0, 0, L"0x10"},
    {LR"("1.9")", 1, 1, 1, L"1.9"},
    {LR"("007")", 7, 7, 7, L"007"},
    {LR"("true")", 0, 0, 0, L"true"},
    {L"\"\\u00e4\xE4\\ud83d\\ude00\"", 0, 0, 0, L"\xE4\xE4\xD83D\xDE00"},
    {L"[]", 0, 0, 0, L""},
    {L"[7]", 0, 0, 0, L""},
    {L"{}", 0, 0, 0, L""},
    {LR"({"a":7})", 0, 0, 0, L""},
};

} // namespace

TEST(JsonDbValueTest, ReadsAsTheTableOfConversionsSays)
{
    for (const Reading& reading : readings)
    {
        SCOPED_TRACE(testing::PrintToString(std::wstring(reading.json)));
        const JsonDb tree = Tree(reading.json);
        EXPECT_EQ(tree.AsInt(), reading.asInt);
        EXPECT_EQ(tree.LastError(), 0U);
        EXPECT_EQ(tree.AsUInt(), reading.asUInt);
        EXPECT_EQ(tree.LastError(), 0U);
        EXPECT_EQ(tree.AsUInt64(), reading.asUInt64);
        EXPECT_EQ(tree.LastError(), 0U);
        EXPECT_EQ(tree.AsString(), reading.asString);
        EXPECT_EQ(tree.LastError(), 0U);
    }
}

TEST(JsonDbValueTest, ThrowsForANumericStringOutOfRangeAndNothingElse)
{
    EXPECT_THROW((void)Tree(LR"("2147483648")").AsInt(), std::out_of_range);
    EXPECT_THROW((void)Tree(LR"("-2147483649")").AsInt(), std::out_of_range);
    EXPECT_THROW((void)Tree(LR"("99999999999999999999x")").AsInt(), std::out_of_range);
    EXPECT_THROW((void)Tree(LR"("4294967296")").AsUInt(), std::out_of_range);
    EXPECT_THROW((void)Tree(LR"("18446744073709551616")").AsUInt64(), std::out_of_range);
    EXPECT_EQ(Tree(LR"("4294967295")").AsUInt(), 4294967295U);
    EXPECT_EQ(Tree(LR"("4294967296")").AsUInt64(), 4294967296U);
    EXPECT_EQ(Tree(LR"("99999999999999999999")").AsString(), L"99999999999999999999");
}

TEST(JsonDbValueTest, ReadsZeroForAStringOutOfRangeWhereTheReaderWantsIt)
{
    const JsonDb tooLarge = Tree(LR"("99999999999999999999")");
    EXPECT_EQ(IntOrZero(tooLarge), 0);
    EXPECT_EQ(UIntOrZero(tooLarge), 0U);
    EXPECT_EQ(UInt64OrZero(tooLarge), 0U);

    const JsonDb number = Tree(LR"("7")");
    EXPECT_EQ(IntOrZero(number), 7);
    EXPECT_EQ(UIntOrZero(number), 7U);
    EXPECT_EQ(UInt64OrZero(number), 7U);
}

TEST(JsonDbValueTest, ReadsStringsWithNulsByLength)
{
    const JsonDb tree = Tree(L"\"a\\u0000b\"");
    EXPECT_EQ(tree.AsString(), L"a\0b"s);
    EXPECT_EQ(Tree(L"\"7\\u00008\"").AsInt(), 7);
}

TEST(JsonDbValueTest, ReadsStoredIntegersByTheSameTable)
{
    JsonDb tree;
    EXPECT_EQ(tree.SetInt(-5).AsUInt(), 0U);
    EXPECT_EQ(tree.AsInt(), -5);
    EXPECT_EQ(tree.SetUInt(4294967295U).AsInt(), 0);
    EXPECT_EQ(tree.AsUInt64(), 4294967295U);
    EXPECT_EQ(tree.AsString(), L"4294967295");
}
