// The icon and what the shell is told of it.
#include "SystemTrayScene.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{

constexpr UINT whole = NIF_MESSAGE | NIF_ICON | NIF_TIP;
constexpr UINT_PTR retry = 4569;

} // namespace

TEST_F(SystemTrayTest, TellsTheShellOfTheIconOfTheParentsWindow)
{
    ASSERT_TRUE(tray.Create(&target, std::wstring(200, L'x'), PlayedIcon(7)));
    ASSERT_THAT(Messages(), ElementsAre(DWORD{NIM_ADD}));
    EXPECT_EQ(Last().cbSize, sizeof(NOTIFYICONDATAW));
    EXPECT_EQ(Last().hWnd, target.m_hWnd);
    EXPECT_EQ(Last().uID, 314U);
    EXPECT_EQ(Last().uFlags, whole);
    EXPECT_EQ(Last().uCallbackMessage, 0x800AU);
    EXPECT_EQ(Last().hIcon, PlayedIcon(7));
    EXPECT_EQ(std::wstring(Last().szTip), std::wstring(127, L'x'));
    EXPECT_NE(tray.m_hWnd, nullptr);
    EXPECT_EQ(GetParent(tray.m_hWnd), nullptr);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(SystemTrayTest, IsItsOwnReceiverWithoutAParent)
{
    ASSERT_TRUE(tray.Create(nullptr, L"", PlayedIcon(7)));
    EXPECT_EQ(Last().hWnd, tray.m_hWnd);
    tray.SetTargetWindow(&target);
    EXPECT_EQ(::SendMessageW(tray.m_hWnd, 0x800A, 314, WM_RBUTTONUP), 1);
    EXPECT_EQ(g_menus.size(), 1U);
}

TEST_F(SystemTrayTest, TriesASecondTimeAfterAMoment)
{
    g_shell.refused = {NIM_ADD};
    EXPECT_TRUE(tray.Create(&target, L"tip", PlayedIcon(7)));
    EXPECT_THAT(Messages(), ElementsAre(DWORD{NIM_ADD}, DWORD{NIM_MODIFY}));
    EXPECT_THAT(g_sleeps, ElementsAre(100U));
    EXPECT_TRUE(tray.RemoveIcon());
    EXPECT_EQ(Messages().back(), DWORD{NIM_DELETE}) << "it stands";
}

TEST_F(SystemTrayTest, FailsIfTheShellRefusesBoth)
{
    g_shell.refused = {NIM_ADD, NIM_MODIFY};
    EXPECT_FALSE(tray.Create(&target, L"tip", PlayedIcon(7)));
    EXPECT_EQ(tray.m_hWnd, nullptr);
    EXPECT_TRUE(tray.SetIcon(PlayedIcon(8))) << "hidden";
    EXPECT_TRUE(tray.RemoveIcon());
    EXPECT_EQ(g_shell.calls.size(), 2U);
}

TEST_F(SystemTrayTest, LogsWhatTheShellRefusesWithTheRecord)
{
    g_shell.refused = {NIM_ADD};
    EXPECT_TRUE(tray.Create(nullptr, L"tip", nullptr));
    ASSERT_EQ(log.Texts().size(), 2U);
    EXPECT_EQ(log.Texts()[0], L": [ERROR] Shell_NotifyIcon (Add to Status Area), GetLastError =5");
    EXPECT_THAT(log.Texts()[1], testing::StartsWith(L": [ERROR] , NID >> hWnd="));
    EXPECT_THAT(log.Texts()[1], HasSubstr(L", uID=314, uFlags=7, uCallbackMessage=32778, hIcon="));
    EXPECT_THAT(
        log.Texts()[1],
        testing::EndsWith(L", szTip=tip, dwState=0, dwStateMask=0, szInfo=, uTimeout=0, szInfoTitle=, "
                          L"dwInfoFlags=0"));
}

TEST_F(SystemTrayTest, DoesNothingBeforeItIsCreated)
{
    EXPECT_FALSE(tray.SetIcon(PlayedIcon(1)));
    EXPECT_FALSE(tray.SetTooltipText(L"x"));
    EXPECT_TRUE(tray.RemoveIcon());
    EXPECT_FALSE(tray.Animate());
    EXPECT_FALSE(tray.StopAnimation());
    EXPECT_THAT(g_shell.calls, IsEmpty());
}

TEST_F(SystemTrayTest, RemovesTheIconOnce)
{
    Create();
    EXPECT_TRUE(tray.RemoveIcon());
    EXPECT_EQ(Last().uFlags, 0U);
    EXPECT_TRUE(tray.RemoveIcon());
    EXPECT_THAT(Messages(), ElementsAre(DWORD{NIM_DELETE}));
    EXPECT_TRUE(tray.SetIcon(PlayedIcon(9))) << "hidden: remembered";
    EXPECT_TRUE(tray.SetTooltipText(L"later"));
    EXPECT_EQ(g_shell.calls.size(), 1U);
    tray.TellTaskbarCreated();
    EXPECT_EQ(g_shell.calls.size(), 1U) << "hidden: not added";
}

TEST_F(SystemTrayTest, TriesToRemoveItAgainAtTheEndIfTheShellRefused)
{
    {
        TestTray brief;
        ASSERT_TRUE(brief.Create(&target, L"", PlayedIcon(1)));
        g_shell.calls.clear();
        g_shell.refused = {NIM_DELETE};
        EXPECT_FALSE(brief.RemoveIcon());
        EXPECT_EQ(log.Texts().front(),
                  L": [ERROR] Shell_NotifyIcon (Delete from Status Area), GetLastError =5");
    }
    EXPECT_THAT(Messages(), ElementsAre(DWORD{NIM_DELETE}, DWORD{NIM_DELETE}));
}

TEST_F(SystemTrayTest, ChangesIconAndTooltipEachByItself)
{
    Create();
    EXPECT_TRUE(tray.SetIcon(PlayedIcon(8)));
    EXPECT_EQ(Last().uFlags, UINT{NIF_ICON});
    EXPECT_EQ(Last().hIcon, PlayedIcon(8));
    EXPECT_TRUE(tray.SetTooltipText(std::wstring(128, L'y')));
    EXPECT_EQ(Last().uFlags, UINT{NIF_TIP});
    EXPECT_EQ(std::wstring(Last().szTip), std::wstring(127, L'y'));
    EXPECT_TRUE(tray.SetTooltipText(L"short"));
    EXPECT_EQ(std::wstring(Last().szTip), L"short");
    EXPECT_THAT(Messages(), ElementsAre(DWORD{NIM_MODIFY}, DWORD{NIM_MODIFY}, DWORD{NIM_MODIFY}));
}

TEST_F(SystemTrayTest, AsksABusyShellAgainEachSecondUntilItAccepts)
{
    Create();
    g_shell.refused = {NIM_MODIFY, NIM_ADD};
    EXPECT_FALSE(tray.SetTooltipText(L"new"));
    EXPECT_FALSE(tray.SetIcon(PlayedIcon(9)));
    EXPECT_EQ(g_timers.running, (std::map<UINT_PTR, UINT>{{retry, 1000}}));
    EXPECT_EQ(g_timers.starts, 1) << "one timer for both";
    g_shell.calls.clear();
    log.Clear();
    tray.Tick(retry);
    EXPECT_THAT(Messages(), ElementsAre(DWORD{NIM_MODIFY}, DWORD{NIM_ADD}));
    EXPECT_EQ(g_shell.calls[0].data.uFlags, UINT{NIF_ICON | NIF_TIP | NIF_STATE});
    EXPECT_EQ(g_shell.calls[1].data.uFlags, whole | NIF_STATE);
    EXPECT_EQ(log.Texts().back(), L": [WARN] explorer.exe is still busy or not running.");
    EXPECT_EQ(g_timers.running.count(retry), 1U);

    g_shell.refused = {NIM_MODIFY};
    tray.Tick(retry);
    EXPECT_EQ(Last().hIcon, PlayedIcon(9));
    EXPECT_EQ(std::wstring(Last().szTip), L"new");
    EXPECT_EQ(log.Texts().back(), L": [WARN] retry to update tray state successfully.");
    EXPECT_THAT(g_timers.running, IsEmpty());
    g_shell.calls.clear();
    tray.Tick(retry);
    EXPECT_THAT(g_shell.calls, IsEmpty()) << "a late tick";
}

TEST_F(SystemTrayTest, EndsTheRetryWhenTheShellTakesTheChange)
{
    Create();
    g_shell.refused = {NIM_MODIFY};
    EXPECT_FALSE(tray.SetIcon(PlayedIcon(9)));
    EXPECT_EQ(log.Texts().front(), L": [ERROR] Shell_NotifyIcon (Modify from Status Area), GetLastError =5");
    g_shell.refused.clear();
    g_shell.calls.clear();
    tray.Tick(retry);
    EXPECT_THAT(Messages(), ElementsAre(DWORD{NIM_MODIFY}));
    EXPECT_THAT(g_timers.running, IsEmpty());
}

TEST_F(SystemTrayTest, AddsTheIconAgainWhenTheTaskbarHasComeBack)
{
    Create();
    EXPECT_TRUE(tray.SetTooltipText(L"new"));
    tray.TellTaskbarCreated();
    EXPECT_EQ(g_shell.calls.back().message, DWORD{NIM_ADD});
    EXPECT_EQ(Last().uFlags, whole);
    EXPECT_EQ(std::wstring(Last().szTip), L"new");
    EXPECT_THAT(log.Texts(), ElementsAre(L": [WARN] OnTaskbarCreated"));
    g_shell.calls.clear();
    tray.TellSetting(SPI_SETWORKAREA);
    EXPECT_THAT(g_shell.calls, IsEmpty()) << "nothing is pending";
}

TEST_F(SystemTrayTest, AddsItWhenTheWorkAreaChangesIfTheTaskbarRefused)
{
    Create();
    g_shell.refused = {NIM_ADD};
    tray.TellTaskbarCreated();
    EXPECT_THAT(g_timers.running, IsEmpty()) << "no retry by the clock";
    tray.TellSetting(SPI_SETDESKWALLPAPER);
    EXPECT_EQ(g_shell.calls.size(), 1U);
    g_shell.refused.clear();
    log.Clear();
    tray.TellSetting(SPI_SETWORKAREA);
    EXPECT_THAT(Messages(), ElementsAre(DWORD{NIM_ADD}, DWORD{NIM_ADD}));
    EXPECT_THAT(log.Texts(), ElementsAre(L": [WARN] OnSettingChange (SPI_SETWORKAREA)"));
    tray.TellSetting(SPI_SETWORKAREA);
    EXPECT_EQ(g_shell.calls.size(), 2U);
}
