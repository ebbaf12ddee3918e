#include "AfxApp.h"

int AfxWinMain()
{
    auto* const pApp = AfxGetApp();
    if (pApp == nullptr)
    {
        return -1;
    }
    ::SetErrorMode(::GetErrorMode() | SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
    if (pApp->InitInstance())
    {
        return pApp->Run();
    }
    if (pApp->m_pMainWnd != nullptr)
    {
        pApp->m_pMainWnd->DestroyWindow();
    }
    return pApp->ExitInstance();
}

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int)
{
    return AfxWinMain();
}
