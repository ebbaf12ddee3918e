#include <future>
#include <string>
#include <thread>

#include <windows.h>

#include "Commands.h"

namespace
{
LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_DESTROY)
    {
        PostQuitMessage(0);
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

HWND CreateOf(const std::wstring& className, const std::wstring& title)
{
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = WindowProcedure;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
    windowClass.lpszClassName = className.c_str();
    RegisterClassW(&windowClass);
    constexpr int left = 820;
    constexpr int top = 560;
    constexpr int width = 420;
    constexpr int height = 160;
    return CreateWindowW(className.c_str(), title.c_str(), WS_OVERLAPPEDWINDOW | WS_VISIBLE, left, top, width,
                         height, nullptr, nullptr, windowClass.hInstance, nullptr);
}

void RunWindow(const std::wstring& className, const std::wstring& title, std::promise<HWND> created)
{
    HWND window = CreateOf(className, title);
    created.set_value(window);
    MSG message = {};
    while (window != nullptr && GetMessageW(&message, nullptr, 0, 0) > 0)
    {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

// {"class", "title"}: a visible window of another program, which lives until it is closed.
Records OpenWindow(const Record& request)
{
    std::promise<HWND> created;
    std::future<HWND> window = created.get_future();
    std::thread(RunWindow, request.Text("class"), request.Text("title"), std::move(created)).detach();
    HWND handle = window.get();
    return {ErrorRecord(handle != nullptr ? ERROR_SUCCESS : ERROR_CANNOT_MAKE)
                .Set("window", reinterpret_cast<ULONG_PTR>(handle))};
}
} // namespace

void AddOwnWindowCommands(CommandTable& table)
{
    table[L"openWindow"] = OpenWindow;
}
