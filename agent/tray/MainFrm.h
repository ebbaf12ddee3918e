#pragma once

#include <map>
#include <string>
#include <vector>

#include <afxwin.h>

#include "PowerEventHandler.h"
#include "VzSysTray.h"

struct IconEntry;

// The agent's one top-level window. It is never shown: every notice of the session, the network, the power
// and the tray arrives here as a window message and ends in a command or in an event for the service.
// Lives on the main thread; other threads reach it only by posting messages.
class CMainFrame : public CFrameWnd
{
    DECLARE_DYNAMIC(CMainFrame)

public:
    CMainFrame() = default;
    ~CMainFrame() override;
    CMainFrame(const CMainFrame&) = delete;
    CMainFrame& operator=(const CMainFrame&) = delete;

    BOOL OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pHandlerInfo) override;
    BOOL PreCreateWindow(CREATESTRUCT& cs) override;

    // The display of the tray, in MainFrm_TrayHelper. False: the reason is logged, and the tray stays in
    // the state that it had reached.
    [[nodiscard]] bool InstallSystemTray();
    [[nodiscard]] bool ChangeIcon(UINT id);
    [[nodiscard]] bool ChangeToolTip(UINT id);
    // An unknown id leaves the text that is in force.
    void ResolveTooltipText(UINT id);
    [[nodiscard]] bool AnimateIconList(UINT count);
    [[nodiscard]] bool OnScanTick();
    // Ends the display of a scan and opens the popup about it.
    void PostScan();

    // The commands of the menu.
    void OnStartMain();
    void OnStartScan();
    void OnExitTray();
    void OnShowMonitorBall();
    void OnShowGameConsole();

protected:
    afx_msg int OnCreate(LPCREATESTRUCT lpCreateStruct);
    afx_msg LRESULT OnTrayCallback(WPARAM wParam, LPARAM lParam);
    afx_msg void OnClose();
    afx_msg void OnTimer(UINT_PTR nIDEvent);
    afx_msg void OnSessionChange(UINT nSessionState, UINT nId);
    afx_msg void OnDestroy();
    afx_msg LRESULT OnNetworkConnectionMadeNotify(WPARAM wParam, LPARAM lParam);
    afx_msg LRESULT OnNetworkConnectionMadeNoQocNotify(WPARAM wParam, LPARAM lParam);
    afx_msg LRESULT OnNetworkConnectionLostNotify(WPARAM wParam, LPARAM lParam);
    afx_msg LRESULT OnPowerMessage(WPARAM wParam, LPARAM lParam);
    DECLARE_MESSAGE_MAP()

private:
    using CommandHandler = void (CMainFrame::*)();

    [[nodiscard]] bool CreateTray();
    void BuildCommandMap();
    void RegisterSessionNotification();
    void StartPowerEvents();
    void TrimWorkingSet();
    // The session can be used again.
    static void ConnectSession();
    // The session is left; the event tells how.
    void DisconnectSession(UINT eventId);
    void RunMenuCommand(UINT id);
    [[nodiscard]] bool ShowIdleIcon();
    [[nodiscard]] bool ShowIcon(HICON icon);
    [[nodiscard]] bool ShowSeries(const IconEntry& entry);
    void SignalExitEvent();

    CVzSysTray m_sysTray;
    std::wstring m_wstrTooltip;    // the text now in force
    std::vector<HICON> m_vecIcons; // frames of the series loaded last; owned

protected:
    // Of the scan, in percent; 100 ends its display. Here for whoever reads the scan's result.
    UINT m_uProgress = 0;

private:
    bool m_bTrayInstalled = false;
    std::map<UINT, CommandHandler> m_mapCommands;
    CPowerEventHandler m_powerHandler;
};
