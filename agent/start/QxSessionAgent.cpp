#include "QxSessionAgent.h"

#include <commctrl.h>

#include <new>

#include <afxdisp.h>

#include "LibrarySearch.h"
#include "MainFrm.h"
#include "MainWindow.h"
#include "ObjectNames.h"
#include "resource.h"

namespace
{
CQxSessionAgentApp theApp;
}

BEGIN_MESSAGE_MAP(CQxSessionAgentApp, CWinApp)
END_MESSAGE_MAP()

CQxSessionAgentApp::CQxSessionAgentApp() : CWinApp(nullptr)
{
    RestrictLibrarySearch();
    m_dwRestartManagerSupportFlags = AFX_RESTART_MANAGER_SUPPORT_RESTART;
    SetAppID(L"QxSessionAgent.AppID.NoVersion");
}

BOOL CQxSessionAgentApp::InitInstance()
{
    if (Status::Failed(m_startHelper.PreInit()))
    {
        return FALSE;
    }
    if (!InitFramework() || !CreateMainFrame())
    {
        return FALSE;
    }
    return Status::Failed(m_startHelper.Init(this)) ? FALSE : TRUE;
}

bool CQxSessionAgentApp::InitFramework()
{
    const INITCOMMONCONTROLSEX controls{sizeof(controls), 0xFF};
    InitCommonControlsEx(&controls);
    CWinApp::InitInstance();
    if (!AfxOleInit())
    {
        AfxMessageBox(IDP_OLE_INIT_FAILED);
        return false;
    }
    AfxEnableControlContainer();
    EnableTaskbarInteraction(FALSE);
    SetRegistryKey(L"Local AppWizard-Generated Applications");
    return true;
}

bool CQxSessionAgentApp::CreateMainFrame()
{
    constexpr DWORD style = 0x00CF8000; // WS_OVERLAPPEDWINDOW and FWS_ADDTOTITLE
    constexpr long markerValue = 1;
    auto* frame = ::new (std::nothrow) CMainFrame;
    if (frame == nullptr)
    {
        return false;
    }
    m_pMainWnd = frame;
    // Deliberate: the result does not count. A frame that fails to come up deletes itself, clears
    // m_pMainWnd and ends the message loop, so it must not be touched from here on.
    frame->LoadFrame(IDR_MAINFRAME, style, nullptr, nullptr);
    SetPropW(MainWindowOf(*this), ObjectNames::FrameProperty().c_str(), LongToHandle(markerValue));
    return true;
}

int CQxSessionAgentApp::ExitInstance()
{
    m_startHelper.Uninit(MainWindowOf(*this));
    AfxOleTerm(FALSE);
    return CWinApp::ExitInstance();
}
