// Everything of the framework that a program with windows needs; the application object. In use:
//
//     class CTrayApp : public CWinApp { BOOL InitInstance() override; };
//     CTrayApp theApp;  // static: WinMain finds it
//     CWinApp* pApp = AfxGetApp();
//     HICON hIcon = pApp->LoadIcon(IDR_MAINFRAME);
//     AfxMessageBox(IDS_NO_SERVICE);
#pragma once

#include "AfxFrameWnd.h"
#include "AfxThread.h"
#include "afxdialogex.h"

#include <string>

inline constexpr DWORD AFX_RESTART_MANAGER_SUPPORT_RESTART = 0x01;
inline constexpr DWORD AFX_RESTART_MANAGER_SUPPORT_RECOVERY = 0x02;

// The program. One static object, made before WinMain runs; its virtual operations are called on the main
// thread.
class CWinApp : public CWinThread
{
    DECLARE_DYNAMIC(CWinApp)

public:
    // Without a name the program is named after its file.
    explicit CWinApp(LPCTSTR lpszAppName = nullptr);
    ~CWinApp() override;

    HINSTANCE m_hInstance = AfxGetInstanceHandle();
    LPCTSTR m_pszAppName = nullptr;
    LPCTSTR m_pszAppID = nullptr;
    LPCTSTR m_pszRegistryKey = nullptr;
    DWORD m_dwRestartManagerSupportFlags = 0;

    // TRUE: the program goes on into its message loop.
    BOOL InitInstance() override { return TRUE; }

    int Run() override;

    // Null if the resources hold no such icon. The system owns it.
    [[nodiscard]] HICON LoadIcon(UINT nIDResource) const;
    // FALSE once there is a main window.
    BOOL EnableTaskbarInteraction(BOOL bEnable = TRUE);

    [[nodiscard]] BOOL IsTaskbarInteractionEnabled() const { return m_bTaskBarInteractionEnabled; }

    // The identity under which the shell groups the program; in the constructor, before any window.
    void SetAppID(LPCTSTR lpcszAppID);

    [[nodiscard]] virtual BOOL SupportsRestartManager() const;
    [[nodiscard]] virtual BOOL SupportsApplicationRecovery() const;

protected:
    // The maker's key, under which a program that keeps settings would keep them.
    void SetRegistryKey(LPCTSTR lpszRegistryKey);

private:
    std::wstring m_strAppName;
    std::wstring m_strAppID;
    std::wstring m_strRegistryKey;
    BOOL m_bTaskBarInteractionEnabled = TRUE;
};

// Any thread; null while there is no application object.
CWinApp* AfxGetApp();
// Shows a box over the main window, named after the application, and returns its answer.
int AfxMessageBox(LPCTSTR lpszText, UINT nType = MB_OK);
int AfxMessageBox(UINT nIDPrompt, UINT nType = MB_OK);
// The program from InitInstance to ExitInstance, which gives the exit code; what WinMain does.
int AfxWinMain();
