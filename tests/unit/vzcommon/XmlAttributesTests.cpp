#include "VzComn_XmlAttributes.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using VzCommon::Storage::XmlAttributes;

TEST(XmlAttributesTest, StandInTheirOrder)
{
    XmlAttributes attributes;
    EXPECT_THAT(attributes.List(), IsEmpty());
    EXPECT_EQ(attributes.Find(L""), std::nullopt);
    attributes.Add(L"b", L"first");
    attributes.Add(L"a", L"");
    attributes.Add(L"b", L"second");
    EXPECT_THAT(attributes.List(),
                ElementsAre(std::pair(L"b", L"first"), std::pair(L"a", L""), std::pair(L"b", L"second")));
    EXPECT_EQ(attributes.Find(L"b"), L"first");
    EXPECT_EQ(attributes.Find(L"a"), L"");
    EXPECT_EQ(attributes.Find(L"first"), std::nullopt);
    EXPECT_EQ(attributes.Find(L""), std::nullopt);
    attributes.Clear();
    EXPECT_THAT(attributes.List(), IsEmpty());
}

TEST(XmlAttributesTest, AreReplacedInTheirPlace)
{
    XmlAttributes attributes;
    attributes.Set(L"a", L"1");
    attributes.Set(L"b", L"2");
    attributes.Set(L"a", L"a longer one");
    EXPECT_THAT(attributes.List(), ElementsAre(std::pair(L"a", L"a longer one"), std::pair(L"b", L"2")));
    attributes.Set(L"a", *attributes.Find(L"b"));
    EXPECT_EQ(attributes.Find(L"a"), L"2");
}

TEST(XmlAttributesTest, AreOfAnyLengthAndHoldAnyUnit)
{
    for (const std::size_t length : {0xFFFFU, 0x10000U, 0x10001U, 0x234567U})
    {
        const std::wstring text(length, L'\0');
        XmlAttributes attributes;
        attributes.Add(text, L"v");
        attributes.Add(L"n", text + L'\xFFFF');
        EXPECT_EQ(attributes.Find(text), L"v") << length;
        EXPECT_EQ(attributes.Find(L"n"), text + L'\xFFFF') << length;
    }
}
