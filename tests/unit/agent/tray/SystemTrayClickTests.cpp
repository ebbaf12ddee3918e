// The icon's clicks, its menu and its animation.
#include "SystemTrayScene.h"

#include "WaitUntil.h"

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::PumpMessagesUntil;

TEST_F(SystemTrayTest, ShowsTheFramesFromTheSecondOneOnInTurn)
{
    Create();
    const HICON frames[] = {PlayedIcon(1), PlayedIcon(2), PlayedIcon(3)};
    EXPECT_TRUE(tray.SetIconList(frames, 3));
    EXPECT_TRUE(tray.Animate());
    EXPECT_EQ(g_timers.running, (std::map<UINT_PTR, UINT>{{animation, 500}}));
    EXPECT_THAT(g_shell.calls, IsEmpty()) << "nothing shows before the first tick";
    std::vector<HICON> shown;
    for (int tick = 0; tick < 4; ++tick)
    {
        tray.Tick(animation);
        shown.push_back(Last().hIcon);
    }
    EXPECT_THAT(shown, ElementsAre(PlayedIcon(2), PlayedIcon(3), PlayedIcon(1), PlayedIcon(2)));
    EXPECT_TRUE(tray.StopAnimation());
    EXPECT_EQ(Last().hIcon, PlayedIcon(7)) << "the one that stood before";
    EXPECT_FALSE(tray.StopAnimation());
}

TEST_F(SystemTrayTest, SavesTheTrueIconWhenItIsAnimatedAgain)
{
    Create();
    const HICON frames[] = {PlayedIcon(1), PlayedIcon(2)};
    EXPECT_TRUE(tray.SetIconList(frames, 2));
    EXPECT_TRUE(tray.Animate());
    tray.Tick(animation);
    EXPECT_TRUE(tray.Animate());
    EXPECT_EQ(Last().hIcon, PlayedIcon(7));
    tray.Tick(animation);
    EXPECT_TRUE(tray.StopAnimation());
    EXPECT_EQ(Last().hIcon, PlayedIcon(7));
}

TEST_F(SystemTrayTest, DoesNotAnimateWithoutFrames)
{
    Create();
    EXPECT_TRUE(tray.SetIconList(nullptr, 0));
    EXPECT_FALSE(tray.Animate());
    const HICON frames[] = {PlayedIcon(1), PlayedIcon(2)};
    EXPECT_TRUE(tray.SetIconList(frames, 2));
    EXPECT_TRUE(tray.Animate());
    EXPECT_TRUE(tray.SetIconList(nullptr, 0));
    tray.Tick(animation);
    EXPECT_THAT(g_shell.calls, IsEmpty());
}

TEST_F(SystemTrayTest, ShowsTheMenuAtARightClick)
{
    Create();
    EXPECT_EQ(tray.OnTrayCallback(314, WM_RBUTTONUP), 1);
    ASSERT_EQ(g_menus.size(), 1U);
    EXPECT_EQ(g_menus[0].x, 11);
    EXPECT_EQ(g_menus[0].y, 22);
    EXPECT_THAT(g_items[0], ElementsAre(32789U)) << "the resource's, for nobody has filled it";
    EXPECT_THAT(g_defaults, ElementsAre(0U));
    EXPECT_TRUE(PumpMessagesUntil([this] { return target.nulls == 1; }));
}

TEST_F(SystemTrayTest, ShowsNoMenuIfItMayNotComeForward)
{
    Create();
    g_mayComeForward = FALSE;
    EXPECT_EQ(tray.OnTrayCallback(314, WM_RBUTTONUP), 1);
    EXPECT_THAT(g_menus, IsEmpty());
    EXPECT_TRUE(PumpMessagesUntil([this] { return target.nulls == 1; })) << "posted all the same";
}

TEST_F(SystemTrayTest, ShowsTheMenuOneDoubleClickTimeAfterALeftClick)
{
    Create();
    EXPECT_EQ(tray.OnTrayCallback(314, WM_LBUTTONUP), 1);
    EXPECT_THAT(g_menus, IsEmpty());
    EXPECT_EQ(g_timers.running, (std::map<UINT_PTR, UINT>{{click, GetDoubleClickTime()}}));
    tray.Tick(click);
    EXPECT_EQ(g_menus.size(), 1U);
    EXPECT_THAT(g_timers.running, IsEmpty());
}

TEST_F(SystemTrayTest, RunsTheDefaultCommandAtADoubleClickAndShowsNoMenu)
{
    Create();
    for (const UINT message : {WM_LBUTTONDOWN, WM_LBUTTONUP, WM_LBUTTONDBLCLK, WM_LBUTTONUP})
    {
        EXPECT_EQ(tray.OnTrayCallback(314, static_cast<LPARAM>(message)), 1);
    }
    EXPECT_THAT(g_timers.running, IsEmpty());
    EXPECT_TRUE(PumpMessagesUntil([this] { return !target.commands.empty(); }));
    EXPECT_THAT(target.commands, ElementsAre(32789U));
    EXPECT_THAT(g_menus, IsEmpty());
    EXPECT_EQ(tray.OnTrayCallback(314, WM_LBUTTONUP), 1);
    EXPECT_EQ(g_timers.running.count(click), 1U) << "the next click is a single one again";
}

TEST_F(SystemTrayTest, LeavesOtherIconsAndOtherMessagesAlone)
{
    Create();
    EXPECT_EQ(tray.OnTrayCallback(315, WM_RBUTTONUP), 0);
    for (const UINT message : {WM_MOUSEMOVE, WM_RBUTTONDOWN, WM_LBUTTONDOWN, WM_MBUTTONUP, WM_CONTEXTMENU})
    {
        EXPECT_EQ(tray.OnTrayCallback(314, static_cast<LPARAM>(message)), 1);
    }
    EXPECT_THAT(g_menus, IsEmpty());
    EXPECT_THAT(g_timers.running, IsEmpty());
    EXPECT_EQ(tray.OnTrayCallback(314, MAKELPARAM(WM_RBUTTONUP, 9)), 1) << "only the low half counts";
    EXPECT_EQ(g_menus.size(), 1U);
}

TEST_F(SystemTrayTest, DoesNothingWithoutAnybodyToTakeTheCommand)
{
    ASSERT_TRUE(tray.Create(&target, L"", PlayedIcon(1)));
    EXPECT_EQ(AfxGetMainWnd(), nullptr);
    EXPECT_EQ(tray.OnTrayCallback(314, WM_RBUTTONUP), 0);
    tray.ShowTrayMenu(nullptr);
    EXPECT_THAT(g_menus, IsEmpty());
}
