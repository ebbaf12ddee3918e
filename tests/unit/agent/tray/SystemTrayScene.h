#pragma once

#include "ImportPatch.h"
#include "LogCapture.h"
#include "SystemTray.h"

#include <gmock/gmock.h>

#include <map>
#include <set>
#include <string>
#include <vector>

// The icon's timers.
inline constexpr UINT_PTR animation = 4567;
inline constexpr UINT_PTR click = 4568;

// The shell as it is played here.
struct PlayedShell
{
    struct Call
    {
        DWORD message = 0;
        NOTIFYICONDATAW data{};
    };

    std::vector<Call> calls;
    std::set<DWORD> refused; // messages
    UINT refusedFlags = 0;   // of modifications, beside these
};

struct PlayedTimers
{
    std::map<UINT_PTR, UINT> running; // period by id
    std::set<UINT_PTR> refused;
    int starts = 0;
};

extern PlayedShell g_shell;
extern PlayedTimers g_timers;
extern std::vector<DWORD> g_sleeps;
extern BOOL g_mayComeForward;
extern std::vector<POINT> g_menus;             // where they were shown
extern std::vector<std::vector<UINT>> g_items; // of each menu
extern std::vector<UINT> g_defaults;           // position of each menu's default item

BOOL WINAPI PlayShell(DWORD message, NOTIFYICONDATAW* data);
UINT_PTR WINAPI NoteTimer(HWND window, UINT_PTR id, UINT period, TIMERPROC procedure);
BOOL WINAPI NoteTimerEnd(HWND window, UINT_PTR id);
VOID WINAPI NoteSleep(DWORD milliseconds);
BOOL WINAPI PlayForeground(HWND window);
BOOL WINAPI NoteMenu(HMENU menu, UINT flags, int x, int y, int reserved, HWND window, const RECT* rect);
BOOL WINAPI PlayCursor(POINT* point);

[[nodiscard]] HICON PlayedIcon(int number);

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

// Plays the shell, the timers and the menus for its length.
struct TrayScene
{
    TrayScene();

    TestSupport::ImportPatch shell{nullptr, "Shell_NotifyIconW", &PlayShell};
    TestSupport::ImportPatch setTimer{nullptr, "SetTimer", &NoteTimer};
    TestSupport::ImportPatch killTimer{nullptr, "KillTimer", &NoteTimerEnd};
    TestSupport::ImportPatch sleep{nullptr, "Sleep", &NoteSleep};
    TestSupport::ImportPatch foreground{nullptr, "SetForegroundWindow", &PlayForeground};
    TestSupport::ImportPatch track{nullptr, "TrackPopupMenu", &NoteMenu};
    TestSupport::ImportPatch cursor{nullptr, "GetCursorPos", &PlayCursor};
};

class SystemTrayTest : public testing::Test
{
protected:
    // Shown with icon 7; the shell's calls so far are forgotten.
    void Create();

    // Of the calls to the shell.
    [[nodiscard]] static std::vector<DWORD> Messages();

    static const NOTIFYICONDATAW& Last() { return g_shell.calls.back().data; }

    TestSupport::LogCapture log;
    TargetWindow target;
    TrayScene scene;
    TestTray tray;
};
