#include "ProfileFiles.h"

#include "ProfileTexts.h"
#include "StringTable.h"

using QxCommon::JsonDb;
using testing::ElementsAre;

namespace
{

class StringTableTest : public ProfileTest
{
protected:
    ~StringTableTest() override { CStringTable::Instance().Clear(); }

    bool Read(const std::string& text)
    {
        return CStringTable::ParseStringTable(CStringTable::Instance(), dir.Write(L"strings.json", text));
    }

    static std::wstring TextOf(const std::wstring& section, const std::wstring& name)
    {
        return GetLocalizedString(CStringTable::Instance(), section, name);
    }
};

} // namespace

TEST_F(StringTableTest, ReadsTextsOfSections)
{
    ASSERT_TRUE(Read("{\"Menus\":{\"Open\":\"\xC3\x96"
                     "ffnen\",\"Number\":5,\"Yes\":true,\"List\":[1]}}"));
    EXPECT_EQ(TextOf(L"Menus", L"Open"), L"\u00D6ffnen");
    EXPECT_EQ(TextOf(L"Menus", L"Number"), L"5");
    EXPECT_EQ(TextOf(L"Menus", L"Yes"), L"true");
    EXPECT_EQ(TextOf(L"Menus", L"List"), L"");
    EXPECT_EQ(TextOf(L"Menus", L"Nothing"), L"");
    EXPECT_EQ(TextOf(L"Tooltips", L"Open"), L"");
}

TEST_F(StringTableTest, TellsTheWholeTable)
{
    ASSERT_TRUE(Read("{\"Menus\":{\"a\":\"b\"}}"));
    EXPECT_THAT(Texts(), ElementsAre(L": [INFO] {\n   \"Menus\" : {\n      \"a\" : \"b\"\n   }\n}\n"));
}

TEST_F(StringTableTest, RefusesAFileThatIsMissingOrCannotBeOpened)
{
    EXPECT_FALSE(CStringTable::ParseStringTable(CStringTable::Instance(), L""));
    const std::wstring missing = dir.Path(L"missing.json");
    EXPECT_FALSE(CStringTable::ParseStringTable(CStringTable::Instance(), missing));
    const std::wstring folder = dir.Path(); // is there, and is no file
    EXPECT_FALSE(CStringTable::ParseStringTable(CStringTable::Instance(), folder));
    EXPECT_THAT(Texts(),
                ElementsAre(L": [ERROR] UiDeskTrayString.json file does not exist. Path: ",
                            L": [ERROR] UiDeskTrayString.json file does not exist. Path: " + missing,
                            L"QxCommon: [ERROR] failed to open file <" + folder + L">, error = 5",
                            L": [ERROR] Failed to load JSON file <" + folder + L">, error = 0xe0ff0012"));
}

TEST_F(StringTableTest, HoldsWhatStandsBeforeASyntaxError)
{
    EXPECT_TRUE(Read("{\"Menus\":{\"a\":\"b\",\"c\":"));
    EXPECT_EQ(TextOf(L"Menus", L"a"), L"b");
    EXPECT_EQ(TextOf(L"Menus", L"c"), L"");
}

TEST_F(StringTableTest, GivesEmptyTextsOfAFileThatIsNoTable)
{
    for (const char* text : {"", "Menus", "[1,2]", "7", "{\"Menus\":[]}"})
    {
        EXPECT_TRUE(Read(text)) << text;
        EXPECT_EQ(TextOf(L"Menus", L"a"), L"") << text;
        CStringTable::Instance().Clear();
    }
}

TEST_F(StringTableTest, GivesEachItemItsTextAndOverwritesThatOfTheProfile)
{
    ASSERT_TRUE(
        Parse("<Menus><m name='a'><m name='b'/></m><m name='c'/></Menus>"
              "<Tooltips><Tooltip id='1' name='t' string='old'/><Tooltip id='2' name='u' string='old'/>"
              "</Tooltips><MsgBoxes><MsgBox id='1' name='m' string='old'/></MsgBoxes>"));
    ASSERT_TRUE(Read("{\"Menus\":{\"a\":\"A\",\"b\":\"B\",\"c\":\"C\"},\"Tooltips\":{\"t\":\"T\"},"
                     "\"MsgBoxes\":{\"m\":\"M\"}}"));
    log.Clear();
    BindProfileTexts(parser);
    EXPECT_EQ(parser.m_pMenuRoot->text, L"A");
    EXPECT_EQ(parser.m_pMenuRoot->child->text, L"B");
    EXPECT_EQ(parser.m_pMenuRoot->next->text, L"C");
    EXPECT_EQ(parser.m_mapTooltips[32890].string, L"T");
    EXPECT_EQ(parser.m_mapTooltips[32891].string, L"") << "overwritten by an empty text, too";
    EXPECT_EQ(parser.m_mapMsgBoxes[32990].string, L"M");
    EXPECT_THAT(Texts(), ElementsAre(L": [INFO] Text: A", L": [INFO] Text: B", L": [INFO] Text: C",
                                     L": [INFO] Text: T", L": [INFO] Text: ", L": [INFO] Text: M"));
}
