// The peer of the start-up benchmark: a program that makes one hidden window and runs a message loop. Built a
// second time with what the agent asks of the system at start, so that its share can be told.
#include <windows.h>

#ifdef WITH_SYSTEM_LIBRARIES
#include <commctrl.h>
#include <ole2.h>
#include <shellapi.h>
#include <wtsapi32.h>

namespace
{
void AskTheSystem()
{
    int count = 0;
    LocalFree(CommandLineToArgvW(GetCommandLineW(), &count));
    const INITCOMMONCONTROLSEX controls{sizeof(controls), 0xFF};
    InitCommonControlsEx(&controls);
    OleInitialize(nullptr);
}

void HearOfTheSession(HWND window)
{
    WTSRegisterSessionNotification(window, NOTIFY_FOR_THIS_SESSION);
}
} // namespace
#else
namespace
{
void AskTheSystem() {}

void HearOfTheSession(HWND /*window*/) {}
} // namespace
#endif

int WINAPI WinMain(HINSTANCE instance, HINSTANCE /*previous*/, LPSTR /*arguments*/, int /*show*/)
{
    AskTheSystem();
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = DefWindowProcW;
    windowClass.hInstance = instance;
    windowClass.lpszClassName = L"MinimalWindow";
    RegisterClassW(&windowClass);
    HearOfTheSession(CreateWindowExW(0, windowClass.lpszClassName, L"", WS_OVERLAPPEDWINDOW, 0, 0, 0, 0,
                                     nullptr, nullptr, instance, nullptr));
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
    {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return 0;
}
