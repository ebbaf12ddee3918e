#include "AfxState.h"
#include "afxwin.h"

#include <filesystem>

#include <shobjidl.h>

namespace
{
constinit CWinApp* s_pApp = nullptr;

std::wstring ProgramName()
{
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileName(nullptr, path, MAX_PATH);
    return std::filesystem::path(path).stem().wstring();
}
} // namespace

IMPLEMENT_DYNAMIC(CWinApp, CWinThread)

CWinApp::CWinApp(LPCTSTR lpszAppName) : m_strAppName(lpszAppName != nullptr ? lpszAppName : ProgramName())
{
    m_pszAppName = m_strAppName.c_str();
    s_pApp = this;
}

CWinApp::~CWinApp()
{
    s_pApp = nullptr;
}

int CWinApp::Run()
{
    if (m_pMainWnd == nullptr)
    {
        AfxPostQuitMessage(0); // nobody could ever end the loop
    }
    return CWinThread::Run();
}

HICON CWinApp::LoadIcon(UINT nIDResource) const
{
    return ::LoadIcon(m_hInstance, MAKEINTRESOURCE(nIDResource));
}

BOOL CWinApp::EnableTaskbarInteraction(BOOL bEnable)
{
    if (m_pMainWnd != nullptr)
    {
        return FALSE;
    }
    m_bTaskBarInteractionEnabled = bEnable;
    return TRUE;
}

void CWinApp::SetAppID(LPCTSTR lpcszAppID)
{
    m_strAppID = lpcszAppID;
    m_pszAppID = m_strAppID.c_str();
    ::SetCurrentProcessExplicitAppUserModelID(m_pszAppID);
}

void CWinApp::SetRegistryKey(LPCTSTR lpszRegistryKey)
{
    m_strRegistryKey = lpszRegistryKey;
    m_pszRegistryKey = m_strRegistryKey.c_str();
}

BOOL CWinApp::SupportsRestartManager() const
{
    return (m_dwRestartManagerSupportFlags & AFX_RESTART_MANAGER_SUPPORT_RESTART) != 0;
}

BOOL CWinApp::SupportsApplicationRecovery() const
{
    return (m_dwRestartManagerSupportFlags & AFX_RESTART_MANAGER_SUPPORT_RECOVERY) != 0;
}

CWinApp* AfxGetApp()
{
    return s_pApp;
}

int AfxMessageBox(LPCTSTR lpszText, UINT nType)
{
    const auto* const pApp = AfxGetApp();
    const auto* const pMainWnd = AfxGetMainWnd();
    const UINT nIcon = (nType & MB_ICONMASK) == 0 ? MB_ICONEXCLAMATION : 0;
    return ::MessageBox(pMainWnd != nullptr ? pMainWnd->m_hWnd : nullptr, lpszText,
                        pApp != nullptr ? pApp->m_pszAppName : L"", nType | nIcon);
}

int AfxMessageBox(UINT nIDPrompt, UINT nType)
{
    return AfxMessageBox(AfxResourceString(nIDPrompt).c_str(), nType);
}

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
