// The profile and the texts as an installation lays them out.
#include "FakeProduct.h"
#include "LogCapture.h"
#include "ProfileParser.h"
#include "ScarceMemory.h"
#include "StringTable.h"
#include "TempDir.h"
#include "TempRegistry.h"

#include <gmock/gmock.h>

using testing::Contains;
using testing::IsEmpty;
using testing::Not;

namespace
{

constexpr char profileText[] = "<Ui><Menus><m id='1' name='open' type='string'/></Menus>"
                               "<Tooltips><Tooltip id='1' name='idle' string='never seen'/></Tooltips>"
                               "<MsgBoxes><MsgBox id='1' name='ask'/></MsgBoxes></Ui>";
constexpr char stringsText[] = R"({"Menus": {"open": "Auf"}, "Tooltips": {"idle": "Ruhe"}})";

class LoadConfigTest : public testing::Test
{
protected:
    LoadConfigTest()
    {
        parsed.m_mapTooltips.clear();
        parsed.m_mapMsgBoxes.clear();
        CopyFileW(QX_EXPAT_FOLDER L"\\libexpat.dll", dir.Path(L"libexpat.dll").c_str(), FALSE);
        dir.Write(L"Configuration\\localeInfo.json", R"({"localMapping": [], "defaultLocal": "xx-yy"})");
        profile = dir.Write(L"Configuration\\UiDeskTrayProfile.xml", profileText);
        strings = dir.Write(L"Misc\\Resource\\xx-yy\\UiDeskTrayString.json", stringsText);
    }

    TestSupport::TempDir dir;
    TestSupport::TempRegistry registry;
    TestSupport::LogCapture log{logLevels};
    FakeProduct product{L"QxSessionAgent_M.exe", dir.Path()};
    CProfileParser& parsed = CProfileParser::Instance();
    std::wstring profile;
    std::wstring strings;
};

TEST_F(LoadConfigTest, JoinsTheProfileAndTheTextsOfTheLanguage)
{
    EXPECT_TRUE(LoadConfig());
    ASSERT_NE(parsed.m_pMenuRoot, nullptr);
    EXPECT_EQ(parsed.m_pMenuRoot->text, L"Auf");
    EXPECT_EQ(parsed.m_mapTooltips[32890].string, L"Ruhe");
    EXPECT_EQ(parsed.m_mapMsgBoxes[32990].string, L"");
    EXPECT_THAT(log.Texts(), Contains(L": [INFO] Text: Ruhe"));
}

TEST_F(LoadConfigTest, ReadsFromTheRegisteredFolderWithABackslashAtItsEnd)
{
    const FakeProduct elsewhere(L"QxSessionAgent_M.exe", L"C:\\Elsewhere");
    registry.SetString(HKEY_LOCAL_MACHINE, L"SOFTWARE\\NorvaneSoft\\Melvio", L"ProductPath", dir.Path(L""),
                       KEY_WOW64_64KEY);
    EXPECT_TRUE(LoadConfig());
    EXPECT_EQ(parsed.m_pMenuRoot->text, L"Auf");
}

TEST_F(LoadConfigTest, FailsWithoutProfile)
{
    DeleteFileW(profile.c_str());
    EXPECT_FALSE(LoadConfig());
    EXPECT_THAT(log.Texts(),
                Contains(L": [ERROR] UiDeskTrayProfile.xml file does not exist. Path: " + profile));
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Parse QxSessionAgent profile file failed..."));
}

TEST_F(LoadConfigTest, FailsWithAMalformedProfile)
{
    dir.Write(L"Configuration\\UiDeskTrayProfile.xml", "<Ui>");
    EXPECT_FALSE(LoadConfig());
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Parse QxSessionAgent profile file failed..."));
}

TEST_F(LoadConfigTest, FailsWithoutTheXmlLibraryOfTheProduct)
{
    DeleteFileW(dir.Path(L"libexpat.dll").c_str());
    EXPECT_FALSE(LoadConfig());
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Parse QxSessionAgent profile file failed..."));
}

// Deliberate: no other language takes its place.
TEST_F(LoadConfigTest, FailsWithoutTheTextsOfTheLanguage)
{
    DeleteFileW(strings.c_str());
    dir.Write(L"Misc\\Resource\\en-us\\UiDeskTrayString.json", stringsText);
    EXPECT_FALSE(LoadConfig());
    EXPECT_THAT(log.Texts(),
                Contains(L": [ERROR] UiDeskTrayString.json file does not exist. Path: " + strings));
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Parse QxSessionAgent L10n resource file failed..."));
}

TEST_F(LoadConfigTest, GoesOnAfterASectionThatFails)
{
    dir.Write(L"Configuration\\UiDeskTrayProfile.xml",
              "<Ui><Tooltips><Tooltip id='1' name='idle'/></Tooltips><Menus/>"
              "<MsgBoxes><MsgBox id='1' name='ask'/></MsgBoxes></Ui>");
    EXPECT_TRUE(LoadConfig());
    EXPECT_EQ(parsed.m_mapTooltips[32890].string, L"Ruhe");
    EXPECT_THAT(parsed.m_mapMsgBoxes, IsEmpty());
}

// Whichever allocation it is that fails.
TEST_F(LoadConfigTest, SurvivesAnyMissingPieceOfMemory)
{
    ASSERT_TRUE(LoadConfig()) << "what is made once";
    int failures = 0;
    for (int successes = 0;; ++successes)
    {
        const OneFailure failure(successes);
        const bool loaded = LoadConfig();
        if (!failure.HasFailed())
        {
            EXPECT_TRUE(loaded);
            break;
        }
        failures += loaded ? 0 : 1;
    }
    EXPECT_GT(failures, 50);
}

} // namespace
