// The display while a scan runs, and its end.
#include "TrayDisplayScene.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace
{

// The scan

TEST_F(TrayDisplayTest, StartsTheScanWithTheSeriesAndItsTimer)
{
    Create();
    frame->OnStartScan();
    EXPECT_EQ(g_timers.running[FrameTimer::Scan], 1000U);
    EXPECT_EQ(g_timers.running[animationTimer], 500U);
}

TEST_F(TrayDisplayTest, StartsTheSeriesAnewOnASecondStart)
{
    Scan();
    const int starts = g_timers.starts;
    frame->OnStartScan();
    EXPECT_EQ(g_timers.starts, starts + 2);
    EXPECT_EQ(g_files.size(), 6U);
    EXPECT_THAT(g_destroyed, ElementsAre(PlayedIcon(101), PlayedIcon(102), PlayedIcon(103)));
}

TEST_F(TrayDisplayTest, DoesNotScanWhenTheServiceCannotBeAsked)
{
    Create();
    TheNeighbours().startScan = false;
    frame->OnStartScan();
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Start Scan failed..."));
    EXPECT_THAT(g_files, IsEmpty());
    EXPECT_FALSE(g_timers.running.contains(FrameTimer::Scan));
}

TEST_F(TrayDisplayTest, StaysIdleWhenTheSeriesDoesNotLoad)
{
    Create();
    g_missing = {L"C:\\P\\Misc\\Icons\\scan1.ico"};
    frame->OnStartScan();
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Change tray icon failed..."));
    EXPECT_FALSE(g_timers.running.contains(FrameTimer::Scan));
}

TEST_F(TrayDisplayTest, ScansWithoutIconWhenTheProfileHasNone)
{
    CProfileParser::Instance().m_mapIcons.clear();
    Scan();
    EXPECT_FALSE(g_timers.running.contains(animationTimer));
}

TEST_F(TrayDisplayTest, RefreshesOnlyTheTooltipBeforeAndBehindTheEnd)
{
    Scan();
    for (const UINT percent : {0U, 99U, 101U})
    {
        frame->Reach(percent);
        g_shell.calls.clear();
        Tick();
        ASSERT_EQ(g_shell.calls.size(), 1U);
        EXPECT_EQ(Last().uFlags, static_cast<UINT>(NIF_TIP));
        EXPECT_THAT(Tip(), HasSubstr(std::to_wstring(percent) + L"% done"));
        EXPECT_TRUE(g_timers.running.contains(FrameTimer::Scan));
    }
    EXPECT_EQ(g_defaultTimers, 3);
    EXPECT_THAT(CallsBut("power"), IsEmpty());
}

TEST_F(TrayDisplayTest, TellsTheSameTooltipAgainAtEachTick)
{
    Scan();
    Tick();
    Tick();
    EXPECT_EQ(g_shell.calls.size(), 2U);
}

TEST_F(TrayDisplayTest, EndsTheScanAtAHundredPercentAndOpensThePopup)
{
    Scan();
    frame->Reach(100);
    Tick();
    std::vector<std::wstring> tips;
    for (const PlayedShell::Call& call : g_shell.calls)
    {
        if (call.data.uFlags == NIF_TIP)
        {
            tips.emplace_back(call.data.szTip);
        }
    }
    EXPECT_THAT(tips, ElementsAre(L"100% done: 100%", L"Protected"));
    EXPECT_EQ(Last().hIcon, PlayedIcon(128));
    EXPECT_THAT(g_timers.running, Not(Contains(testing::Key(FrameTimer::Scan))));
    EXPECT_THAT(g_timers.running, Not(Contains(testing::Key(animationTimer))));
    EXPECT_THAT(CallsBut("power"), ElementsAre("console <-p \"MainConsole\" 0 \"{}\">"));
    EXPECT_EQ(g_destroyed.size(), 3U);
    EXPECT_EQ(g_defaultTimers, 1);
}

TEST_F(TrayDisplayTest, StopsATickWhoseResultCannotBeRead)
{
    Scan();
    TheNeighbours().scanResult = false;
    Tick();
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Get scanning result failed..."));
    EXPECT_THAT(g_shell.calls, IsEmpty());
    EXPECT_EQ(g_defaultTimers, 0);
}

TEST_F(TrayDisplayTest, StopsATickWhoseTooltipTheShellRefuses)
{
    Scan();
    frame->Reach(100);
    g_shell.refused = {NIM_MODIFY};
    Tick();
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Show tooltip failed..."));
    EXPECT_TRUE(g_timers.running.contains(FrameTimer::Scan));
    EXPECT_EQ(g_defaultTimers, 0);
}

// The end of the scan

TEST_F(TrayDisplayTest, KeepsTheDisplayWhenNoAnimationRanButEndsTheTicks)
{
    CProfileParser::Instance().m_mapIcons.clear();
    Scan();
    frame->Reach(100);
    Tick();
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Stop animation failed..."));
    EXPECT_EQ(Last().uFlags, static_cast<UINT>(NIF_TIP)) << "the icon stays";
    EXPECT_EQ(Tip(), L"100% done: 100%");
    EXPECT_FALSE(g_timers.running.contains(FrameTimer::Scan));
    EXPECT_THAT(CallsBut("power"), IsEmpty());
    EXPECT_EQ(g_defaultTimers, 1);
}

TEST_F(TrayDisplayTest, OpensNoPopupWithoutTheIdleIcon)
{
    Scan();
    g_ownIconMissing = true;
    frame->PostScan();
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Change tray icon failed..."));
    EXPECT_THAT(CallsBut("power"), IsEmpty());
}

TEST_F(TrayDisplayTest, OpensNoPopupWithoutTheIdleTooltip)
{
    Scan();
    g_shell.refusedFlags = NIF_TIP;
    frame->PostScan();
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Show tooltip failed..."));
    EXPECT_THAT(CallsBut("power"), IsEmpty());
}

TEST_F(TrayDisplayTest, LogsAPopupThatDoesNotOpen)
{
    Scan();
    TheNeighbours().console = Status::FromSystemError(ERROR_FILE_NOT_FOUND);
    frame->PostScan();
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Show Popup failed..."));
}

} // namespace
