#include "SystemTray.h"

#include "AgentIds.h"
#include "ImportPatch.h"
#include "LogCapture.h"
#include "WaitUntil.h"

#include <gmock/gmock.h>

#include <map>
#include <set>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using TestSupport::ImportPatch;
using TestSupport::PumpMessagesUntil;

namespace
{

constexpr UINT whole = NIF_MESSAGE | NIF_ICON | NIF_TIP;

// The shell as it is played here.
struct Shell
{
    struct Call
    {
        DWORD message = 0;
        NOTIFYICONDATAW data{};
    };

    std::vector<Call> calls;
    std::set<DWORD> refused; // messages
} g_shell;

struct Timers
{
    std::map<UINT_PTR, UINT> running; // period by id
    int starts = 0;
} g_timers;

std::vector<DWORD> g_sleeps;
BOOL g_mayComeForward = TRUE;
std::vector<POINT> g_menus;             // where they were shown
std::vector<std::vector<UINT>> g_items; // of each menu

BOOL WINAPI PlayShell(DWORD message, NOTIFYICONDATAW* data)
{
    g_shell.calls.push_back({message, *data});
    SetLastError(5);
    return g_shell.refused.contains(message) ? FALSE : TRUE;
}

UINT_PTR WINAPI NoteTimer(HWND /*window*/, UINT_PTR id, UINT period, TIMERPROC /*procedure*/)
{
    g_timers.running[id] = period;
    ++g_timers.starts;
    return id;
}

BOOL WINAPI NoteTimerEnd(HWND /*window*/, UINT_PTR id)
{
    return g_timers.running.erase(id) != 0 ? TRUE : FALSE;
}

VOID WINAPI NoteSleep(DWORD milliseconds)
{
    g_sleeps.push_back(milliseconds);
}

BOOL WINAPI PlayForeground(HWND /*window*/)
{
    return g_mayComeForward;
}

BOOL WINAPI NoteMenu(HMENU menu, UINT flags, int x, int y, int /*reserved*/, HWND /*window*/,
                     const RECT* /*rect*/)
{
    EXPECT_EQ(flags, 0U);
    g_menus.push_back({x, y});
    std::vector<UINT> items;
    for (int i = 0; i < GetMenuItemCount(menu); ++i)
    {
        items.push_back(GetMenuItemID(menu, i));
    }
    g_items.push_back(items);
    EXPECT_EQ(GetMenuDefaultItem(menu, TRUE, 0), 0U);
    return TRUE;
}

BOOL WINAPI PlayCursor(POINT* point)
{
    *point = {11, 22};
    return TRUE;
}

HICON Icon(int number)
{
    return reinterpret_cast<HICON>(static_cast<INT_PTR>(number));
}

// The window that gets the commands.
class TargetWindow : public CWnd
{
public:
    TargetWindow() { CreateEx(0, AfxRegisterWndClass(0), L"", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr); }

    std::vector<UINT> commands;
    int nulls = 0;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        if (message == WM_COMMAND)
        {
            commands.push_back(LOWORD(wParam));
        }
        nulls += message == WM_NULL ? 1 : 0;
        return CWnd::WindowProc(message, wParam, lParam);
    }
};

// Opens what the class keeps to itself to its messages.
class TestTray : public CSystemTray
{
public:
    void Tick(UINT_PTR timer) { ::SendMessageW(m_hWnd, WM_TIMER, timer, 0); }

    void TellTaskbarCreated() { ::SendMessageW(m_hWnd, RegisterWindowMessageW(L"TaskbarCreated"), 0, 0); }

    void TellSetting(UINT setting) { ::SendMessageW(m_hWnd, WM_SETTINGCHANGE, setting, 0); }
};

class SystemTrayTest : public testing::Test
{
protected:
    SystemTrayTest()
    {
        g_shell = {};
        g_timers = {};
        g_sleeps.clear();
        g_menus.clear();
        g_items.clear();
        g_mayComeForward = TRUE;
    }

    void Create(const std::wstring& tooltip = L"tip")
    {
        ASSERT_TRUE(tray.Create(&target, tooltip, Icon(7)));
        tray.SetTargetWindow(&target);
        g_shell.calls.clear();
    }

    [[nodiscard]] static std::vector<DWORD> Messages()
    {
        std::vector<DWORD> messages;
        for (const Shell::Call& call : g_shell.calls)
        {
            messages.push_back(call.message);
        }
        return messages;
    }

    static const NOTIFYICONDATAW& Last() { return g_shell.calls.back().data; }

    TestSupport::LogCapture log;
    TargetWindow target;
    ImportPatch shell{nullptr, "Shell_NotifyIconW", &PlayShell};
    ImportPatch setTimer{nullptr, "SetTimer", &NoteTimer};
    ImportPatch killTimer{nullptr, "KillTimer", &NoteTimerEnd};
    ImportPatch sleep{nullptr, "Sleep", &NoteSleep};
    ImportPatch foreground{nullptr, "SetForegroundWindow", &PlayForeground};
    ImportPatch track{nullptr, "TrackPopupMenu", &NoteMenu};
    ImportPatch cursor{nullptr, "GetCursorPos", &PlayCursor};
    TestTray tray;
};

constexpr UINT_PTR animation = 4567;
constexpr UINT_PTR click = 4568;
constexpr UINT_PTR retry = 4569;

} // namespace

