// What the frame does with the messages and commands that reach it.
#include "MainFrm.h"

#include <psapi.h>

#include "AgentIds.h"
#include "InputInfoHelper.h"
#include "MenuWalk.h"
#include "ProfileParser.h"
#include "UiLaunch.h"
#include "VzComn_LogFront.h"

// WM_COMMAND stands in no message map: the framework brings it here. As a menu opens, first each of its
// entries comes as CN_UPDATE_COMMAND_UI, for its check and its availability; the chosen one then comes as
// CN_COMMAND. A double-click on the icon posts the default command, which comes the same way.
BOOL CMainFrame::OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pHandlerInfo)
{
    if (pHandlerInfo != nullptr)
    {
        return CFrameWnd::OnCmdMsg(nID, nCode, pExtra, pHandlerInfo);
    }
    if (nCode == CN_UPDATE_COMMAND_UI)
    {
        auto* record = static_cast<CCmdUI*>(pExtra);
        if (record == nullptr || record->m_pSubMenu != nullptr || record->m_pMenu == nullptr)
        {
            return CFrameWnd::OnCmdMsg(nID, nCode, pExtra, pHandlerInfo);
        }
        if (nID != Command::Default)
        {
            UpdateCommandUi(*record, CProfileParser::Instance().m_pMenuRoot.get(), nID);
        }
        return TRUE;
    }
    if (nCode != CN_COMMAND)
    {
        return CFrameWnd::OnCmdMsg(nID, nCode, pExtra, pHandlerInfo);
    }
    RunMenuCommand(nID);
    return TRUE; // Deliberate: also for a command that nobody knows.
}

void CMainFrame::RunMenuCommand(UINT id)
{
    if (id == Command::Default)
    {
        OnStartMain();
        return;
    }
    const std::optional<UINT> function = FindMenuFunction(CProfileParser::Instance().m_pMenuRoot.get(), id);
    if (!function)
    {
        return;
    }
    const auto row = m_mapCommands.find(*function);
    if (row != m_mapCommands.end())
    {
        (this->*row->second)();
    }
}

LRESULT CMainFrame::OnTrayCallback(WPARAM wParam, LPARAM lParam)
{
    return m_sysTray.OnTrayCallback(wParam, lParam);
}

void CMainFrame::OnTimer(UINT_PTR nIDEvent)
{
    switch (nIDEvent)
    {
    case FrameTimer::Scan:
        if (!OnScanTick())
        {
            return; // Deliberate: a failed tick does not reach the default procedure.
        }
        break;
    case FrameTimer::ActiveWindow: SendActiveWindow(g_activeWindowState); break;
    case FrameTimer::InputInfo: SendInputInfo(); break;
    case FrameTimer::TrimWorkingSet: TrimWorkingSet(); break;
    default: break;
    }
    CFrameWnd::OnTimer(nIDEvent);
}

void CMainFrame::TrimWorkingSet()
{
    EmptyWorkingSet(GetCurrentProcess());
    KillTimer(FrameTimer::TrimWorkingSet);
}

LRESULT CMainFrame::OnPowerMessage(WPARAM wParam, LPARAM lParam)
{
    const auto* setting = reinterpret_cast<const POWERBROADCAST_SETTING*>(lParam);
    const AgentStatus status = m_powerHandler.HandlePowerEvent(static_cast<UINT>(wParam), setting);
    if (Status::Failed(status))
    {
        LOG_ERROR << L"Failed to handle power event. Error Code = 0x" << std::hex << status;
    }
    return 0; // Deliberate: never TRUE.
}

void CMainFrame::OnStartMain()
{
    FUNCTION_TRACE(L"CMainFrame::OnStartMain");
    if (Status::Failed(ShowQxUi(L"")))
    {
        LOG_ERROR << L"Show Main Console failed...";
    }
}

void CMainFrame::OnShowMonitorBall()
{
    FUNCTION_TRACE(L"CMainFrame::OnShowMonitorBall");
    if (Status::Failed(ShowQxUi(L"-m 100")))
    {
        LOG_ERROR << L"Show monitor Console failed...";
    }
}

void CMainFrame::OnShowGameConsole()
{
    FUNCTION_TRACE(L"CMainFrame::OnShowGameConsole");
    if (Status::Failed(ShowQxUi(L"-m 200")))
    {
        LOG_ERROR << L"Show game Console failed...";
    }
}
