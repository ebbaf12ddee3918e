#include "ProfileFiles.h"

#include "VzComn_XmlElement.h"

using testing::AnyNumber;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

std::size_t CountOf(const std::vector<std::wstring>& texts, const std::wstring& text)
{
    return static_cast<std::size_t>(std::count(texts.begin(), texts.end(), text));
}

} // namespace

TEST_F(ProfileTest, ReadsAMenuWithAllItsAttributes)
{
    ASSERT_TRUE(
        Parse("<Menus><Menu id=\"0x10\" name=\"Open\" type=\"String\" font=\"bold\" function_id=\"1\" "
              "enabled=\"0\" checked=\"1\"/></Menus>"));
    const MenuNode& node = *parser.m_pMenuRoot;
    EXPECT_EQ(node.id, 32805U);
    EXPECT_EQ(node.name, L"Open");
    EXPECT_EQ(node.type, L"String");
    EXPECT_EQ(node.font, L"bold");
    EXPECT_EQ(node.functionId, 32790U);
    EXPECT_FALSE(node.enabled);
    EXPECT_TRUE(node.checked);
    EXPECT_EQ(node.text, L"");
    EXPECT_EQ(node.child, nullptr);
    EXPECT_EQ(node.next, nullptr);
}

TEST_F(ProfileTest, GivesAbsentAttributesTheirDefaults)
{
    ASSERT_TRUE(Parse("<Menus><m/></Menus>"));
    const MenuNode& node = *parser.m_pMenuRoot;
    EXPECT_EQ(node.id, 32789U);
    EXPECT_EQ(node.functionId, 32789U);
    EXPECT_EQ(node.name + node.type + node.font, L"");
    EXPECT_TRUE(node.enabled);
    EXPECT_FALSE(node.checked);
}

TEST_F(ProfileTest, ReadsEnabledAndCheckedByTheirOwnRules)
{
    struct Case
    {
        std::string value;
        bool enabled;
        bool checked;
    };

    for (const Case& expected :
         {Case{"0", false, false}, Case{"", true, false}, Case{"1", true, true}, Case{"true", false, true},
          Case{"false", false, true}, Case{"no", false, true}})
    {
        ASSERT_TRUE(Parse("<Menus><m enabled=\"" + expected.value + "\" checked=\"" + expected.value +
                          "\"/></Menus>"));
        EXPECT_EQ(parser.m_pMenuRoot->enabled, expected.enabled) << expected.value;
        EXPECT_EQ(parser.m_pMenuRoot->checked, expected.checked) << expected.value;
    }
}

TEST_F(ProfileTest, ReadsNumbersAsTheSystemsLibraryDoes)
{
    for (const auto& [text, id] : {std::pair("16", 32805U),
                                   {"0x10", 32805U},
                                   {"010", 32797U},
                                   {"08", 32789U},
                                   {"x", 32789U},
                                   {"-1", 32788U},
                                   {"99999999999", 32788U},
                                   {" 7 up", 32796U}})
    {
        ASSERT_TRUE(Parse(std::string("<Menus><m id=\"") + text + "\"/></Menus>"));
        EXPECT_EQ(parser.m_pMenuRoot->id, id) << text;
    }
}

TEST_F(ProfileTest, BuildsTheTreeAndTellsOfAParentBehindItsChildren)
{
    ASSERT_TRUE(
        Parse("<Menus><m id='1' name='a'><x id='2' name='b'/><y id='3' name='c'><z id='4' name='d'/></y>"
              "</m><m id='5' name='e'/></Menus>"));
    const MenuNode& root = *parser.m_pMenuRoot;
    EXPECT_EQ(root.next->name, L"e");
    EXPECT_EQ(root.child->name, L"b");
    EXPECT_EQ(root.child->next->name, L"c");
    EXPECT_EQ(root.child->next->child->name, L"d");
    EXPECT_THAT(Texts(),
                ElementsAre(L": [INFO] Child size:2", L": [INFO] Child size:0", L": [INFO] Id: 32791 Name: b",
                            L": [INFO] Child size:1", L": [INFO] Child size:0", L": [INFO] Id: 32793 Name: d",
                            L": [INFO] Id: 32792 Name: c", L": [INFO] Id: 32790 Name: a",
                            L": [INFO] Child size:0", L": [INFO] Id: 32794 Name: e"));
}

TEST_F(ProfileTest, ReadsTooltipsMsgBoxesAndIconsUnderTheirBases)
{
    ASSERT_TRUE(Parse("<Tooltips><Tooltip id='1' name='Idle' string='x'/><Other id='9'/></Tooltips>"
                      "<MsgBoxes><MsgBox id='2' name='Box' string='y'/></MsgBoxes>"
                      "<Icons><Icon id='1' name='Main' path='Icons\\main' count='4'/></Icons>"));
    ASSERT_EQ(parser.m_mapTooltips.size(), 1U);
    EXPECT_EQ(parser.m_mapTooltips[32890].id, 32890U);
    EXPECT_EQ(parser.m_mapTooltips[32890].name, L"Idle");
    EXPECT_EQ(parser.m_mapTooltips[32890].string, L"x");
    EXPECT_EQ(parser.m_mapMsgBoxes[32991].string, L"y");
    EXPECT_EQ(parser.m_mapIcons[33090].path, L"Icons\\main");
    EXPECT_EQ(parser.m_mapIcons[33090].name, L"Main");
    EXPECT_EQ(parser.m_mapIcons[33090].count, 33093U) << "with the base added, deliberately";
    EXPECT_THAT(Texts(), ElementsAre(L": [INFO] Id: 32890Name: Idle", L": [INFO] Id: 32991Name: Box",
                                     L": [INFO] Id: 33090Name: Main"));
}

