#include <afxwin.h>

#include "resource.h"

// Ends with the number on its command line, by way of its frame; without one it does not start.
class CProgramApp : public CWinApp
{
public:
    BOOL InitInstance() override
    {
        const wchar_t* number = wcschr(GetCommandLineW(), L'=');
        if (number == nullptr)
        {
            return FALSE;
        }
        m_exitCode = static_cast<int>(wcstol(number + 1, nullptr, 10));
        auto* frame = new CFrameWnd;
        m_pMainWnd = frame;
        frame->LoadFrame(IDR_FRAME);
        frame->PostMessage(WM_CLOSE);
        return CWinApp::InitInstance();
    }

    int ExitInstance() override { return CWinApp::ExitInstance() + m_exitCode; }

private:
    int m_exitCode = 99;
};

CProgramApp theApp;
