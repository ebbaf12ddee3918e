#include "VzComn_XmlElement.h"

#include <gtest/gtest.h>

#include <windows.h>

using VzCommon::Storage::XmlElement;

namespace
{

class XmlElementTest : public testing::Test
{
protected:
    XmlElementTest()
    {
        root.SetName(L"", L"root");
        XmlElement* const menus = root.AddChild(L"Menus");
        menus->AddAttribute(L"id", L"1");
        menus->AddChild(L"Menu")->AppendText(L"first");
        menus->AddChild(L"menu")->AppendText(L"small");
        menus->AddChild(L"Menu")->AppendText(L"second");
        root.AddChild(L"Icons");
    }

    XmlElement root;
};

std::wstring NameOf(const XmlElement* element)
{
    return element != nullptr ? element->GetName() : L"(none)";
}

std::wstring TextOf(const XmlElement* element)
{
    return element != nullptr ? element->GetText() : L"(none)";
}

XmlElement* AddChain(XmlElement& top, int depth)
{
    XmlElement* element = &top;
    for (int level = 0; level < depth; ++level)
    {
        element = element->AddChild(L"e");
    }
    return element;
}

} // namespace

TEST_F(XmlElementTest, WalksItsChildrenInOrderAndStaysAtTheEnd)
{
    EXPECT_EQ(root.NextChild(), nullptr) << "before the first";
    EXPECT_EQ(NameOf(root.FirstChild()), L"Menus");
    EXPECT_EQ(NameOf(root.NextChild()), L"Icons");
    EXPECT_EQ(root.NextChild(), nullptr);
    EXPECT_EQ(root.NextChild(), nullptr);
    EXPECT_EQ(root.NextChildNamed(L"Menus"), nullptr);
    EXPECT_EQ(NameOf(root.FirstChild()), L"Menus") << "anew";
}

TEST_F(XmlElementTest, WalksTheChildrenOfOneName)
{
    XmlElement* const menus = root.FirstChild();
    EXPECT_EQ(TextOf(menus->FirstChildNamed(L"Menu")), L"first");
    EXPECT_EQ(TextOf(menus->NextChildNamed(L"Menu")), L"second") << "names have their case";
    EXPECT_EQ(menus->NextChildNamed(L"Menu"), nullptr);
    EXPECT_EQ(menus->NextChild(), nullptr);
    EXPECT_EQ(menus->FirstChildNamed(L"Nothing"), nullptr);
    EXPECT_EQ(TextOf(menus->FirstChildNamed(L"menu")), L"small");
    EXPECT_EQ(TextOf(menus->NextChild()), L"second") << "both walks have one place";
}

TEST_F(XmlElementTest, WalksTheChildrenOfAnotherElement)
{
    EXPECT_EQ(TextOf(root.FirstChild(L"Menus")), L"first");
    EXPECT_EQ(TextOf(root.NextChild(L"/Menus")), L"small");
    EXPECT_EQ(TextOf(root.FirstChildNamed(L"Menus", L"menu")), L"small");
    EXPECT_EQ(root.NextChildNamed(L"Menus", L"menu"), nullptr);
    EXPECT_EQ(root.FirstChild(L"Nowhere"), nullptr);
    EXPECT_EQ(root.NextChild(L"Nowhere"), nullptr);
    EXPECT_EQ(root.FirstChildNamed(L"Nowhere", L"x"), nullptr);
    EXPECT_EQ(root.NextChildNamed(L"Nowhere", L"x"), nullptr);
}

TEST_F(XmlElementTest, FollowsAPath)
{
    for (const wchar_t* path : {L"", L"/", L".", L"./", L"..", L"/../", L"Menus/..", L"Menus/Menu/../.."})
    {
        EXPECT_EQ(root.Find(path), &root) << path;
    }
    for (const wchar_t* path : {L"Menus", L"/Menus", L"./Menus", L"../Menus", L"Menus/", L"Icons/../Menus"})
    {
        EXPECT_EQ(NameOf(root.Find(path)), L"Menus") << path;
    }
    EXPECT_EQ(TextOf(root.Find(L"Menus/Menu")), L"first") << "the first of its name";
    EXPECT_EQ(TextOf(root.Find(L"Menus//menu")), L"small");
    for (const wchar_t* path : {L"menus", L"Menus/Nothing", L"Nothing/Menus", L"Menus/../..", L"Menus/.Menu"})
    {
        EXPECT_EQ(root.Find(path), nullptr) << path;
    }
}

TEST_F(XmlElementTest, ReadsAndWritesAtAPath)
{
    EXPECT_EQ(root.GetName(L"Menus", L"d"), L"Menus");
    EXPECT_EQ(root.GetName(L"Nowhere", L"d"), L"d");
    EXPECT_EQ(root.GetText(L"Menus/Menu", L"d"), L"first");
    EXPECT_EQ(root.GetText(L"Icons", L"d"), L"") << "an empty text is a text";
    EXPECT_EQ(root.GetText(L"Nowhere", L"d"), L"d");

    EXPECT_EQ(root.SetName(L"Icons", L"Pictures"), 0U);
    EXPECT_EQ(root.SetText(L"Pictures", L"text"), 0U);
    EXPECT_EQ(root.GetText(L"Pictures", L"d"), L"text");
    EXPECT_EQ(root.SetName(L"Icons", L"x"), DWORD{ERROR_NOT_FOUND});
    EXPECT_EQ(root.SetText(L"Icons", L"x"), DWORD{ERROR_NOT_FOUND});
}

