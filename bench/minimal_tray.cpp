// The peer of the tray's benchmarks: an icon in the notification area, and a menu of a hundred items built by
// hand on a right click.
#include <windows.h>

#include <shellapi.h>

#include <string>

namespace
{

constexpr UINT callback = WM_APP + 1;
constexpr UINT items = 100;
constexpr UINT firstCommand = 1000;

void ShowMenu(HWND window)
{
    const HMENU menu = CreatePopupMenu();
    for (UINT item = 1; item <= items; ++item)
    {
        AppendMenuW(menu, MF_STRING, firstCommand + item, (L"Entry number " + std::to_wstring(item)).c_str());
    }
    POINT at{};
    GetCursorPos(&at);
    SetForegroundWindow(window);
    TrackPopupMenu(menu, 0, at.x, at.y, 0, window, nullptr);
    PostMessageW(window, WM_NULL, 0, 0);
    DestroyMenu(menu);
}

LRESULT CALLBACK Receive(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == callback && lParam == WM_RBUTTONUP)
    {
        ShowMenu(window);
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

void ShowIcon(HWND window)
{
    NOTIFYICONDATAW data{};
    data.cbSize = sizeof data;
    data.hWnd = window;
    data.uID = 1;
    data.uFlags = NIF_MESSAGE | NIF_ICON | NIF_TIP;
    data.uCallbackMessage = callback;
    data.hIcon = LoadIconW(nullptr, IDI_APPLICATION);
    data.szTip[0] = L'x';
    Shell_NotifyIconW(NIM_ADD, &data);
}

} // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE /*previous*/, LPSTR /*arguments*/, int /*show*/)
{
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = Receive;
    windowClass.hInstance = instance;
    windowClass.lpszClassName = L"MinimalTray";
    RegisterClassW(&windowClass);
    ShowIcon(CreateWindowExW(0, windowClass.lpszClassName, L"", WS_OVERLAPPEDWINDOW, 0, 0, 0, 0, nullptr,
                             nullptr, instance, nullptr));
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
    {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return 0;
}
