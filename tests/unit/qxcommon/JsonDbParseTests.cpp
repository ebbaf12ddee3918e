#include "JsonTrees.h"

using QxCommon::JsonDb;
using namespace std::string_literals;

namespace
{

// What stays of a text that must not parse.
std::wstring Rest(const std::wstring& text)
{
    JsonDb tree = Tree(LR"({"earlier":1})");
    EXPECT_EQ(tree.ParseFromString(text), invalidParameter) << testing::PrintToString(text);
    EXPECT_EQ(tree.LastError(), invalidParameter);
    return Text(tree);
}

std::wstring Parsed(const std::wstring& text)
{
    JsonDb tree = Tree(LR"({"earlier":1})");
    EXPECT_EQ(tree.ParseFromString(text), 0U) << testing::PrintToString(text);
    return Text(tree);
}

} // namespace

TEST(JsonDbParseTest, TakesAnyValueAtTheTop)
{
    for (const wchar_t* text : {L"{}", L"[]", L"7", L"-7", L"true", L"false", L"null", LR"("text")", L"\"\""})
    {
        EXPECT_EQ(Parsed(text), text);
    }
    EXPECT_EQ(Parsed(L" \t\r\n 7 \t\r\n "), L"7");
}

TEST(JsonDbParseTest, TakesCommentsOfBothForms)
{
    EXPECT_EQ(Parsed(L"// one\n{/* two */\"a\":1, // three\n\"b\":/* four */2/* five */}// six"),
              LR"({"a":1,"b":2})");
}

TEST(JsonDbParseTest, LeavesNullIfNothingParses)
{
    for (const wchar_t* text :
         {L"", L" ", L"x", L"}", L"]", L",", L"tru", L"nul", L"// only a comment", L"/* open", L"+1", L".5",
          L"NaN", L"Infinity", L"'a'", L"\"open", L"\xFEFF{}"})
    {
        EXPECT_EQ(Rest(text), L"null") << testing::PrintToString(std::wstring(text));
    }
}

TEST(JsonDbParseTest, KeepsWhatStandsBeforeTheFirstError)
{
    EXPECT_EQ(Rest(L"[1,2,"), L"[1,2,null]");
    EXPECT_EQ(Rest(L"[1,2"), L"[1,2]");
    EXPECT_EQ(Rest(L"[5,]"), L"[5,null]");
    EXPECT_EQ(Rest(LR"({"a":1,"b":)"), LR"({"a":1,"b":null})");
    EXPECT_EQ(Rest(LR"({"a":1,"b")"), LR"({"a":1})");
    EXPECT_EQ(Rest(LR"({"a":{"b":[1,{"c":2)"), LR"({"a":{"b":[1,{"c":2}]}})");
    EXPECT_EQ(Rest(LR"({"a":1 "b":2})"), LR"({"a":1})");
    EXPECT_EQ(Rest(LR"({"a":1,})"), LR"({"a":1})");
    EXPECT_EQ(Rest(L"[1e999]"), L"[null]");
}

TEST(JsonDbParseTest, SurvivesACutAtEveryCharacter)
{
    const std::wstring whole = LR"({
    // the items of the start modes
    "startMode": {
        "console": { "sequence": 1, "startFunc": "ShowQxUi", "startArgs": "-m \"1\" \u00e4", "modeId": [1, 5] },
        "splash": { "sequence": -2.5e1, "startFunc": "ShowSplash", "modeId": [] /* none */ }
    },
    "last": [true, false, null]
})";
    for (std::size_t length = 0; length < whole.size(); ++length)
    {
        JsonDb tree;
        ASSERT_EQ(tree.ParseFromString(whole.substr(0, length)), invalidParameter) << length;
        if (length >= whole.find(L"\"splash\""))
        {
            ASSERT_EQ(tree[L"startMode"][L"console"][L"modeId"][1].AsInt(), 5) << length;
        }
        if (length >= whole.find(L"\"last\""))
        {
            ASSERT_EQ(tree[L"startMode"][L"splash"][L"sequence"].AsInt(), -25) << length;
        }
    }
    EXPECT_EQ(Tree(whole)[L"last"].Size(), 3U);
}

