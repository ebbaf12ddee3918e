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
    DECLARE_DYNAMIC(CFrameWnd)

public:
    // Makes the window, hidden, with the title and the icon that the resources hold under that id. FALSE: the
    // object is gone.
    virtual BOOL LoadFrame(UINT nIDResource, DWORD dwDefaultStyle = WS_OVERLAPPEDWINDOW | FWS_ADDTOTITLE,
                           CWnd* pParentWnd = nullptr, CCreateContext* pContext = nullptr);

    BOOL OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pHandlerInfo) override;

protected:
    BOOL PreCreateWindow(CREATESTRUCT& cs) override;

    void PostNcDestroy() override { delete this; }

    afx_msg void OnClose() { DestroyWindow(); }

    afx_msg BOOL OnQueryEndSession() { return TRUE; }

    afx_msg void OnEndSession(BOOL bEnding);
    afx_msg void OnInitMenuPopup(CMenu* pPopupMenu, UINT nIndex, BOOL bSysMenu);
    DECLARE_MESSAGE_MAP()

private:
    LPCTSTR GetIconWndClass(DWORD dwDefaultStyle, UINT nIDResource);
};
