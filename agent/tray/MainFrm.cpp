#include "MainFrm.h"

#include <wtsapi32.h>

#include "AgentIds.h"
#include "FrwkMode.h"
#include "ProfileParser.h"
#include "VzComn_LogFront.h"

IMPLEMENT_DYNAMIC(CMainFrame, CFrameWnd)

BEGIN_MESSAGE_MAP(CMainFrame, CFrameWnd)
    ON_WM_CREATE()
    ON_MESSAGE(WindowMessage::TrayCallback, &CMainFrame::OnTrayCallback)
    ON_WM_CLOSE()
    ON_WM_TIMER()
    ON_WM_WTSSESSION_CHANGE()
    ON_WM_DESTROY()
    ON_MESSAGE(WindowMessage::NetworkMade, &CMainFrame::OnNetworkConnectionMadeNotify)
    ON_MESSAGE(WindowMessage::NetworkMadeNoQoc, &CMainFrame::OnNetworkConnectionMadeNoQocNotify)
    ON_MESSAGE(WindowMessage::NetworkLost, &CMainFrame::OnNetworkConnectionLostNotify)
    ON_MESSAGE(WM_POWERBROADCAST, &CMainFrame::OnPowerMessage)
END_MESSAGE_MAP()

CMainFrame::~CMainFrame()
{
    for (HICON icon : m_vecIcons)
    {
        DestroyIcon(icon);
    }
}

BOOL CMainFrame::PreCreateWindow(CREATESTRUCT& cs)
{
    if (!CFrameWnd::PreCreateWindow(cs))
    {
        return FALSE;
    }
    cs.dwExStyle &= ~static_cast<DWORD>(WS_EX_CLIENTEDGE);
    cs.lpszClass = AfxRegisterWndClass(0);
    return TRUE;
}

int CMainFrame::OnCreate(LPCREATESTRUCT lpCreateStruct)
{
    if (CFrameWnd::OnCreate(lpCreateStruct) == -1)
    {
        return -1;
    }
    if (QxCommon::IsFrwkModeOne() && !CreateTray())
    {
        return -1;
    }
    RegisterSessionNotification();
    StartPowerEvents();
    return 0;
}

// Only one product of the family has a tray, with the profile, the commands and the timer that go with it.
bool CMainFrame::CreateTray()
{
    constexpr UINT trimDelay = 30000; // milliseconds
    if (!LoadConfig())
    {
        LOG_ERROR << L"LoadConfig failed...";
        return false;
    }
    ResolveTooltipText(Tooltip::Idle);
    if (!InstallSystemTray())
    {
        LOG_ERROR << L"Install system tray failed...";
        return false;
    }
    BuildCommandMap();
    SetTimer(FrameTimer::TrimWorkingSet, trimDelay, nullptr);
    return true;
}

void CMainFrame::BuildCommandMap()
{
    m_mapCommands = {
        {Command::StartMain, &CMainFrame::OnStartMain},
        {Command::StartScan, &CMainFrame::OnStartScan},
        {Command::ExitTray, &CMainFrame::OnExitTray},
        {Command::ShowMonitorBall, &CMainFrame::OnShowMonitorBall},
        {Command::ShowGameConsole, &CMainFrame::OnShowGameConsole},
    };
}

void CMainFrame::RegisterSessionNotification()
{
    constexpr int attempts = 3;
    constexpr DWORD pause = 2000; // milliseconds
    for (int attempt = 0; attempt < attempts; ++attempt)
    {
        if (WTSRegisterSessionNotification(m_hWnd, NOTIFY_FOR_THIS_SESSION))
        {
            return;
        }
        // Deliberate: also after the last attempt, and without a line in the log.
        Sleep(pause);
    }
}

void CMainFrame::StartPowerEvents()
{
    const AgentStatus status = m_powerHandler.InitPowerEvents(m_hWnd);
    if (Status::Failed(status))
    {
        LOG_ERROR << L"Failed to initialize power handler. Error Code = 0x" << std::hex << status;
    }
}

void CMainFrame::OnClose()
{
    if (!m_sysTray.RemoveIcon())
    {
        LOG_ERROR << L"RemoveIcon failed...";
    }
    CFrameWnd::OnClose();
}

void CMainFrame::OnDestroy()
{
    WTSUnRegisterSessionNotification(m_hWnd);
    CFrameWnd::OnDestroy();
}
