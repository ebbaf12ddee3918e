// What the icon looks like and what its tooltip says.
#include "TrayDisplayScene.h"

#include "ScarceMemory.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

// The installation

TEST_F(TrayDisplayTest, ShowsTheProgramsIconWithTheIdleTooltip)
{
    ASSERT_TRUE(frame->LoadFrame(128, 0x00CF8000));
    ASSERT_EQ(g_shell.calls.size(), 1U);
    EXPECT_EQ(g_shell.calls[0].message, static_cast<DWORD>(NIM_ADD));
    EXPECT_EQ(Last().uFlags, static_cast<UINT>(NIF_MESSAGE | NIF_ICON | NIF_TIP));
    EXPECT_EQ(Last().hIcon, PlayedIcon(128));
    EXPECT_EQ(Last().hWnd, frame->m_hWnd);
    EXPECT_EQ(Tip(), L"Protected");
}

TEST_F(TrayDisplayTest, TrimsTheWorkingSetHalfAMinuteLater)
{
    Create();
    EXPECT_EQ(g_timers.running[FrameTimer::TrimWorkingSet], 30000U);
}

TEST_F(TrayDisplayTest, AnswersTheShellForItsOwnIconOnly)
{
    Create();
    EXPECT_EQ(frame->SendMessage(WindowMessage::TrayCallback, 314, WM_MOUSEMOVE), 1);
    EXPECT_EQ(frame->SendMessage(WindowMessage::TrayCallback, 315, WM_RBUTTONUP), 0);
    EXPECT_THAT(g_menus, IsEmpty());
}

TEST_F(TrayDisplayTest, InstallsTheTrayOnce)
{
    Create();
    EXPECT_TRUE(frame->InstallSystemTray());
    EXPECT_THAT(g_shell.calls, IsEmpty());
}

TEST_F(TrayDisplayTest, DoesNotComeUpWhenTheShellRefusesTheIcon)
{
    g_shell.refused = {NIM_ADD, NIM_MODIFY};
    EXPECT_FALSE(frame->LoadFrame(128, 0x00CF8000));
    app.m_pMainWnd = nullptr; // the frame has gone with its window
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] m_sysTray.Create Failed..."));
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Install system tray failed..."));
}

TEST_F(TrayDisplayTest, OpensTheConsoleOnADoubleClick)
{
    Create();
    frame->SendMessage(WindowMessage::TrayCallback, 314, WM_LBUTTONDBLCLK);
    MSG message{};
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
    {
        DispatchMessageW(&message);
    }
    EXPECT_THAT(CallsBut("power"), ElementsAre("console <>"));
}

// The tooltip

TEST_F(TrayDisplayTest, KeepsTheTextForAnUnknownTooltipAndTellsTheShell)
{
    Create();
    EXPECT_TRUE(frame->ChangeToolTip(4711));
    ASSERT_EQ(g_shell.calls.size(), 1U);
    EXPECT_EQ(g_shell.calls[0].message, static_cast<DWORD>(NIM_MODIFY));
    EXPECT_EQ(Last().uFlags, static_cast<UINT>(NIF_TIP));
    EXPECT_EQ(Tip(), L"Protected");
}

TEST_F(TrayDisplayTest, FillsTheProgressInEachPlace)
{
    Create();
    frame->Reach(42);
    EXPECT_TRUE(frame->ChangeToolTip(Tooltip::Scanning));
    EXPECT_EQ(Tip(), L"42% done: 42%");
}

TEST_F(TrayDisplayTest, ShowsAScanningTooltipWithoutProgressAsItStands)
{
    CProfileParser::Instance().m_mapTooltips[32891].string = L"Scanning: 100%%progress";
    Create();
    EXPECT_TRUE(frame->ChangeToolTip(Tooltip::Scanning));
    EXPECT_EQ(Tip(), L"Scanning: 100%%progress");
}

TEST_F(TrayDisplayTest, FillsTheProgressIntoNoOtherTooltip)
{
    CProfileParser::Instance().m_mapTooltips[32890].string = L"Idle at %progress%";
    Create();
    EXPECT_TRUE(frame->ChangeToolTip(Tooltip::Idle));
    EXPECT_EQ(Tip(), L"Idle at %progress%");
}

TEST_F(TrayDisplayTest, LogsATooltipThatTheShellRefuses)
{
    Create();
    g_shell.refused = {NIM_MODIFY};
    EXPECT_FALSE(frame->ChangeToolTip(Tooltip::Idle));
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] SetTooltipText failed...Tooltip = Protected"));
}

// The icon

TEST_F(TrayDisplayTest, ShowsNoIconForAnUnknownOneAfterDestroyingTheSeries)
{
    Scan();
    EXPECT_TRUE(frame->ChangeIcon(4711));
    EXPECT_THAT(g_destroyed, ElementsAre(PlayedIcon(101), PlayedIcon(102), PlayedIcon(103)));
    EXPECT_EQ(Last().hIcon, nullptr);
    EXPECT_EQ(Last().uFlags, static_cast<UINT>(NIF_ICON));
    EXPECT_TRUE(frame->ChangeIcon(4711));
    EXPECT_EQ(g_destroyed.size(), 3U) << "once each";
}

TEST_F(TrayDisplayTest, ShowsTheProgramsIconForTheIdleOne)
{
    Create();
    EXPECT_TRUE(frame->ChangeIcon(Icon::Idle));
    EXPECT_EQ(Last().hIcon, PlayedIcon(128));
    EXPECT_THAT(g_files, IsEmpty());
}