TEST_F(ProfileTest, LetsTheFirstOfTwoEntriesStand)
{
    ASSERT_TRUE(Parse("<Tooltips><Tooltip id='1' name='a'/><Tooltip id='0x1' name='b'/></Tooltips>"));
    EXPECT_EQ(parser.m_mapTooltips[32890].name, L"a");
    EXPECT_THAT(Texts(), ElementsAre(L": [INFO] Id: 32890Name: a", L": [INFO] Id: 32890Name: b"));
}

TEST_F(ProfileTest, SkipsSectionsThatItDoesNotKnow)
{
    ASSERT_TRUE(Parse("<menus/><Sounds><Sound id='1'/></Sounds><Tooltips/><Icons><Icon id='1'/></Icons>"));
    EXPECT_EQ(parser.m_pMenuRoot, nullptr);
    EXPECT_THAT(parser.m_mapTooltips, IsEmpty());
    EXPECT_EQ(parser.m_mapIcons.size(), 1U);
}

TEST_F(ProfileTest, ReadsNothingBehindASectionThatFails)
{
    EXPECT_TRUE(Parse("<Tooltips><Tooltip id='1'/></Tooltips><Menus/><Icons><Icon id='1'/></Icons>"));
    EXPECT_EQ(parser.m_mapTooltips.size(), 1U);
    EXPECT_THAT(parser.m_mapIcons, IsEmpty());
    EXPECT_NE(parser.m_pMenuRoot, nullptr) << "an empty one";
    EXPECT_EQ(Texts().back(), L": [ERROR] Parse element from Shortcut.xml failed...");
}

TEST_F(ProfileTest, RefusesAMissingFile)
{
    const std::wstring missing = dir.Path(L"missing.xml");
    EXPECT_FALSE(parser.ParseXmlFile(QX_EXPAT_FOLDER, missing));
    EXPECT_THAT(log.Texts(),
                ElementsAre(L"[INFO],[], ==> CProfileParser::ParseXmlFile",
                            L": [ERROR] UiDeskTrayProfile.xml file does not exist. Path: " + missing,
                            L"[INFO],[], <== CProfileParser::ParseXmlFile"));
}

TEST_F(ProfileTest, RefusesAFileThatCannotBeRead)
{
    const std::wstring empty = dir.Write(L"empty.xml", "");
    EXPECT_FALSE(parser.ParseXmlFile(QX_EXPAT_FOLDER, empty));
    EXPECT_FALSE(parser.ParseXmlFile(dir.Path(), empty)) << "without the library";
    EXPECT_FALSE(parser.ParseXmlFile(QX_EXPAT_FOLDER, dir.Write(L"cut.xml", "<Ui><Menus>")));
    EXPECT_THAT(Texts(), ElementsAre(L": [ERROR] Excpetion when reading XML file: 38",
                                     L": [ERROR] Excpetion when reading XML file: 126",
                                     L": [ERROR] Excpetion when reading XML file: 3"));
}

TEST_F(ProfileTest, NeedsASectionInHand)
{
    EXPECT_FALSE(parser.ParseMenus());
    EXPECT_FALSE(parser.ParseTooltips());
    EXPECT_FALSE(parser.ParseMsgBoxes());
    EXPECT_FALSE(parser.ParseIcons());
    EXPECT_EQ(CountOf(Texts(), L": [ERROR] m_pCurrentElement is invalid..."), 4U);
    MenuNode node;
    EXPECT_FALSE(parser.ParseMenuItems(nullptr, &node));
    EXPECT_EQ(Texts().back(), L": [ERROR] pCurrentElement is not available...");
}

TEST_F(ProfileTest, ReadsAndFreesALongAndADeepMenu)
{
    constexpr int count = 10000;
    ASSERT_TRUE(Parse("<Menus>" + Repeat("<m/>", count) + "</Menus>"));
    int found = 0;
    for (const MenuNode* node = parser.m_pMenuRoot.get(); node != nullptr; node = node->next.get())
    {
        ++found;
    }
    EXPECT_EQ(found, count);

    ASSERT_TRUE(Parse("<Menus>" + Repeat("<m><x/>", count) + Repeat("</m>", count) + "</Menus>"));
    found = 0;
    for (const MenuNode* node = parser.m_pMenuRoot.get(); node != nullptr;
         node = node->child ? node->child->next.get() : nullptr)
    {
        ++found;
    }
    EXPECT_EQ(found, count);
    parser.m_pMenuRoot.reset();
}
