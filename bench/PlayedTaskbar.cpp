#include "PlayedTaskbar.h"

#include <shellapi.h>

namespace
{

constexpr wchar_t className[] = L"Shell_TrayWnd";

// What a program of this system sends to the taskbar; more follows.
struct Request
{
    DWORD owner;
    UINT id;
    UINT flags;
    UINT callback;
};

} // namespace

PlayedTaskbar::PlayedTaskbar()
{
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = Receive;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = className;
    RegisterClassW(&windowClass);
    m_window = CreateWindowExW(WS_EX_TOPMOST | WS_EX_TOOLWINDOW, className, L"", WS_POPUP, 0, 0, 1, 1,
                               nullptr, nullptr, windowClass.hInstance, nullptr);
    SetWindowLongPtrW(m_window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

PlayedTaskbar::~PlayedTaskbar()
{
    DestroyWindow(m_window);
    UnregisterClassW(className, GetModuleHandleW(nullptr));
}

PlayedTaskbar::Icon PlayedTaskbar::WaitForIcon(DWORD limit)
{
    const ULONGLONG end = GetTickCount64() + limit;
    while (m_icons.empty() && GetTickCount64() < end)
    {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 100, QS_ALLINPUT);
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
        {
            DispatchMessageW(&message);
        }
    }
    if (m_icons.empty())
    {
        return {};
    }
    const Icon icon = m_icons.front();
    m_icons.pop_front();
    return icon;
}

LRESULT CALLBACK PlayedTaskbar::Receive(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    auto* const self = reinterpret_cast<PlayedTaskbar*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message != WM_COPYDATA || self == nullptr)
    {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    const auto* const data = reinterpret_cast<const COPYDATASTRUCT*>(lParam);
    if (data->dwData == NIM_ADD && data->cbData >= sizeof(Request))
    {
        const auto* const request = static_cast<const Request*>(data->lpData);
        Icon icon{reinterpret_cast<HWND>(static_cast<ULONG_PTR>(request->owner)),
                  request->id,
                  request->callback,
                  {}};
        QueryPerformanceCounter(&icon.shown);
        self->m_icons.push_back(icon);
    }
    return TRUE;
}
