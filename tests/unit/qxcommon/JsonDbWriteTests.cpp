#include "JsonTrees.h"

#include <algorithm>

using QxCommon::JsonDb;

TEST(JsonDbWriteTest, WritesOneLineEndingInALineFeed)
{
    EXPECT_EQ(JsonDb().ToFastString(), L"null\n");
    EXPECT_EQ(Tree(LR"({ "b" : [ 1 , 2.0, 1e2 ], "a" : { "c" : "x\"\\/y" } , "d":[],"e":{}})").ToFastString(),
              L"{\"a\":{\"c\":\"x\\\"\\\\/y\"},\"b\":[1,2.0,100.0],\"d\":[],\"e\":{}}\n");
}

TEST(JsonDbWriteTest, EscapesWhatIsNotAscii)
{
    const JsonDb tree = Tree(L"{\"\xE4\":\"\x20AC\xD83D\xDE00\\u0001\\u0000\"}");
    EXPECT_EQ(tree.ToFastString(), L"{\"\\u00e4\":\"\\u20ac\\ud83d\\ude00\\u0001\\u0000\"}\n");
    EXPECT_EQ(tree.ToStyledString(), L"{\n   \"\\u00e4\" : \"\\u20ac\\ud83d\\ude00\\u0001\\u0000\"\n}\n");
}

TEST(JsonDbWriteTest, WritesRealsInTheWritersOwnForm)
{
    EXPECT_EQ(Text(Tree(L"[0.1,1e2,1e20,1.5]")), L"[0.10000000000000001,100.0,1e+20,1.5]");
}

TEST(JsonDbWriteTest, KeepsTheTreesOwnOrderOfMembers)
{
    EXPECT_EQ(Text(Tree(L"{\"\xD83D\xDE00\":1,\"\xFF21\":2}")), L"{\"\\uff21\":2,\"\\ud83d\\ude00\":1}");
}

TEST(JsonDbWriteTest, IndentsByThree)
{
    EXPECT_EQ(JsonDb().ToStyledString(), L"null\n");
    EXPECT_EQ(Tree(LR"({"eventId":18,"winSessionId":1})").ToStyledString(),
              L"{\n   \"eventId\" : 18,\n   \"winSessionId\" : 1\n}\n");
    EXPECT_EQ(Tree(LR"({"a":{"b":{},"c":[{"d":1}]}})").ToStyledString(),
              L"{\n   \"a\" : {\n      \"b\" : {},\n      \"c\" : [\n         {\n            \"d\" : 1\n"
              L"         }\n      ]\n   }\n}\n");
}

TEST(JsonDbWriteTest, KeepsAnArrayOnOneLineWithinTheMargin)
{
    const auto lines = [](int elements)
    {
        JsonDb tree;
        for (int i = 0; i < elements; ++i)
        {
            tree[i].SetInt(7);
        }
        const std::wstring text = tree.ToStyledString();
        return std::count(text.begin(), text.end(), L'\n');
    };
    EXPECT_EQ(Tree(L"[1,[],{},\"a\"]").ToStyledString(), L"[ 1, [], {}, \"a\" ]\n");
    EXPECT_EQ(lines(23), 1);
    EXPECT_EQ(lines(24), 26);
}

TEST(JsonDbWriteTest, KeepsCommentsInStyledTextOnly)
{
    const JsonDb tree = Tree(L"// before\n{\n// above\n\"a\":1, // behind\n\"b\":[1 /* \xE4 */]\n} // last");
    EXPECT_EQ(tree.ToFastString(), L"{\"a\":1,\"b\":[1]}\n");
    EXPECT_EQ(tree.ToStyledString(), L"\n// before\n{\n   // above\n   \"a\" : 1, // behind\n"
                                     L"   \"b\" : [\n      1 /* \xE4 */\n   ]\n} // last\n");
}

TEST(JsonDbWriteTest, LosesANodesCommentsByAssignment)
{
    JsonDb tree = Tree(L"{\"a\":1 /* one */,\"b\":2 /* two */}");
    tree[L"a"].SetInt(3);
    EXPECT_EQ(tree.ToStyledString(), L"{\n   \"a\" : 3,\n   \"b\" : 2 /* two */\n}\n");
}

TEST(JsonDbWriteTest, WritesANodeAlone)
{
    JsonDb tree = Tree(LR"({"param":{"q":"\"quoted\""},"other":1})");
    EXPECT_EQ(tree[L"param"].ToFastString(), L"{\"q\":\"\\\"quoted\\\"\"}\n");
    EXPECT_EQ(tree[L"param"][L"q"].ToStyledString(), L"\"\\\"quoted\\\"\"\n");
}

TEST(JsonDbWriteTest, ReadsBackWhatItWrote)
{
    const JsonDb tree = Tree(L"{\"a\":[1,-2,3.25,true,null,\"\xE4\\n\\u0000\"],\"b\":{\"\":{}}}");
    EXPECT_EQ(Text(Tree(tree.ToFastString())), Text(tree));
    EXPECT_EQ(Text(Tree(tree.ToStyledString())), Text(tree));
}
