// Profiles that nobody would write: what becomes of each, and nothing left behind.
#include "ImportPatch.h"
#include "LastingGrowth.h"
#include "ProfileFiles.h"
#include "ScarceMemory.h"
#include "VzComn_Handle.h"

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using TestSupport::ImportPatch;

namespace
{

// All sections, with some of everything.
const std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
const std::string menus = "<Menus><Menu id='1' name='Open' type='string' font='bold' function_id='1'/>"
                          "<Menu type='separator'/><Menu name='More' type='string'>"
                          "<Menu id='3' name='Exit' type='string'/></Menu></Menus>\n";
const std::string tooltips =
    "<Tooltips><Tooltip id='1' name='Idle'/><Tooltip id='2' name='Busy'/></Tooltips>\n";
const std::string msgBoxes = "<MsgBoxes><MsgBox id='1' name='Ask'/></MsgBoxes>\n";
const std::string icons = "<Icons><Icon id='1' name='Main' path='Icons\\main' count='4'/></Icons>\n";
const std::string profile = head + "<Ui>\n" + menus + tooltips + msgBoxes + icons + "</Ui>\n";

const wchar_t* const failure = L": [ERROR] Excpetion when reading XML file: ";

std::vector<std::wstring> openedFiles;
decltype(CreateFileW)* createFile = nullptr;

HANDLE WINAPI NoteFile(const wchar_t* name, DWORD access, DWORD sharing, SECURITY_ATTRIBUTES* attributes,
                       DWORD disposition, DWORD flags, HANDLE pattern)
{
    openedFiles.emplace_back(name);
    return createFile(name, access, sharing, attributes, disposition, flags, pattern);
}

// An entity of ten times the one before, twelve times over.
std::string GrowingEntities()
{
    std::string entities = "<!DOCTYPE Ui [<!ENTITY e0 'aaaaaaaaaa'>";
    for (int i = 1; i < 12; ++i)
    {
        entities += "<!ENTITY e" + std::to_string(i) + " '";
        entities += Repeat("&e" + std::to_string(i - 1) + ";", 10) + "'>";
    }
    return entities + "]>";
}

class ProfileBadInputTest : public ProfileTest
{
protected:
    // Into a parser of its own.
    bool ParseBytes(const std::string& bytes)
    {
        log.Clear();
        CProfileParser fresh;
        return fresh.ParseXmlFile(QX_EXPAT_FOLDER, dir.Write(L"profile.xml", bytes));
    }

    // Fails with that code, and says so.
    void ExpectRefusal(const std::string& bytes, int code)
    {
        EXPECT_FALSE(ParseBytes(bytes)) << bytes.substr(0, 100);
        EXPECT_THAT(Texts(), ElementsAre(failure + std::to_wstring(code))) << bytes.substr(0, 100);
    }
};

} // namespace

TEST_F(ProfileBadInputTest, WhatIsNoDocumentIsRefused)
{
    ExpectRefusal("", 38);
    ExpectRefusal(" \r\n", 3);
    ExpectRefusal("{\"Menus\": {}}", 4);
    ExpectRefusal("MZ\x90", 4);
    ExpectRefusal("<Ui><Menus></Ui></Menus>", 7);
    ExpectRefusal("<Ui><Menus", 5);
    ExpectRefusal("<Ui><Menus id=1/></Ui>", 4);
    ExpectRefusal("<Ui a='1' a='2'/>", 8);
    ExpectRefusal("<Ui>&undeclared;</Ui>", 11);
    ExpectRefusal("<Ui/><Ui/>", 9);
    ExpectRefusal("<Ui>" + std::string(1015, 'x') + "</Ui>", 38);
}

TEST_F(ProfileBadInputTest, EveryTruncationIsRefused)
{
    ASSERT_TRUE(ParseBytes(profile));
    for (std::size_t size = 0; size < profile.find("</Ui>"); size += 100)
    {
        EXPECT_FALSE(ParseBytes(profile.substr(0, size))) << size;
        EXPECT_THAT(Texts(), Each(StartsWith(failure))) << size;
        EXPECT_EQ(Texts().size(), 1U) << size;
    }
}

TEST_F(ProfileBadInputTest, ARefusedFileLeavesNothingInTheParser)
{
    EXPECT_FALSE(parser.ParseXmlFile(QX_EXPAT_FOLDER, dir.Write(L"cut.xml", "<Ui>" + menus + tooltips)));
    EXPECT_EQ(parser.m_pMenuRoot, nullptr);
    EXPECT_THAT(parser.m_mapTooltips, IsEmpty());
    EXPECT_EQ(parser.m_pCurrentElement, nullptr);
}

