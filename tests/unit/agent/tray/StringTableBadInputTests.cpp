// String tables that nobody would write. What the reader makes of each kind of text is tested with it; here
// is what it means to the profile.
#include "ProfileFiles.h"
#include "ProfileTexts.h"
#include "ScarceMemory.h"
#include "StringTable.h"

#include <new>

using QxCommon::JsonDb;
using testing::Each;
using testing::StartsWith;

namespace
{

const std::string table = "{\"Menus\": {\"Open\": \"Auf\", \"Exit\": \"Ende\"},\n"
                          " \"Tooltips\": {\"Idle\": \"Ruhe\", \"Busy\": \"Arbeit\"},\n"
                          " \"MsgBoxes\": {\"Ask\": \"Frage\"}, \"Splash\": {\"CopyRight\": \"(c)\"}}\n";

class StringTableBadInputTest : public ProfileTest
{
protected:
    StringTableBadInputTest()
    {
        EXPECT_TRUE(Parse("<Menus><m name='Open'><m name='Exit'/></m></Menus>"
                          "<Tooltips><Tooltip id='1' name='Idle' string='old'/></Tooltips>"
                          "<MsgBoxes><MsgBox id='1' name='Ask' string='old'/></MsgBoxes>"));
    }

    ~StringTableBadInputTest() override { CStringTable::Instance().Clear(); }

    // Reads the text as a table of its own and gives the parsed profile its texts.
    void Bind(const std::string& text)
    {
        CStringTable::Instance().Clear();
        EXPECT_TRUE(
            CStringTable::ParseStringTable(CStringTable::Instance(), dir.Write(L"strings.json", text)))
            << text.substr(0, 100);
        BindProfileTexts(parser);
        log.Clear();
    }

    // The text of the first menu item.
    std::wstring TextFor(const std::string& text)
    {
        Bind(text);
        return parser.m_pMenuRoot->text;
    }

    [[nodiscard]] std::wstring AllTexts() const
    {
        return parser.m_pMenuRoot->text + parser.m_pMenuRoot->child->text +
               parser.m_mapTooltips.at(32890).string + parser.m_mapMsgBoxes.at(32990).string;
    }
};

} // namespace

TEST_F(StringTableBadInputTest, WhatIsNoTableGivesEmptyTexts)
{
    for (const char* text :
         {"", " ", "{", "}", "null", "0", "\"Menus\"", "[{\"Menus\": {\"Open\": \"x\"}}]", "<Ui/>",
          "{\"Menus\": \"Open\"}", "{\"Menus\": [\"Open\"]}", "{\"menus\": {\"Open\": \"x\"}}",
          "\xEF\xBB\xBF{\"Menus\": {\"Open\": \"x\"}}", "{'Menus': {'Open': 'x'}}", "\xFF\xFE{"})
    {
        Bind(text);
        EXPECT_EQ(AllTexts(), L"") << text;
    }
}

TEST_F(StringTableBadInputTest, EveryTruncationGivesWhatStandsBeforeIt)
{
    Bind(table);
    EXPECT_EQ(AllTexts(), L"AufEndeRuheFrage");
    for (std::size_t size = 0; size < table.size(); ++size)
    {
        Bind(table.substr(0, size));
        EXPECT_TRUE(std::wstring(L"AufEndeRuheFrage").starts_with(AllTexts())) << size;
    }
}

TEST_F(StringTableBadInputTest, ASectionThatIsMissingLeavesTheOthers)
{
    Bind("{\"Tooltips\": {\"Idle\": \"Ruhe\"}, \"MsgBoxes\": {\"Ask\": \"Frage\"}}");
    EXPECT_EQ(AllTexts(), L"RuheFrage");
    Bind("{\"Menus\": {\"Open\": \"Auf\"}, \"MsgBoxes\": {\"Ask\": \"Frage\"}}");
    EXPECT_EQ(AllTexts(), L"AufFrage");
    Bind("{\"Menus\": {\"Open\": \"Auf\"}, \"Tooltips\": {\"Idle\": \"Ruhe\"}}");
    EXPECT_EQ(AllTexts(), L"AufRuhe");
}

