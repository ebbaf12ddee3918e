#include "AfxState.h"

#include <new>
#include <utility>

namespace
{
// Finds out whether a command is enabled without there being an entry to show it.
class CTestCmdUI : public CCmdUI
{
public:
    void Enable(BOOL bOn) override
    {
        m_bEnabled = bOn;
        m_bEnableChanged = TRUE;
    }

    void SetCheck(int) override {}

    BOOL m_bEnabled = TRUE;
};
} // namespace

IMPLEMENT_DYNAMIC(CWnd, CCmdTarget)

BEGIN_MESSAGE_MAP(CWnd, CCmdTarget)
    ON_WM_NCDESTROY()
END_MESSAGE_MAP()

LRESULT CALLBACK AfxWndProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam) noexcept
{
    auto* const pState = AfxGetThreadState();
    if (message == WM_NCCREATE && pState->pWndInit != nullptr)
    {
        std::exchange(pState->pWndInit, nullptr)->Attach(hWnd);
    }
    auto* const pWnd = CWnd::FromHandlePermanent(hWnd);
    if (pWnd == nullptr)
    {
        return ::DefWindowProc(hWnd, message, wParam, lParam);
    }
    // The handler may delete the object: nothing of it is touched afterwards.
    const MSG outer = std::exchange(pState->lastSentMsg, {hWnd, message, wParam, lParam, 0, {}});
    LRESULT lResult = 0;
    try
    {
        lResult = pWnd->WindowProc(message, wParam, lParam);
    }
    catch (const std::bad_alloc&)
    {
        lResult = message == WM_CREATE ? -1 : 0; // the handler is left, and the program goes on
    }
    pState->lastSentMsg = outer;
    return lResult;
}

BOOL CWnd::PreCreateWindow(CREATESTRUCT& cs)
{
    if (cs.lpszClass == nullptr)
    {
        cs.lpszClass = AfxRegisterWndClass(0);
    }
    return TRUE;
}

LRESULT CWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    LRESULT lResult = 0;
    return OnWndMsg(message, wParam, lParam, &lResult) ? lResult : DefWindowProc(message, wParam, lParam);
}

LRESULT CWnd::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    return m_pfnSuper != nullptr ? ::CallWindowProc(m_pfnSuper, m_hWnd, message, wParam, lParam)
                                 : ::DefWindowProc(m_hWnd, message, wParam, lParam);
}

LRESULT CWnd::Default()
{
    const MSG& msg = AfxGetThreadState()->lastSentMsg;
    return DefWindowProc(msg.message, msg.wParam, msg.lParam);
}

BOOL CWnd::OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* pResult)
{
    if (message == WM_COMMAND)
    {
        *pResult = OnCommand(wParam, lParam);
        return *pResult != 0;
    }
    if (message == WM_CTLCOLOR)
    {
        return FALSE; // a mark in the maps; only somebody else's program sends it as a message
    }
    // Anybody can send a colour message without a context; no handler expects one.
    const bool bCtlColor = message >= WM_CTLCOLORMSGBOX && message <= WM_CTLCOLORSTATIC && wParam != 0;
    const auto* const pEntry = AfxFindMessageEntry(GetMessageMap(), bCtlColor ? WM_CTLCOLOR : message);
    if (pEntry == nullptr)
    {
        return FALSE;
    }
    *pResult = pEntry->pfn(this, {m_hWnd, message, wParam, lParam, 0, {}});
    return TRUE;
}

BOOL CWnd::OnCommand(WPARAM wParam, LPARAM lParam)
{
    const UINT nID = LOWORD(wParam);
    if (nID == 0)
    {
        return FALSE;
    }
    if (lParam != 0)
    {
        return OnCmdMsg(nID, HIWORD(wParam), nullptr, nullptr); // a control's notification
    }
    CTestCmdUI state;
    state.m_nID = nID;
    OnCmdMsg(nID, CN_UPDATE_COMMAND_UI, &state, nullptr);
    return !state.m_bEnabled || OnCmdMsg(nID, CN_COMMAND, nullptr, nullptr);
}

void CWnd::OnNcDestroy()
{
    LeaveThread();
    Default();
    Detach();
    if (m_bContinueModal)
    {
        m_bContinueModal = FALSE;
        ::PostThreadMessage(::GetCurrentThreadId(), WM_NULL, 0, 0); // the loop looks after each message
    }
    PostNcDestroy();
}
