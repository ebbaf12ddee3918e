// What the frame tells the service of the session and the network. A session that is left keeps its tray, but
// neither a link to the service nor the reports that the service ordered.
#include "MainFrm.h"

#include "AgentIds.h"
#include "CallbackHelper.h"
#include "MailHelper.h"
#include "OuterClientGuard.h"
#include "VzComn_LogFront.h"

namespace
{
void SendSessionEvent(UINT eventId)
{
    if (Status::Failed(SendEventToEventCenter(eventId)))
    {
        LOG_ERROR << L"Send event failed...EventId=" << eventId;
    }
}

// Deliberate: without a client the event is lost, silently.
LRESULT SendNetworkEvent(UINT eventId, WPARAM type)
{
    Guarded(L"SendNetworkEvent",
            [eventId, type]
            {
                QxCommon::JsonDb request;
                request[L"eventId"].SetInt(static_cast<std::int32_t>(eventId));
                request[L"type"].SetUInt(static_cast<std::uint32_t>(type));
                return SendToEventCenter(request);
            });
    return 0;
}
} // namespace

// Deliberate: acts on a notice of any session, not of its own alone.
void CMainFrame::OnSessionChange(UINT nSessionState, UINT nId)
{
    FUNCTION_TRACE(L"CMainFrame::OnSessionChange");
    LOG_INFO << L"Session Changed... SessionState: " << nSessionState << L", SessionId: " << nId;
    switch (nSessionState)
    {
    case WTS_CONSOLE_CONNECT:
    case WTS_REMOTE_CONNECT:
    case WTS_SESSION_UNLOCK: ConnectSession(); break;
    case WTS_CONSOLE_DISCONNECT:
    case WTS_REMOTE_DISCONNECT:
    case WTS_SESSION_LOCK: DisconnectSession(EventId::SessionDisconnected); break;
    case WTS_SESSION_LOGOFF: DisconnectSession(EventId::SessionLoggedOff); break;
    default: break;
    }
    CFrameWnd::OnSessionChange(nSessionState, nId);
}

// Deliberate: the timers stay off until the service orders the reports anew.
void CMainFrame::ConnectSession()
{
    const AgentStatus status = RegisterRPC();
    if (Status::Failed(status))
    {
        LOG_ERROR << L"RegisterRPC failed...Error Code=" << status;
    }
    SendSessionEvent(EventId::SessionConnected);
}

void CMainFrame::DisconnectSession(UINT eventId)
{
    SendSessionEvent(eventId); // while there is a link
    KillTimer(FrameTimer::ActiveWindow);
    g_bActiveWindowTimerSet = false;
    KillTimer(FrameTimer::InputInfo);
    g_bInputInfoTimerSet = false;
    const AgentStatus status = UnRegisterRPC();
    if (Status::Failed(status))
    {
        LOG_ERROR << L"UnRegisterRPC failed...Error Code=" << status;
    }
}

LRESULT CMainFrame::OnNetworkConnectionMadeNotify(WPARAM wParam, LPARAM /*lParam*/)
{
    FUNCTION_TRACE(L"CMainFrame::OnNetworkConnectionMadeNotify");
    return SendNetworkEvent(EventId::NetworkMade, wParam);
}

// Deliberate: the service does not hear which of the two notices it was.
LRESULT CMainFrame::OnNetworkConnectionMadeNoQocNotify(WPARAM wParam, LPARAM /*lParam*/)
{
    FUNCTION_TRACE(L"CMainFrame::OnNetworkConnectionMadeNoQocNotify");
    return SendNetworkEvent(EventId::NetworkMade, wParam);
}

LRESULT CMainFrame::OnNetworkConnectionLostNotify(WPARAM wParam, LPARAM /*lParam*/)
{
    FUNCTION_TRACE(L"CMainFrame::OnNetworkConnectionLostNotify");
    return SendNetworkEvent(EventId::NetworkLost, wParam);
}