TEST_F(StringTableBadInputTest, ValuesOfOtherKindsComeAsTheReaderWritesThem)
{
    for (const auto& [value, text] : {std::pair("\"\"", L""),
                                      {"null", L""},
                                      {"{}", L""},
                                      {"[]", L""},
                                      {"false", L"false"},
                                      {"-1", L"-1"},
                                      {"99999999999999999999", L"1.000000000000000e+20"},
                                      {"\"\\ud83d\\ude00\"", L"\xD83D\xDE00"},
                                      {"\"1\", \"Open\": \"2\"", L"2"}})
    {
        EXPECT_EQ(TextFor(std::string("{\"Menus\": {\"Open\": ") + value + "}}"), text) << value;
    }
}

TEST_F(StringTableBadInputTest, TextsOfAnyLengthAreKept)
{
    const std::string many(10000, 'x');
    EXPECT_EQ(TextFor("{\"Menus\": {\"Open\": \"" + many + "\"}}"), std::wstring(10000, L'x'));
    EXPECT_EQ(TextFor("{\"Menus\": {\"" + many + "\": \"a\", \"Open\": \"b\"}}"), L"b");
}

TEST_F(StringTableBadInputTest, TenMegabytesTenThousandLevelsAndTextsAreSurvived)
{
    const std::string filling(std::size_t{10} << 20U, 'x');
    EXPECT_EQ(TextFor("{\"Other\": {\"a\": \"" + filling + "\"}, \"Menus\": {\"Open\": \"b\"}}"), L"b");
    EXPECT_EQ(
        TextFor("{\"Menus\": {\"Open\": \"b\"}, \"Deep\": " + Repeat("[", 10000) + Repeat("]", 10000) + "}"),
        L"b");
    std::string entries;
    for (int i = 0; i < 10000; ++i)
    {
        entries += "\"name" + std::to_string(i) + "\": \"text\", ";
    }
    EXPECT_EQ(TextFor("{\"Menus\": {" + entries + "\"Open\": \"b\"}}"), L"b");
}

TEST_F(StringTableBadInputTest, AFileThatIsMissingOrWhoseFolderIsIsRefused)
{
    JsonDb& strings = CStringTable::Instance();
    log.Clear();
    EXPECT_FALSE(CStringTable::ParseStringTable(strings, L""));
    EXPECT_FALSE(CStringTable::ParseStringTable(strings, dir.Path(L"strings.json")));
    EXPECT_FALSE(CStringTable::ParseStringTable(strings, dir.Path(L"xx-yy\\strings.json")));
    EXPECT_FALSE(CStringTable::ParseStringTable(strings, dir.Path() + L"\\" + std::wstring(300, L'x')));
    EXPECT_EQ(Texts().size(), 4U);
    EXPECT_THAT(Texts(), Each(StartsWith(L": [ERROR] UiDeskTrayString.json file does not exist. Path: ")));
}

TEST_F(StringTableBadInputTest, AnyFileNameWillDo)
{
    const std::wstring file = dir.Write(L"\u00FC \u6AA2 \xD83D\xDE00\\\u0416.json", table);
    EXPECT_TRUE(CStringTable::ParseStringTable(CStringTable::Instance(), file));
    BindProfileTexts(parser);
    EXPECT_EQ(AllTexts(), L"AufEndeRuheFrage");
}

// Whichever allocation it is that fails: there are fewer texts, or std::bad_alloc says so to LoadConfig.
TEST_F(StringTableBadInputTest, NoMissingPieceOfMemoryLeavesAnythingBehind)
{
    const std::wstring file = dir.Write(L"strings.json", table);
    const auto read = [&]
    {
        CProfileParser empty;
        JsonDb strings;
        static_cast<void>(CStringTable::ParseStringTable(strings, file));
        BindProfileTexts(empty);
    };
    read();
    for (long long successes = 0, hasFailed = 1; hasFailed != 0; ++successes)
    {
        log.Clear();
        const long long alive = BlocksAlive();
        {
            const OneFailure memory(successes);
            try
            {
                read();
            }
            catch (const std::bad_alloc&)
            {
            }
            hasFailed = memory.HasFailed() ? 1 : 0;
        }
        log.Clear();
        ASSERT_EQ(BlocksAlive(), alive) << successes;
    }
}