TEST_F(SystemTrayTest, TellsTheShellOfTheIconOfTheParentsWindow)
{
    ASSERT_TRUE(tray.Create(&target, std::wstring(200, L'x'), Icon(7)));
    ASSERT_THAT(Messages(), ElementsAre(DWORD{NIM_ADD}));
    EXPECT_EQ(Last().cbSize, sizeof(NOTIFYICONDATAW));
    EXPECT_EQ(Last().hWnd, target.m_hWnd);
    EXPECT_EQ(Last().uID, 314U);
    EXPECT_EQ(Last().uFlags, whole);
    EXPECT_EQ(Last().uCallbackMessage, 0x800AU);
    EXPECT_EQ(Last().hIcon, Icon(7));
    EXPECT_EQ(std::wstring(Last().szTip), std::wstring(127, L'x'));
    EXPECT_NE(tray.m_hWnd, nullptr);
    EXPECT_EQ(GetParent(tray.m_hWnd), nullptr);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(SystemTrayTest, IsItsOwnReceiverWithoutAParent)
{
    ASSERT_TRUE(tray.Create(nullptr, L"", Icon(7)));
    EXPECT_EQ(Last().hWnd, tray.m_hWnd);
    tray.SetTargetWindow(&target);
    EXPECT_EQ(::SendMessageW(tray.m_hWnd, 0x800A, 314, WM_RBUTTONUP), 1);
    EXPECT_EQ(g_menus.size(), 1U);
}

TEST_F(SystemTrayTest, TriesASecondTimeAfterAMoment)
{
    g_shell.refused = {NIM_ADD};
    EXPECT_TRUE(tray.Create(&target, L"tip", Icon(7)));
    EXPECT_THAT(Messages(), ElementsAre(DWORD{NIM_ADD}, DWORD{NIM_MODIFY}));
    EXPECT_THAT(g_sleeps, ElementsAre(100U));
    EXPECT_TRUE(tray.RemoveIcon());
    EXPECT_EQ(Messages().back(), DWORD{NIM_DELETE}) << "it stands";
}

TEST_F(SystemTrayTest, FailsIfTheShellRefusesBoth)
{
    g_shell.refused = {NIM_ADD, NIM_MODIFY};
    EXPECT_FALSE(tray.Create(&target, L"tip", Icon(7)));
    EXPECT_EQ(tray.m_hWnd, nullptr);
    EXPECT_TRUE(tray.SetIcon(Icon(8))) << "hidden";
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
    EXPECT_FALSE(tray.SetIcon(Icon(1)));
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
    EXPECT_TRUE(tray.SetIcon(Icon(9))) << "hidden: remembered";
    EXPECT_TRUE(tray.SetTooltipText(L"later"));
    EXPECT_EQ(g_shell.calls.size(), 1U);
    tray.TellTaskbarCreated();
    EXPECT_EQ(g_shell.calls.size(), 1U) << "hidden: not added";
}

TEST_F(SystemTrayTest, TriesToRemoveItAgainAtTheEndIfTheShellRefused)
{
    {
        TestTray brief;
        ASSERT_TRUE(brief.Create(&target, L"", Icon(1)));
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
    EXPECT_TRUE(tray.SetIcon(Icon(8)));
    EXPECT_EQ(Last().uFlags, UINT{NIF_ICON});
    EXPECT_EQ(Last().hIcon, Icon(8));
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
    EXPECT_FALSE(tray.SetIcon(Icon(9)));
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
    EXPECT_EQ(Last().hIcon, Icon(9));
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
    EXPECT_FALSE(tray.SetIcon(Icon(9)));
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

TEST_F(SystemTrayTest, ShowsTheFramesFromTheSecondOneOnInTurn)
{
    Create();
    const HICON frames[] = {Icon(1), Icon(2), Icon(3)};
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
    EXPECT_THAT(shown, ElementsAre(Icon(2), Icon(3), Icon(1), Icon(2)));
    EXPECT_TRUE(tray.StopAnimation());
    EXPECT_EQ(Last().hIcon, Icon(7)) << "the one that stood before";
    EXPECT_FALSE(tray.StopAnimation());
}

TEST_F(SystemTrayTest, SavesTheTrueIconWhenItIsAnimatedAgain)
{
    Create();
    const HICON frames[] = {Icon(1), Icon(2)};
    EXPECT_TRUE(tray.SetIconList(frames, 2));
    EXPECT_TRUE(tray.Animate());
    tray.Tick(animation);
    EXPECT_TRUE(tray.Animate());
    EXPECT_EQ(Last().hIcon, Icon(7));
    tray.Tick(animation);
    EXPECT_TRUE(tray.StopAnimation());
    EXPECT_EQ(Last().hIcon, Icon(7));
}

TEST_F(SystemTrayTest, DoesNotAnimateWithoutFrames)
{
    Create();
    EXPECT_TRUE(tray.SetIconList(nullptr, 0));
    EXPECT_FALSE(tray.Animate());
    const HICON frames[] = {Icon(1), Icon(2)};
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
    ASSERT_TRUE(tray.Create(&target, L"", Icon(1)));
    EXPECT_EQ(AfxGetMainWnd(), nullptr);
    EXPECT_EQ(tray.OnTrayCallback(314, WM_RBUTTONUP), 0);
    tray.ShowTrayMenu(nullptr);
    EXPECT_THAT(g_menus, IsEmpty());
}
