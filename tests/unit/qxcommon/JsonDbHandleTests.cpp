#include "JsonTrees.h"

#include <memory>
#include <type_traits>
#include <vector>

using QxCommon::JsonDb;
using namespace std::string_literals;

namespace
{

static_assert(!std::is_polymorphic_v<JsonDb>);
static_assert(!std::is_copy_assignable_v<JsonDb>, "a handle is copied or its value is assigned, by name");

// Everything that a handle without a node has to answer.
void ExpectNoNode(JsonDb& handle)
{
    EXPECT_EQ(handle.LastError(), invalidParameter);
    EXPECT_FALSE(handle.IsNull());
    EXPECT_EQ(handle.LastError(), invalidParameter);
    EXPECT_FALSE(handle.IsArray());
    EXPECT_FALSE(handle.HasMember(L"a"));
    EXPECT_EQ(handle.Size(), 0U);
    EXPECT_EQ(handle.AsInt(), 0);
    EXPECT_EQ(handle.AsUInt(), 0U);
    EXPECT_EQ(handle.AsUInt64(), 0U);
    EXPECT_EQ(handle.AsString(), L"");
    EXPECT_EQ(handle.ToFastString(), L"");
    EXPECT_EQ(handle.ToStyledString(), L"");
    std::vector<std::wstring> names = {L"kept"};
    handle.GetMemberNames(names);
    EXPECT_EQ(names, std::vector<std::wstring>{L"kept"});
    EXPECT_EQ(handle.LastError(), invalidParameter);
    EXPECT_EQ(&handle.SetInt(1), &handle);
    EXPECT_EQ(&handle.SetUInt(1), &handle);
    EXPECT_EQ(&handle.Assign(Tree(L"1")), &handle);
    EXPECT_EQ(handle.LastError(), invalidParameter);
    EXPECT_EQ(handle.ParseFromString(L"1"), invalidParameter);
    handle.Clear();
    EXPECT_EQ(handle.LastError(), invalidParameter);
}

} // namespace

TEST(JsonDbHandleTest, StartsAsATreeOfItsOwnThatHoldsNull)
{
    const JsonDb tree;
    EXPECT_EQ(tree.LastError(), 0U);
    EXPECT_TRUE(tree.IsNull());
    EXPECT_EQ(tree.ToFastString(), L"null\n");
}

TEST(JsonDbHandleTest, FollowsAChainOfIndexes)
{
    JsonDb root = Tree(LR"({"a":{"b":[10,{"c":20}]}})");
    EXPECT_EQ(root[L"a"][L"b"][0].AsInt(), 10);
    EXPECT_EQ(root[L"a"][L"b"][1][L"c"].AsInt(), 20);
    EXPECT_EQ(root[L"a"s][L"b"s][1U][L"c"s].AsInt(), 20);
    EXPECT_EQ(root.LastError(), 0U);
}

TEST(JsonDbHandleTest, MakesAMissingMemberByReadingIt)
{
    JsonDb root = Tree(L"{}");
    EXPECT_EQ(root[L"missing"].AsString(), L"");
    EXPECT_EQ(Text(root), LR"({"missing":null})");
    EXPECT_TRUE(root.HasMember(L"missing"));
}

TEST(JsonDbHandleTest, MakesMissingElementsByReadingThem)
{
    JsonDb root = Tree(L"[1]");
    EXPECT_TRUE(root[2].IsNull());
    EXPECT_EQ(root.Size(), 3U);
    EXPECT_EQ(Text(root), L"[1,null,null]");
}

TEST(JsonDbHandleTest, TurnsANullNodeIntoWhatTheIndexAsksFor)
{
    JsonDb byName;
    byName[L"a"][L"b"].SetInt(1);
    EXPECT_EQ(Text(byName), LR"({"a":{"b":1}})");

    JsonDb byIndex;
    byIndex[1].SetUInt(4294967295U);
    EXPECT_EQ(Text(byIndex), L"[null,4294967295]");
}

TEST(JsonDbHandleTest, TakesNamesWithNulsByLength)
{
    JsonDb root;
    root[L"a\0b"s].SetInt(1);
    EXPECT_TRUE(root.HasMember(L"a\0b"s));
    EXPECT_FALSE(root.HasMember(L"a"));
    EXPECT_EQ(Text(root), L"{\"a\\u0000b\":1}");
}

TEST(JsonDbHandleTest, ShowsACopyTheSameNode)
{
    JsonDb root = Tree(LR"({"a":1})");
    JsonDb copy(root);
    copy[L"a"].SetInt(2);
    EXPECT_EQ(root[L"a"].AsInt(), 2);

    JsonDb member(root[L"a"]);
    member.SetInt(3);
    EXPECT_EQ(Text(copy), LR"({"a":3})");
}

TEST(JsonDbHandleTest, KeepsTheTreeAliveThroughAHandleOfOnesOwn)
{
    auto root = std::make_unique<JsonDb>(Tree(LR"({"a":{"b":7}})"));
    JsonDb node((*root)[L"a"][L"b"]);
    root.reset();
    EXPECT_EQ(node.AsInt(), 7);
    node.SetInt(8);
    EXPECT_EQ(Text(node), L"8");
}

