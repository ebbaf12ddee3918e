#pragma once

#include <afxwin.h>

// The window of the main frame; null before there is one and after its end. Any thread.
inline HWND MainWindowOf(const CWinApp& app)
{
    const CWnd* const frame = app.m_pMainWnd;
    return frame == nullptr ? nullptr : frame->GetSafeHwnd();
}

// The same of the program; null without an application object. Any thread.
inline HWND MainWindow()
{
    const CWinApp* const app = AfxGetApp();
    return app == nullptr ? nullptr : MainWindowOf(*app);
}
