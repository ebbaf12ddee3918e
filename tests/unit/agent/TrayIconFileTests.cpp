// Icon files as they may lie on the disk, read by the system itself.
#include "MainFrm.h"

#include "AgentIds.h"
#include "FakeProduct.h"
#include "ObjectCounts.h"
#include "ProfileParser.h"
#include "SystemTrayScene.h"
#include "TempDir.h"
#include "TempRegistry.h"

using ::testing::Contains;

namespace
{

void Append(std::string& bytes, std::uint32_t value, int size)
{
    for (int i = 0; i < size; ++i)
    {
        bytes += static_cast<char>(value >> (8 * i) & 0xFFU);
    }
}

// One picture of that size in 32 bits; the header may tell another one.
std::string IconBytes(std::uint32_t size, std::uint32_t toldSize)
{
    const std::uint32_t pixels = size * size * 4;
    const std::uint32_t mask = (size + 31) / 32 * 4 * size;
    std::string bytes;
    Append(bytes, 0x00010000, 4);
    Append(bytes, 1, 2);
    Append(bytes, size << 8 | size, 4);
    Append(bytes, 0x00200001, 4);
    Append(bytes, 40 + pixels + mask, 4);
    Append(bytes, 22, 4);
    Append(bytes, 40, 4);
    Append(bytes, toldSize, 4);
    Append(bytes, toldSize * 2, 4);
    Append(bytes, 0x00200001, 4);
    Append(bytes, 0, 4);
    Append(bytes, pixels, 4);
    return bytes + std::string(16, '\0') + std::string(pixels, '\x7F') + std::string(mask, '\0');
}

class TrayIconFileTest : public testing::Test
{
protected:
    TrayIconFileTest()
    {
        registry.SetString(HKEY_LOCAL_MACHINE, L"SOFTWARE\\NorvaneSoft\\Melvio", L"ProductPath", dir.Path(),
                           KEY_WOW64_64KEY);
        CProfileParser::Instance().m_mapIcons = {{33090, {33090, L"scan", L"Icons", 2}},
                                                 {33091, {33091, L"one", L"Icons", 1}}};
        frame = new CMainFrame;
        app.m_pMainWnd = frame;
        EXPECT_TRUE(frame->LoadFrame(128, 0x00CF8000));
        g_shell.calls.clear();
    }

    ~TrayIconFileTest() override { frame->DestroyWindow(); }

    // Whether the file shows as an icon.
    bool Shows(const std::string& bytes)
    {
        dir.Write(L"Icons\\one.ico", bytes);
        EXPECT_TRUE(frame->ChangeIcon(33091)) << "with or without an icon";
        const HICON icon = g_shell.calls.back().data.hIcon;
        DestroyIcon(icon);
        return icon != nullptr;
    }

    TestSupport::TempDir dir;
    FakeProduct product{L"QxSessionAgent_M.exe"};
    TestSupport::TempRegistry registry;
    TestSupport::LogCapture log{logLevels};
    TrayScene scene;
    CWinApp app{nullptr};
    CMainFrame* frame = nullptr;
};

TEST_F(TrayIconFileTest, ShowsAnIconOfAnySize)
{
    for (const std::uint32_t size : {16U, 20U, 32U, 48U, 255U})
    {
        EXPECT_TRUE(Shows(IconBytes(size, size))) << size;
    }
}

TEST_F(TrayIconFileTest, ShowsNoIconForAFileThatIsNone)
{
    const std::string whole = IconBytes(16, 16);
    EXPECT_FALSE(Shows(""));
    EXPECT_FALSE(Shows("no image"));
    for (const std::size_t length : {4U, 21U, 30U, 61U})
    {
        EXPECT_FALSE(Shows(whole.substr(0, length))) << length;
    }
}

// Whatever the system makes of them: it is asked again afterwards, and the icon stands.
TEST_F(TrayIconFileTest, SurvivesIconsThatTellFalseSizes)
{
    for (const std::uint32_t told : {0U, 1U, 60000U, 0x7FFFFFFFU, 0xFFFFFFFFU})
    {
        Shows(IconBytes(16, told));
    }
    EXPECT_TRUE(Shows(IconBytes(16, 16)));
}

TEST_F(TrayIconFileTest, ReadsFilesUnderAnyName)
{
    CProfileParser::Instance().m_mapIcons[33091] = {33091, L"\u30b9\u30ad\u30e3\u30f3 \u00e9", L"Ic\u00f4nes",
                                                    1};
    dir.Write(L"Ic\u00f4nes\\\u30b9\u30ad\u30e3\u30f3 \u00e9.ico", IconBytes(16, 16));
    EXPECT_TRUE(frame->ChangeIcon(33091));
    EXPECT_NE(g_shell.calls.back().data.hIcon, nullptr);
}

TEST_F(TrayIconFileTest, StaysIdleWhenAFrameOfTheSeriesIsBroken)
{
    dir.Write(L"Icons\\scan1.ico", IconBytes(16, 16));
    dir.Write(L"Icons\\scan2.ico", IconBytes(16, 16).substr(0, 30));
    frame->OnStartScan();
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Load Image failed..."));
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Change tray icon failed..."));
    EXPECT_TRUE(g_shell.calls.empty());
}

TEST_F(TrayIconFileTest, LeavesNoIconBehindWhenItScansAgainAndAgain)
{
    dir.Write(L"Icons\\scan1.ico", IconBytes(16, 16));
    dir.Write(L"Icons\\scan2.ico", IconBytes(16, 16));
    EXPECT_EQ(TestSupport::GrowthOf(
                  [this]
                  {
                      frame->OnStartScan();
                      frame->PostScan();
                  }),
              "");
}

} // namespace