TEST(JsonDbHandleTest, KeepsAHandleOfOnesOwnAcrossFurtherIndexesAndNewSiblings)
{
    JsonDb root = Tree(LR"({"m":1})");
    JsonDb node(root[L"m"]);
    for (int i = 0; i < 1000; ++i)
    {
        root[L"x" + std::to_wstring(i)].SetInt(i);
    }
    EXPECT_EQ(node.AsInt(), 1);
    node.SetInt(2);
    EXPECT_EQ(root[L"m"].AsInt(), 2);

    JsonDb elements;
    JsonDb first(elements[0]);
    for (std::uint32_t i = 1; i < 1000; ++i)
    {
        elements[i].SetUInt(i);
    }
    first.SetInt(-1);
    EXPECT_EQ(elements[0].AsInt(), -1);
}

TEST(JsonDbHandleTest, AssignsBetweenSiblingsThroughHandlesOfOnesOwn)
{
    JsonDb root = Tree(LR"({"a":{"x":[1,2]},"b":null})");
    JsonDb from(root[L"a"]);
    JsonDb to(root[L"b"]);
    to.Assign(from);
    EXPECT_EQ(Text(root), LR"({"a":{"x":[1,2]},"b":{"x":[1,2]}})");

    from[L"x"][0].SetInt(9);
    EXPECT_EQ(Text(to), LR"({"x":[1,2]})") << "a value is copied, not shared";
}

TEST(JsonDbHandleTest, AssignsANodeToItselfAndToItsParentAndBelowItself)
{
    JsonDb self = Tree(LR"({"a":[1]})");
    EXPECT_EQ(&self.Assign(self), &self);
    EXPECT_EQ(Text(self), LR"({"a":[1]})");

    JsonDb upwards = Tree(LR"({"a":{"b":[1]}})");
    upwards.Assign(upwards[L"a"][L"b"]);
    EXPECT_EQ(Text(upwards), L"[1]");

    JsonDb downwards = Tree(LR"({"a":1})");
    downwards[L"a"].Assign(downwards);
    EXPECT_EQ(Text(downwards), LR"({"a":{"a":1}})");
}

TEST(JsonDbHandleTest, GivesACopyOfAValueByDefaultConstructionAndAssign)
{
    JsonDb root = Tree(LR"({"details":{"a":1}})");
    JsonDb copy;
    copy.Assign(root[L"details"]);
    root.Clear();
    EXPECT_EQ(Text(copy), LR"({"a":1})");
}

TEST(JsonDbHandleTest, IsPassedAndReturnedByValue)
{
    const auto make = []
    {
        JsonDb tree;
        tree[L"a"].SetInt(1);
        return tree;
    };
    const auto change = [](JsonDb tree) { tree[L"a"].SetInt(2); };

    JsonDb tree(make());
    change(tree);
    EXPECT_EQ(tree[L"a"].AsInt(), 2);

    std::vector<JsonDb> several;
    several.push_back(tree);
    several.push_back(make());
    EXPECT_EQ(several[0][L"a"].AsInt(), 2);
    EXPECT_EQ(several[1][L"a"].AsInt(), 1);
}

TEST(JsonDbHandleTest, HasNoNodeForANameOnAnythingButAnObject)
{
    for (const wchar_t* text : {L"[1,2]", L"[]", L"7", L"7.5", L"true", LR"("text")", LR"("")"})
    {
        JsonDb root = Tree(text);
        ExpectNoNode(root[L"a"]);
        EXPECT_EQ(root[L"a"].LastError(), invalidParameter);
        (void)root[L"a"];
        EXPECT_EQ(root.LastError(), invalidParameter);
        EXPECT_EQ(Text(root), text);
        EXPECT_EQ(root.LastError(), 0U) << "of the last operation only";
    }
}

TEST(JsonDbHandleTest, HasNoNodeForAnIndexOnAnythingButAnArray)
{
    for (const wchar_t* text : {LR"({"0":1})", L"{}", L"7", L"7.5", L"false", LR"("text")"})
    {
        JsonDb root = Tree(text);
        ExpectNoNode(root[0]);
        (void)root[0U];
        EXPECT_EQ(root.LastError(), invalidParameter);
        EXPECT_EQ(Text(root), text);
    }
}

TEST(JsonDbHandleTest, HasNoNodeForANegativeIndexOrANullName)
{
    JsonDb elements = Tree(L"[1]");
    ExpectNoNode(elements[-1]);
    EXPECT_EQ(Text(elements), L"[1]");

    JsonDb members = Tree(L"{}");
    const wchar_t* noName = nullptr;
    ExpectNoNode(members[noName]);
    EXPECT_EQ(Text(members), L"{}");
}

TEST(JsonDbHandleTest, HasNoNodeBelowAHandleWithoutOne)
{
    JsonDb root = Tree(L"7");
    ExpectNoNode(root[L"a"][L"b"]);
    ExpectNoNode(root[L"a"][0][L"b"][1U]);
    EXPECT_EQ(Text(root), L"7");
}