TEST_F(ProfileBadInputTest, TheSectionsAreReadWithoutAnyOneOfThem)
{
    ASSERT_TRUE(Parse(tooltips + msgBoxes + icons));
    EXPECT_EQ(parser.m_pMenuRoot, nullptr);
    CProfileParser others[3];
    const std::string sections[] = {menus + msgBoxes + icons, menus + tooltips + icons,
                                    menus + tooltips + msgBoxes};
    for (int missing = 0; missing < 3; ++missing)
    {
        CProfileParser& read = others[missing];
        ASSERT_TRUE(
            read.ParseXmlFile(QX_EXPAT_FOLDER, dir.Write(L"part.xml", "<Ui>" + sections[missing] + "</Ui>")));
        EXPECT_EQ(read.m_pMenuRoot->next->next->child->name, L"Exit");
        EXPECT_EQ(read.m_mapTooltips.size(), missing == 0 ? 0U : 2U);
        EXPECT_EQ(read.m_mapMsgBoxes.size(), missing == 1 ? 0U : 1U);
        EXPECT_EQ(read.m_mapIcons.size(), missing == 2 ? 0U : 1U);
    }
    ASSERT_TRUE(ParseBytes("<Ui/>"));
    EXPECT_THAT(Texts(), IsEmpty());
}

TEST_F(ProfileBadInputTest, GrowingEntitiesAreStoppedAndTakeNoMemory)
{
    const std::size_t before = TestSupport::PrivateBytes();
    ExpectRefusal(GrowingEntities() + "<Ui><Menus><m name='&e11;'/></Menus></Ui>", 43);
    ASSERT_TRUE(Parse("")); // for the parser to have been used once more
    ASSERT_TRUE(ParseBytes(GrowingEntities() + "<Ui><Menus><m name='a'>&e11;</m></Menus></Ui>"));
    EXPECT_LT(TestSupport::PrivateBytes(), before + (std::size_t{64} << 20U));
    ExpectRefusal("<!DOCTYPE Ui [<!ENTITY e '&f;'><!ENTITY f '&e;'>]><Ui a='&e;'/>", 12);
}

TEST_F(ProfileBadInputTest, NothingOutsideTheFileIsRead)
{
    const std::wstring secret = dir.Write(L"secret.txt", "secret");
    const std::string name(secret.begin(), secret.end());
    const std::wstring file =
        dir.Write(L"external.xml", "<!DOCTYPE Ui SYSTEM 'http://localhost/ui.dtd' [<!ENTITY % p SYSTEM '" +
                                       name + "'>%p;<!ENTITY f SYSTEM 'file:///" + name +
                                       "'><!ENTITY n SYSTEM 'http://localhost/n'>]>"
                                       "<Ui>&f;&n;<Menus><m name='a'>&f;&n;</m></Menus></Ui>");
    openedFiles.clear();
    {
        const ImportPatch patch(nullptr, "CreateFileW", &NoteFile);
        createFile = patch.Original<decltype(CreateFileW)>();
        EXPECT_TRUE(parser.ParseXmlFile(QX_EXPAT_FOLDER, file));
    }
    EXPECT_THAT(openedFiles, ElementsAre(file));
    EXPECT_EQ(GetModuleHandleW(L"ws2_32.dll"), nullptr) << "no network";
    EXPECT_EQ(parser.m_pMenuRoot->name, L"a");
    ExpectRefusal("<!DOCTYPE Ui [<!ENTITY f SYSTEM '" + name + "'>]><Ui a='&f;'/>", 16);
}

TEST_F(ProfileBadInputTest, MarksCountForMoreThanDeclarationsOfTheEncoding)
{
    const std::string body = "<Ui><Tooltips><Tooltip id='1' name='\xC3\xBC'/></Tooltips></Ui>";
    for (const char* encoding : {"UTF-8", "UTF-16", "ISO-8859-1", "US-ASCII", "x-none", "EBCDIC-CP-US"})
    {
        CProfileParser read;
        const std::string declaration = std::string("<?xml version='1.0' encoding='") + encoding + "'?>";
        for (const char* mark : {"", "\xEF\xBB\xBF"})
        {
            EXPECT_TRUE(read.ParseXmlFile(QX_EXPAT_FOLDER, dir.Write(L"utf8.xml", mark + declaration + body)))
                << encoding;
            EXPECT_EQ(read.m_mapTooltips[32890].name, L"\u00FC") << encoding;
        }
    }
    ExpectRefusal("<?xml version='1.0' encoding='ISO-8859-1'?><Ui a='\xFC'/>", 4);
    ExpectRefusal("<Ui a='\xED\xA0\x80'/>", 4);
    ExpectRefusal("<Ui a='\xC0\x80'/>", 4);
}

