// The peer of the start-up benchmark: a program that makes one hidden window and runs a message loop.
#include <windows.h>

int WINAPI WinMain(HINSTANCE instance, HINSTANCE /*previous*/, LPSTR /*arguments*/, int /*show*/)
{
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = DefWindowProcW;
    windowClass.hInstance = instance;
    windowClass.lpszClassName = L"MinimalWindow";
    RegisterClassW(&windowClass);
    CreateWindowExW(0, windowClass.lpszClassName, L"", WS_OVERLAPPEDWINDOW, 0, 0, 0, 0, nullptr, nullptr,
                    instance, nullptr);
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
    {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return 0;
}
