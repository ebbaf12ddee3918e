#include "SystemTrayScene.h"

PlayedShell g_shell;
PlayedTimers g_timers;
std::vector<DWORD> g_sleeps;
BOOL g_mayComeForward = TRUE;
std::vector<POINT> g_menus;
std::vector<std::vector<UINT>> g_items;
std::vector<UINT> g_defaults;

BOOL WINAPI PlayShell(DWORD message, NOTIFYICONDATAW* data)
{
    g_shell.calls.push_back({message, *data});
    SetLastError(5);
    const bool refused = g_shell.refused.contains(message) ||
                         (message == NIM_MODIFY && (data->uFlags & g_shell.refusedFlags) != 0);
    return refused ? FALSE : TRUE;
}

UINT_PTR WINAPI NoteTimer(HWND /*window*/, UINT_PTR id, UINT period, TIMERPROC /*procedure*/)
{
    ++g_timers.starts;
    if (g_timers.refused.contains(id))
    {
        return 0;
    }
    g_timers.running[id] = period;
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
    g_defaults.push_back(GetMenuDefaultItem(menu, TRUE, 0));
    return TRUE;
}

BOOL WINAPI PlayCursor(POINT* point)
{
    *point = {11, 22};
    return TRUE;
}

HICON PlayedIcon(int number)
{
    return reinterpret_cast<HICON>(static_cast<INT_PTR>(number));
}

TrayScene::TrayScene()
{
    g_shell = {};
    g_timers = {};
    g_sleeps.clear();
    g_menus.clear();
    g_items.clear();
    g_defaults.clear();
    g_mayComeForward = TRUE;
}

void SystemTrayTest::Create()
{
    ASSERT_TRUE(tray.Create(&target, L"tip", PlayedIcon(7)));
    tray.SetTargetWindow(&target);
    g_shell.calls.clear();
}

std::vector<DWORD> SystemTrayTest::Messages()
{
    std::vector<DWORD> messages;
    for (const PlayedShell::Call& call : g_shell.calls)
    {
        messages.push_back(call.message);
    }
    return messages;
}