TEST_F(ProfileBadInputTest, SixteenBitTextIsKnownWithAndWithoutItsMark)
{
    const std::wstring text = L"<Ui><Tooltips><Tooltip id='1' name='\u00FC\xD83D\xDE00'/></Tooltips></Ui>";
    std::string little;
    std::string big;
    for (const wchar_t unit : L'\xFEFF' + text)
    {
        const char low = static_cast<char>(unit & 0xFF);
        const char high = static_cast<char>(unit >> 8);
        little += {low, high};
        big += {high, low};
    }
    for (const std::string& bytes : {little, big, little.substr(2), big.substr(2)})
    {
        CProfileParser read;
        EXPECT_TRUE(read.ParseXmlFile(QX_EXPAT_FOLDER, dir.Write(L"utf16.xml", bytes)));
        EXPECT_EQ(read.m_mapTooltips[32890].name, L"\u00FC\xD83D\xDE00");
    }
    ExpectRefusal(little.substr(0, little.size() - 1), 5);
}

TEST_F(ProfileBadInputTest, ZeroBytesAreRefusedAnywhere)
{
    const std::string zero(1, '\0');
    for (const std::string& bytes : {zero + profile, "<Ui>" + zero + "</Ui>", "<Ui a='" + zero + "'/>",
                                     "<Ui" + zero + "/>", "<Ui><!--" + zero + "--></Ui>", profile + zero})
    {
        ExpectRefusal(bytes, 4);
    }
    ExpectRefusal(std::string(5000, '\0'), 4);
    ExpectRefusal("<Ui a='&#0;'/>", 14);
}

TEST_F(ProfileBadInputTest, NumbersWrapAroundTheirBases)
{
    ASSERT_TRUE(Parse("<Menus><m id='-32790' function_id='0xFFFFFFFFFFFFFFFFFF'/></Menus>"
                      "<Tooltips><Tooltip id='99999999999' name='a'/><Tooltip id='-1' name='b'/></Tooltips>"
                      "<Icons><Icon id='1' count='-33086'/><Icon id='2' count='99999999999'/></Icons>"));
    EXPECT_EQ(parser.m_pMenuRoot->id, 4294967295U);
    EXPECT_EQ(parser.m_pMenuRoot->functionId, 32788U);
    ASSERT_EQ(parser.m_mapTooltips.size(), 1U) << "the same number";
    EXPECT_EQ(parser.m_mapTooltips[32888].name, L"a");
    EXPECT_EQ(parser.m_mapIcons[33090].count, 3U);
    EXPECT_EQ(parser.m_mapIcons[33091].count, 33088U);
}

TEST_F(ProfileBadInputTest, OfTwoOfOneIdTheFirstStandsButBothMenuItems)
{
    ASSERT_TRUE(Parse("<Menus><m id='7' name='a'/><m id='7' name='b'/></Menus>"
                      "<MsgBoxes><MsgBox id='1' name='a'/><MsgBox id='01' name='b'/></MsgBoxes>"
                      "<Icons><Icon id='1' name='a'/><Icon id='1' name='b'/></Icons>"));
    EXPECT_EQ(parser.m_pMenuRoot->name, L"a");
    EXPECT_EQ(parser.m_pMenuRoot->next->name, L"b");
    EXPECT_EQ(parser.m_mapMsgBoxes[32990].name, L"a");
    EXPECT_EQ(parser.m_mapIcons[33090].name, L"a");
}

TEST_F(ProfileBadInputTest, TextsOfAnyLengthAreKept)
{
    const std::string many(10000, 'x');
    ASSERT_TRUE(Parse("<Menus><m name='' type='" + many + "'/><m name='" + many + "'/></Menus>" +
                      "<Icons><Icon id='' name='' path='" + many + "'/></Icons>"));
    EXPECT_EQ(parser.m_pMenuRoot->name, L"");
    EXPECT_EQ(parser.m_pMenuRoot->type, std::wstring(10000, L'x'));
    EXPECT_EQ(parser.m_pMenuRoot->next->name.size(), 10000U);
    EXPECT_EQ(parser.m_mapIcons[33089].path.size(), 10000U);
}

