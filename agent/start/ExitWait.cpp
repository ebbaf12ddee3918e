#include "ExitWait.h"

#include <afxwin.h>

#include "ObjectNames.h"
#include "VzComn_LogFront.h"

unsigned __stdcall ExitWaitThread(void* argument)
{
    const auto* app = static_cast<const CWinApp*>(argument);
    const HWND mainWindow = app->m_pMainWnd == nullptr ? nullptr : app->m_pMainWnd->GetSafeHwnd();
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