TEST_F(TrayDisplayTest, LeavesTheIconWhenTheProgramHasNone)
{
    Create();
    g_ownIconMissing = true;
    EXPECT_FALSE(frame->ChangeIcon(Icon::Idle));
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Load Icon failed... ErrorCode=1814"));
    EXPECT_THAT(g_shell.calls, IsEmpty());
}

TEST_F(TrayDisplayTest, LogsAnIconThatTheShellRefuses)
{
    Create();
    g_shell.refused = {NIM_MODIFY};
    EXPECT_FALSE(frame->ChangeIcon(Icon::Idle));
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Set tray icon failed..."));
}

TEST_F(TrayDisplayTest, ShowsASingleFileAndNeverDestroysIt)
{
    Create();
    EXPECT_TRUE(frame->ChangeIcon(33091));
    EXPECT_THAT(g_files, ElementsAre(L"C:\\P\\Misc\\one.ico"));
    EXPECT_EQ(Last().hIcon, PlayedIcon(101));
    EXPECT_TRUE(frame->ChangeIcon(Icon::Idle));
    EXPECT_THAT(g_destroyed, IsEmpty());
}

TEST_F(TrayDisplayTest, ShowsNoIconForASingleFileThatDoesNotLoad)
{
    Create();
    CProfileParser::Instance().m_mapIcons[33091].count = 0;
    g_missing = {L"C:\\P\\Misc\\one.ico"};
    EXPECT_TRUE(frame->ChangeIcon(33091));
    EXPECT_EQ(Last().hIcon, nullptr);
}

TEST_F(TrayDisplayTest, TakesTheFolderOfTheIconsFromTheRegistryAlone)
{
    registry.SetString(HKEY_LOCAL_MACHINE, L"SOFTWARE\\NorvaneSoft\\Melvio", L"ProductPath", L"",
                       KEY_WOW64_64KEY);
    Create();
    EXPECT_TRUE(frame->ChangeIcon(33091));
    EXPECT_THAT(g_files, ElementsAre(L"\\Misc\\one.ico"));
}

TEST_F(TrayDisplayTest, AnimatesASeries)
{
    Create();
    EXPECT_TRUE(frame->ChangeIcon(Icon::Scanning));
    EXPECT_THAT(g_files, ElementsAre(L"C:\\P\\Misc\\Icons\\scan1.ico", L"C:\\P\\Misc\\Icons\\scan2.ico",
                                     L"C:\\P\\Misc\\Icons\\scan3.ico"));
    EXPECT_EQ(g_timers.running[animationTimer], 500U);
    EXPECT_THAT(g_shell.calls, IsEmpty()) << "nothing shows before the first tick";
}

TEST_F(TrayDisplayTest, KeepsWhatItLoadedOfASeriesThatIsShort)
{
    Create();
    g_missing = {L"C:\\P\\Misc\\Icons\\scan3.ico"};
    EXPECT_FALSE(frame->ChangeIcon(Icon::Scanning));
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Load Image failed..."));
    EXPECT_FALSE(g_timers.running.contains(animationTimer));
    EXPECT_THAT(g_shell.calls, IsEmpty());
    EXPECT_THAT(g_destroyed, IsEmpty());
    EXPECT_TRUE(frame->ChangeIcon(4711));
    EXPECT_THAT(g_destroyed, ElementsAre(PlayedIcon(101), PlayedIcon(102)));
}

TEST_F(TrayDisplayTest, RunsAProfilesCountIntoTheFirstMissingFrame)
{
    Create();
    CProfileParser::Instance().m_mapIcons[33090].count = 3 + ProfileBase::Icon;
    g_missing = {L"C:\\P\\Misc\\Icons\\scan4.ico"};
    EXPECT_FALSE(frame->ChangeIcon(Icon::Scanning));
    EXPECT_EQ(g_files.size(), 4U);
}

TEST_F(TrayDisplayTest, ReportsAnAnimationWithoutTimer)
{
    Create();
    g_timers.refused = {animationTimer};
    EXPECT_FALSE(frame->ChangeIcon(Icon::Scanning));
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] m_sysTray.Animate FAILED"));
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Animate tray icon failed..."));
}

TEST_F(TrayDisplayTest, CallsAnAnimationWithoutMemoryNoFailure)
{
    Scan();
    {
        const NoMemory none;
        EXPECT_TRUE(frame->AnimateIconList(3));
    }
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] ALLOC MEMORY FAILURE..."));
    EXPECT_THAT(g_shell.calls, IsEmpty());
}

TEST_F(TrayDisplayTest, ReportsFramesThatTheTrayCannotKeep)
{
    Create();
    CProfileParser::Instance().m_mapIcons[33090].count = 4;
    g_missing = {L"C:\\P\\Misc\\Icons\\scan4.ico"};
    ASSERT_FALSE(frame->ChangeIcon(Icon::Scanning));
    bool animated = true;
    {
        const OneFailure atTheTraysList(1);
        animated = frame->AnimateIconList(3);
    }
    EXPECT_FALSE(animated);
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] m_sysTray.SetIconList Failed..."));
}

TEST_F(TrayDisplayTest, DestroysItsFramesAtTheEnd)
{
    Scan();
    frame->DestroyWindow();
    EXPECT_EQ(g_destroyed.size(), 3U);
}

} // namespace