TEST(JsonDbHandleTest, CopiesAHandleWithoutANode)
{
    JsonDb root = Tree(L"7");
    JsonDb copy(root[L"a"]);
    ExpectNoNode(copy);
    EXPECT_EQ(Text(root), L"7");
}

TEST(JsonDbHandleTest, AssignsNothingFromAHandleWithoutANode)
{
    JsonDb root = Tree(L"7");
    JsonDb other = Tree(L"[1]");
    other.Assign(root[L"a"]);
    EXPECT_EQ(other.LastError(), invalidParameter);
    EXPECT_EQ(Text(other), L"[1]");
}

TEST(JsonDbHandleTest, FindsMembersOnObjectsOnly)
{
    const JsonDb object = Tree(LR"({"a":null,"":1,"ä":2})");
    EXPECT_TRUE(object.HasMember(L"a")) << "also a member that is null";
    EXPECT_TRUE(object.HasMember(L""));
    EXPECT_TRUE(object.HasMember(L"\xE4"));
    EXPECT_FALSE(object.HasMember(L"A"));
    EXPECT_FALSE(object.HasMember(L"b"));
    EXPECT_EQ(Text(object).find(L"\"b\""), std::wstring::npos) << "asking must not make it";

    for (const wchar_t* text : {L"null", L"[1]", L"7", L"true", LR"("a")"})
    {
        const JsonDb other = Tree(text);
        EXPECT_FALSE(other.HasMember(L"a")) << text;
        EXPECT_EQ(other.LastError(), 0U) << text;
    }
}

TEST(JsonDbHandleTest, CountsMembersAndElements)
{
    EXPECT_EQ(Tree(LR"({"a":1,"b":2})").Size(), 2U);
    EXPECT_EQ(Tree(L"[1,[2,3],4]").Size(), 3U);
    EXPECT_EQ(Tree(L"{}").Size(), 0U);
    for (const wchar_t* text : {L"null", L"7", L"7.5", L"true", LR"("text")"})
    {
        const JsonDb tree = Tree(text);
        EXPECT_EQ(tree.Size(), 0U) << text;
        EXPECT_EQ(tree.LastError(), 0U) << text;
    }
}

TEST(JsonDbHandleTest, TellsArraysAndNull)
{
    EXPECT_TRUE(Tree(L"[]").IsArray());
    EXPECT_FALSE(Tree(L"{}").IsArray());
    EXPECT_FALSE(Tree(L"null").IsArray());
    EXPECT_TRUE(Tree(L"null").IsNull());
    EXPECT_FALSE(Tree(L"[]").IsNull());
    EXPECT_FALSE(Tree(L"0").IsNull());
}

TEST(JsonDbHandleTest, AppendsMemberNamesInTheOrderOfTheirUnits)
{
    // As UTF-8, U+FF21 stands before U+1F600; as units, the surrogates of U+1F600 stand before U+FF21.
    const JsonDb tree = Tree(L"{\"\xFF21\":0,\"\xD83D\xDE00\":0,\"b\":0,\"B\":0,\"a\":0,\"\":0,\"\xE4\":0}");
    std::vector<std::wstring> names = {L"zz"};
    tree.GetMemberNames(names);
    EXPECT_EQ(names,
              (std::vector<std::wstring>{L"zz", L"", L"B", L"a", L"b", L"\xE4", L"\xD83D\xDE00", L"\xFF21"}));

    names.clear();
    for (const wchar_t* text : {L"null", L"[1]", L"7", LR"("a")"})
    {
        Tree(text).GetMemberNames(names);
    }
    EXPECT_TRUE(names.empty());
}

TEST(JsonDbHandleTest, ClearsContainersAndMakesAnythingElseNull)
{
    const auto cleared = [](const wchar_t* text)
    {
        JsonDb tree = Tree(text);
        tree.Clear();
        EXPECT_EQ(tree.LastError(), 0U);
        return Text(tree);
    };
    EXPECT_EQ(cleared(LR"({"a":{"b":1}})"), L"{}");
    EXPECT_EQ(cleared(L"[1,[2]]"), L"[]");
    EXPECT_EQ(cleared(L"null"), L"null");
    EXPECT_EQ(cleared(L"7"), L"null");
    EXPECT_EQ(cleared(L"7.5"), L"null");
    EXPECT_EQ(cleared(L"true"), L"null");
    EXPECT_EQ(cleared(LR"("text")"), L"null");
}

TEST(JsonDbHandleTest, StoresTheWholeRangeOfBothIntegers)
{
    JsonDb tree;
    tree[L"retCode"].SetInt(-520159225);
    tree[L"low"].SetInt(INT32_MIN);
    tree[L"high"].SetUInt(UINT32_MAX);
    EXPECT_EQ(Text(tree), LR"({"high":4294967295,"low":-2147483648,"retCode":-520159225})");
    EXPECT_EQ(&tree.SetInt(1), &tree);
    EXPECT_EQ(Text(tree), L"1");
}