TEST_F(ProfileBadInputTest, TenMegabytesAreRead)
{
    constexpr std::size_t size = std::size_t{10} << 20U;
    const std::string item = "<m id='1' name='item' type='string' note='" + std::string(900, 'x') + "'/>\n";
    const int count = static_cast<int>(size / item.size());
    ASSERT_TRUE(Parse("<Menus>" + Repeat(item, count) + "</Menus>"));
    int found = 0;
    for (const MenuNode* node = parser.m_pMenuRoot.get(); node != nullptr; node = node->next.get())
    {
        ++found;
    }
    EXPECT_EQ(found, count);
    const std::string filling(size, 'x');
    EXPECT_TRUE(Parse("<Menus><m name='" + filling + "'/></Menus>"));
    EXPECT_EQ(parser.m_pMenuRoot->name.size(), size);
    EXPECT_TRUE(ParseBytes("<Ui><!--" + filling + "--></Ui>"));
    EXPECT_TRUE(ParseBytes("<Ui>" + filling + "</Ui>"));
    ExpectRefusal("<Ui>" + filling, 3);
    ExpectRefusal(filling + "x", 2);
}

TEST_F(ProfileBadInputTest, AnyFileNameWillDo)
{
    const std::wstring folder = L"Pr\u00F6fil \u6AA2\u67E5 \xD83D\xDE00";
    const std::wstring file = dir.Write(folder + L"\\\u00DC\u0416\u05D0.xml", profile);
    ASSERT_TRUE(
        CopyFileW(QX_EXPAT_FOLDER L"\\libexpat.dll", dir.Path(folder + L"\\libexpat.dll").c_str(), TRUE));
    EXPECT_TRUE(parser.ParseXmlFile(dir.Path(folder), file));
    EXPECT_EQ(parser.m_mapIcons.size(), 1U);
}

TEST_F(ProfileBadInputTest, WhatCannotBeOpenedIsRefused)
{
    const std::wstring file = dir.Write(L"profile.xml", profile);
    EXPECT_FALSE(parser.ParseXmlFile(QX_EXPAT_FOLDER, dir.Path())) << "a folder";
    EXPECT_FALSE(parser.ParseXmlFile(L"", file)) << "no folder of the library";
    EXPECT_FALSE(parser.ParseXmlFile(std::wstring(260, L'x'), file)) << "a folder beyond the system's limit";
    {
        const VzCommon::FileHandle locked(
            CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        EXPECT_FALSE(parser.ParseXmlFile(QX_EXPAT_FOLDER, file));
    }
    const std::wstring texts = failure;
    EXPECT_THAT(Texts(), ElementsAre(texts + L"5", texts + L"160", texts + L"122", texts + L"32"));
    EXPECT_FALSE(parser.ParseXmlFile(QX_EXPAT_FOLDER, L""));
    EXPECT_EQ(Texts().back(), L": [ERROR] UiDeskTrayProfile.xml file does not exist. Path: ");
}

TEST_F(ProfileBadInputTest, NoFileLeavesAnythingBehind)
{
    const std::string inputs[] = {"", profile, profile.substr(0, 300), GrowingEntities() + "<Ui a='&e9;'/>",
                                  "<Ui>" + Repeat("<Menus><m>", 1000)};
    for (const std::string& bytes : inputs)
    {
        const std::wstring file = dir.Write(L"profile.xml", bytes);
        long long alive = 0;
        for (int round = 0; round < 3; ++round)
        {
            alive = BlocksAlive();
            CProfileParser fresh;
            static_cast<void>(fresh.ParseXmlFile(QX_EXPAT_FOLDER, file));
            log.Clear();
        }
        EXPECT_EQ(BlocksAlive(), alive) << bytes.substr(0, 100);
    }
}

// Whichever allocation it is that fails: the file is refused, or std::bad_alloc says so to LoadConfig.
TEST_F(ProfileBadInputTest, NoMissingPieceOfMemoryLeavesAnythingBehind)
{
    const std::wstring file = dir.Write(L"profile.xml", profile);
    EXPECT_TRUE(parser.ParseXmlFile(QX_EXPAT_FOLDER, file));
    for (long long successes = 0, hasFailed = 1; hasFailed != 0; ++successes)
    {
        log.Clear();
        const long long alive = BlocksAlive();
        {
            CProfileParser fresh;
            const OneFailure memory(successes);
            try
            {
                static_cast<void>(fresh.ParseXmlFile(QX_EXPAT_FOLDER, file));
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
