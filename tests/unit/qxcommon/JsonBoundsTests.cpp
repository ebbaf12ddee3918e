#include "QxCommon_JsonBounds.h"

#include "QxCommon_JsonDb.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

using QxCommon::JsonDb;
using namespace QxCommon::JsonBounds;
using namespace std::string_literals;

namespace
{

const std::string longNumber = "0."s + std::string(999, '1');

std::string Times(std::size_t count, const std::string& piece)
{
    std::string text;
    for (; count > 0; --count)
    {
        text += piece;
    }
    return text;
}

std::wstring Wide(const std::string& text)
{
    return {text.begin(), text.end()};
}

// What the reader makes of the text. Without bounds each of these texts takes it minutes at least.
std::wstring ReadInTime(const std::string& text, std::uint32_t error)
{
    const auto start = std::chrono::steady_clock::now();
    JsonDb tree;
    EXPECT_EQ(tree.ParseFromString(Wide(text)), error);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    return tree.ToStyledString();
}

} // namespace

TEST(JsonBoundsTest, TakesOrdinaryTextWholeAndWithItsComments)
{
    for (const std::string& text : {std::string(), std::string("{\"a\":[1,-2.5e1,true] /* one */ } // two"),
                                    std::string("\"open \\"), std::string("/"), std::string("/*"),
                                    std::string("\"\\"), std::string("[0.") + std::string(998, '1')})
    {
        const Bounds bounds = Of(text);
        EXPECT_EQ(bounds.length, text.size()) << text;
        EXPECT_TRUE(bounds.keepsComments) << text;
    }
}

TEST(JsonBoundsTest, EndsInFrontOfANumberOfMoreThanAThousandCharacters)
{
    EXPECT_EQ(Of("{\"a\":"s + longNumber + "}").length, 5U);
    EXPECT_EQ(Of("-"s + longNumber).length, 0U);
    EXPECT_EQ(Of("[/* \" */"s + longNumber).length, 8U);
    EXPECT_EQ(Of("[// \"\n"s + longNumber).length, 6U);
    EXPECT_EQ(Of(R"(["\"",)" + longNumber).length, 6U);
}

TEST(JsonBoundsTest, LeavesLongNumbersInStringsAndCommentsAlone)
{
    for (const std::string& text :
         {"\"" + longNumber + "\"", "\"\\\"" + longNumber + "\"", "/*" + longNumber + "*/1",
          "/*/" + longNumber + "*/1", "//" + longNumber + "\n1", "\"" + longNumber})
    {
        EXPECT_EQ(Of(text).length, text.size()) << text;
    }
}

TEST(JsonBoundsTest, DropsCommentsThatAreManyInALongLineOnly)
{
    EXPECT_TRUE(Of("1"s + Times(1000, "/**/")).keepsComments);
    EXPECT_FALSE(Of("1"s + Times(100000, "/**/")).keepsComments);
    EXPECT_TRUE(Of(Times(100000, "// a line of its own\r\n") + "1").keepsComments);
    EXPECT_FALSE(Of("[1"s + std::string(100000, ' ') + "\n"s + Times(100000, "/**/\n")).keepsComments);
    EXPECT_TRUE(Of("[\""s + Times(100000, "/**/") + "\"]").keepsComments) << "no comments";
    EXPECT_FALSE(Of("[1 /\" "s + Times(100000, "/**/")).keepsComments) << "as read behind an error";
}

TEST(JsonBoundsTest, ReadsMegabytesOfCommentsInOneLineWithoutKeepingThem)
{
    const std::string comments = Times(500000, "/**/");
    EXPECT_EQ(ReadInTime("[1"s + comments + ",2]"s + comments, 0), L"[ 1, 2 ]\n");
    EXPECT_EQ(ReadInTime("[1"s + std::string(500000, ' ') + "\n"s + Times(500000, "/**/\n") + ",2]", 0),
              L"[ 1, 2 ]\n");
    EXPECT_EQ(ReadInTime("[1 x"s + comments, 87), L"[ 1 ]\n");
}

TEST(JsonBoundsTest, RefusesAMegabyteOfDigits)
{
    const std::string digits(1000000, '1');
    EXPECT_EQ(ReadInTime("[1,0."s + digits + "]", 87), L"[ 1, null ]\n");
    EXPECT_EQ(ReadInTime(digits + "e-1000000", 87), L"null\n");
    EXPECT_EQ(ReadInTime("{} 0."s + digits, 0), L"{}\n") << "behind the root nothing is read";
}

TEST(JsonBoundsTest, TakesManyNumbersOfAThousandCharacters)
{
    JsonDb tree;
    EXPECT_EQ(tree.ParseFromString(Wide("["s + Times(100, "0."s + std::string(998, '1') + ",") + "1]")), 0U);
    EXPECT_EQ(tree.Size(), 101U);
    EXPECT_EQ(tree[0].AsString(), L"0.1111111111111111");
}