TEST(JsonDbParseTest, TakesWhatTheReaderIsKnownToTake)
{
    EXPECT_EQ(Parsed(L"{} text behind the root"), L"{}");
    EXPECT_EQ(Parsed(L"[007,-,1.]"), L"[7,0,1.0]");
    EXPECT_EQ(Parsed(L"\"a\nb\tc\x01\""), L"\"a\\nb\\tc\\u0001\"");
    EXPECT_EQ(Parsed(L"{} /* open"), L"{}");
    EXPECT_EQ(Parsed(LR"({"a":{"x":1},"b":2,"a":{"y":3}})"), LR"({"a":{"y":3},"b":2})")
        << "the last one, unmerged";
    EXPECT_EQ(Parsed(LR"("\/\b\f")"), LR"("/\b\f")");
}

TEST(JsonDbParseTest, RefusesWhatTheReaderIsKnownToRefuse)
{
    EXPECT_EQ(Rest(L"[/* nothing */]"), L"[null]");
    EXPECT_EQ(Rest(LR"({"a"/* between */:1})"), L"{}");
    EXPECT_EQ(Rest(LR"({"a":"\x"})"), LR"({"a":null})");
    EXPECT_EQ(Rest(LR"("\u12")"), L"null");
    EXPECT_EQ(Rest(LR"("\ud83d")"), L"null") << "half a pair";
}

TEST(JsonDbParseTest, KeepsTextOfAllPlanes)
{
    JsonDb tree = Tree(L"{\"\xE4\":\"\x20AC\xD83D\xDE00\\u20ac\\ud83d\\ude00\"}");
    EXPECT_EQ(tree[L"\xE4"].AsString(), L"\x20AC\xD83D\xDE00\x20AC\xD83D\xDE00");
    EXPECT_EQ(Tree(L"\"a\xD83D\"").AsString(), L"a\xFFFD");
}

TEST(JsonDbParseTest, StopsAtANulOutsideAString)
{
    EXPECT_EQ(Parsed(L"7\0 garbage"s), L"7");
    EXPECT_EQ(Rest(L"[7\0,8]"s), L"[7]");
    EXPECT_EQ(Tree(L"\"a\0b\""s).AsString(), L"a\0b"s);
}

TEST(JsonDbParseTest, ReplacesTheNodeThatTheHandleStandsOn)
{
    JsonDb root = Tree(LR"({"a":{"b":1},"c":2})");
    EXPECT_EQ(root[L"a"].ParseFromString(L"[3]"), 0U);
    EXPECT_EQ(Text(root), LR"({"a":[3],"c":2})");
    EXPECT_EQ(root[L"a"].ParseFromString(L"x"), invalidParameter);
    EXPECT_EQ(Text(root), LR"({"a":null,"c":2})");
}

TEST(JsonDbParseTest, TakesAThousandLevelsAndRefusesOneMoreWithoutThrowing)
{
    const auto nested = [](std::size_t levels)
    { return std::wstring(levels, L'[') + std::wstring(levels, L']'); };
    EXPECT_EQ(Parsed(nested(1000)), nested(1000));

    JsonDb tree;
    EXPECT_EQ(tree.ParseFromString(nested(1001)), invalidParameter);
    EXPECT_TRUE(Text(tree).starts_with(std::wstring(1000, L'['))) << "kept as far as the reader got";
    EXPECT_EQ(tree.ParseFromString(std::wstring(1000000, L'[')), invalidParameter);
    EXPECT_EQ(tree.ParseFromString(L"[1]"), 0U);
    EXPECT_EQ(Text(tree), L"[1]");
}