TEST_F(XmlElementTest, ReadsAndWritesAttributes)
{
    EXPECT_EQ(root.FirstChild()->GetAttribute(L"id"), L"1");
    EXPECT_EQ(root.FirstChild()->GetAttribute(L"ID"), L"");
    EXPECT_EQ(root.GetAttribute(L"Menus", L"id", L"d"), L"1");
    EXPECT_EQ(root.GetAttribute(L"Menus", L"name", L"d"), L"d");
    EXPECT_EQ(root.GetAttribute(L"Nowhere", L"id", L"d"), L"d");
    EXPECT_EQ(root.SetAttribute(L"Menus", L"id", L"2"), 0U);
    EXPECT_EQ(root.SetAttribute(L"Menus", L"name", L""), 0U);
    EXPECT_EQ(root.GetAttribute(L"Menus", L"id", L"d"), L"2");
    EXPECT_EQ(root.GetAttribute(L"Menus", L"name", L"d"), L"");
    EXPECT_EQ(root.SetAttribute(L"Nowhere", L"id", L"2"), DWORD{ERROR_NOT_FOUND});
}

TEST_F(XmlElementTest, KnowsItsAncestors)
{
    const XmlElement* const menu = root.Find(L"Menus/Menu");
    EXPECT_TRUE(menu->IsInside(root));
    EXPECT_TRUE(menu->IsInside(*root.Find(L"Menus")));
    EXPECT_FALSE(menu->IsInside(*menu));
    EXPECT_FALSE(menu->IsInside(*root.Find(L"Icons")));
    EXPECT_FALSE(root.IsInside(*menu));
}

TEST_F(XmlElementTest, IsCopiedWithItsWholeSubtreeButNotItsParent)
{
    XmlElement copy;
    {
        XmlElement source;
        ASSERT_TRUE(source.CopyFrom(root));
        ASSERT_TRUE(copy.CopyFrom(source));
    }
    EXPECT_EQ(copy.GetParent(), nullptr);
    EXPECT_EQ(copy.GetAttribute(L"Menus", L"id", L""), L"1");
    EXPECT_EQ(copy.Find(L"Menus/Menu/../.."), &copy) << "parents are those of the copy";
    EXPECT_EQ(TextOf(copy.FirstChild(L"Menus")), L"first");
    EXPECT_EQ(TextOf(copy.NextChild(L"Menus")), L"small");
    EXPECT_EQ(TextOf(copy.NextChild(L"Menus")), L"second");
    EXPECT_NE(copy.FirstChild(), root.FirstChild());
}

TEST_F(XmlElementTest, RefusesACopyOfOneWithoutNameAndText)
{
    XmlElement nothing;
    nothing.AddChild(L"child");
    EXPECT_FALSE(root.CopyFrom(nothing));
    EXPECT_EQ(root.GetName(), L"root");
    nothing.AppendText(L"text");
    EXPECT_TRUE(root.CopyFrom(nothing));
    EXPECT_EQ(NameOf(root.FirstChild()), L"child");
}

TEST_F(XmlElementTest, MayBeCopiedFromItsOwnSubtreeAndFromItself)
{
    EXPECT_TRUE(root.CopyFrom(root));
    EXPECT_EQ(TextOf(root.Find(L"Menus/Menu")), L"first");
    EXPECT_TRUE(root.CopyFrom(*root.Find(L"Menus")));
    EXPECT_EQ(root.GetName(), L"Menus");
    EXPECT_EQ(root.GetAttribute(L"id"), L"1");
    EXPECT_EQ(TextOf(root.FirstChildNamed(L"menu")), L"small");
}

TEST_F(XmlElementTest, IsEmptyAfterClearAndKeepsItsParent)
{
    XmlElement* const menus = root.FirstChild();
    menus->Clear();
    EXPECT_EQ(menus->GetName(), L"");
    EXPECT_EQ(menus->GetAttribute(L"id"), L"");
    EXPECT_EQ(menus->FirstChild(), nullptr);
    EXPECT_EQ(menus->GetParent(), &root);
}

// A stack of 2 MB ends far before that if an operation goes down with the tree.
TEST(XmlElementDepthTest, NeedsNoStackForDepth)
{
    constexpr int depth = 300000;
    XmlElement root;
    root.SetName(L"", L"root");
    const XmlElement* const deepest = AddChain(root, depth);
    EXPECT_TRUE(deepest->IsInside(root));
    XmlElement copy;
    EXPECT_TRUE(copy.CopyFrom(root));
    copy.Clear();
    EXPECT_EQ(copy.FirstChild(), nullptr);
}
