#include "ExitWait.h"

#include "MainWindow.h"
#include "ObjectNames.h"
#include "VzComn_LogFront.h"

unsigned __stdcall ExitWaitThread(void* argument)
{
    const HWND mainWindow = MainWindowOf(*static_cast<const CWinApp*>(argument));
    VzCommon::Synchronize::Event event;
    if (!CreateExitEvent(event))
    {
        return 0;
    }
    if (WaitForSingleObject(event.Handle(), INFINITE) == WAIT_OBJECT_0)
    {
        LOG_INFO << L"SendMessage to exit QxSessionAgent...";
        PostMessageW(mainWindow, WM_CLOSE, 0, 0);
    }
    return 0;
}
