// The frame window, which a program uses as its main window. In use:
//
//     class CMainFrame : public CFrameWnd { DECLARE_DYNAMIC(CMainFrame) };
//     m_pMainWnd = new CMainFrame;
//     static_cast<CMainFrame*>(m_pMainWnd)->LoadFrame(IDR_MAINFRAME, WS_OVERLAPPEDWINDOW | FWS_ADDTOTITLE);
//     if (m_pMainWnd != nullptr)  // a frame whose OnCreate failed has deleted itself
//         m_pMainWnd->PostMessage(WM_CLOSE);
#pragma once

#include "AfxWnd.h"

struct CCreateContext; // passed on to OnCreate, never looked into

inline constexpr DWORD FWS_PREFIXTITLE = 0x00004000; // styles of the framework's own, without effect here
inline constexpr DWORD FWS_ADDTOTITLE = 0x00008000;

// A top-level window that routes commands to itself and then to the application. Lives on the heap: it
// deletes itself with its window. The main window's end ends the message loop.
class CFrameWnd : public CWnd
{
    DECLARE_DYNCREATE(CFrameWnd)

public:
    CFrameWnd() = default;

    static const RECT rectDefault; // lets the system choose

    BOOL Create(LPCTSTR lpszClassName, LPCTSTR lpszWindowName, DWORD dwStyle = WS_OVERLAPPEDWINDOW,
                const RECT& rect = rectDefault, CWnd* pParentWnd = nullptr, LPCTSTR lpszMenuName = nullptr,
                DWORD dwExStyle = 0, CCreateContext* pContext = nullptr);
    // Makes the window, hidden, with the title, icon and menu that the resources hold under that id. FALSE:
    // the object is gone.
    virtual BOOL LoadFrame(UINT nIDResource, DWORD dwDefaultStyle = WS_OVERLAPPEDWINDOW | FWS_ADDTOTITLE,
                           CWnd* pParentWnd = nullptr, CCreateContext* pContext = nullptr);

    BOOL OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pHandlerInfo) override;

    BOOL m_bAutoMenuEnable = TRUE; // greys the menu entries that nobody handles

protected:
    BOOL PreCreateWindow(CREATESTRUCT& cs) override;
    void PostNcDestroy() override;

    afx_msg int OnCreate(LPCREATESTRUCT lpCreateStruct);
    afx_msg void OnClose();
    afx_msg void OnDestroy();
    afx_msg BOOL OnQueryEndSession();
    afx_msg void OnEndSession(BOOL bEnding);
    afx_msg void OnInitMenuPopup(CMenu* pPopupMenu, UINT nIndex, BOOL bSysMenu);

    DECLARE_MESSAGE_MAP()

private:
    LPCTSTR GetIconWndClass(DWORD dwDefaultStyle, UINT nIDResource);
};
