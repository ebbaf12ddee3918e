#include "AfxState.h"

#include <utility>

namespace
{
thread_local CTempMap<CWnd, HWND, &CWnd::m_hWnd> t_windows;

BOOL ModifyStyleAt(HWND hWnd, int nIndex, DWORD dwRemove, DWORD dwAdd, UINT nFlags)
{
    const auto dwStyle = static_cast<DWORD>(::GetWindowLong(hWnd, nIndex));
    const DWORD dwNewStyle = (dwStyle & ~dwRemove) | dwAdd;
    if (dwStyle == dwNewStyle)
    {
        return FALSE;
    }
    ::SetWindowLong(hWnd, nIndex, static_cast<LONG>(dwNewStyle));
    if (nFlags != 0)
    {
        ::SetWindowPos(hWnd, nullptr, 0, 0, 0, 0,
                       SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | nFlags);
    }
    return TRUE;
}
} // namespace

IMPLEMENT_DYNCREATE(CWnd, CCmdTarget)

CWnd::~CWnd()
{
    CWnd::DestroyWindow();
}

CWnd* CWnd::FromHandle(HWND hWnd)
{
    auto* const pWnd = FromHandlePermanent(hWnd);
    return pWnd != nullptr ? pWnd : t_windows.Wrap(hWnd);
}

CWnd* CWnd::FromHandlePermanent(HWND hWnd)
{
    auto* pWnd = AfxGetThreadState()->pWindows; // a thread has a handful
    while (pWnd != nullptr && pWnd->m_hWnd != hWnd)
    {
        pWnd = pWnd->m_pNext;
    }
    return pWnd;
}

void AfxDeleteTempWindows()
{
    t_windows.Clear();
}

BOOL CWnd::CreateEx(DWORD dwExStyle, LPCTSTR lpszClassName, LPCTSTR lpszWindowName, DWORD dwStyle, int x,
                    int y, int nWidth, int nHeight, HWND hWndParent, HMENU nIDorHMenu, LPVOID lpParam)
{
    CREATESTRUCT cs = {
        lpParam, AfxGetInstanceHandle(),     nIDorHMenu,     hWndParent,    nHeight,  nWidth, y,
        x,       static_cast<LONG>(dwStyle), lpszWindowName, lpszClassName, dwExStyle};
    if (!PreCreateWindow(cs))
    {
        PostNcDestroy();
        return FALSE;
    }
    auto* const pState = AfxGetThreadState();
    pState->pWndInit = this;
    const HWND hWnd =
        ::CreateWindowEx(cs.dwExStyle, cs.lpszClass, cs.lpszName, static_cast<DWORD>(cs.style), cs.x, cs.y,
                         cs.cx, cs.cy, cs.hwndParent, cs.hMenu, cs.hInstance, cs.lpCreateParams);
    // A window that came and went again has taken the object along, unless it never took it up.
    if (std::exchange(pState->pWndInit, nullptr) != nullptr)
    {
        if (hWnd != nullptr)
        {
            return SubclassWindow(hWnd);
        }
        PostNcDestroy();
    }
    return hWnd != nullptr;
}

BOOL CWnd::SubclassWindow(HWND hWnd)
{
    Attach(hWnd);
    m_pfnSuper = reinterpret_cast<WNDPROC>(
        ::SetWindowLongPtr(hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&AfxWndProc)));
    return m_pfnSuper != nullptr;
}

void CWnd::Attach(HWND hWnd)
{
    auto* const pState = AfxGetThreadState();
    m_hWnd = hWnd;
    m_pNext = std::exchange(pState->pWindows, this);
}

void CWnd::Detach()
{
    // Somebody may have put a procedure of his own before ours; that chain stays as it is.
    const auto pfnOurs = reinterpret_cast<LONG_PTR>(&AfxWndProc);
    if (m_pfnSuper != nullptr && ::GetWindowLongPtr(m_hWnd, GWLP_WNDPROC) == pfnOurs)
    {
        ::SetWindowLongPtr(m_hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(m_pfnSuper));
    }
    m_pfnSuper = nullptr;
    for (auto** ppWnd = &AfxGetThreadState()->pWindows; *ppWnd != nullptr; ppWnd = &(*ppWnd)->m_pNext)
    {
        if (*ppWnd == this)
        {
            *ppWnd = m_pNext;
            break;
        }
    }
    m_pNext = nullptr;
    m_hWnd = nullptr;
}

BOOL CWnd::DestroyWindow()
{
    return m_hWnd != nullptr && ::DestroyWindow(m_hWnd);
}

LRESULT CWnd::SendMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    return ::SendMessage(m_hWnd, message, wParam, lParam);
}

BOOL CWnd::PostMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    return ::PostMessage(m_hWnd, message, wParam, lParam);
}

UINT_PTR CWnd::SetTimer(UINT_PTR nIDEvent, UINT nElapse, TIMERPROC lpfnTimer)
{
    return ::SetTimer(m_hWnd, nIDEvent, nElapse, lpfnTimer);
}

BOOL CWnd::KillTimer(UINT_PTR nIDEvent)
{
    return ::KillTimer(m_hWnd, nIDEvent);
}

BOOL CWnd::ShowWindow(int nCmdShow)
{
    return ::ShowWindow(m_hWnd, nCmdShow);
}

void CWnd::UpdateWindow()
{
    ::UpdateWindow(m_hWnd);
}

BOOL CWnd::SetForegroundWindow()
{
    return ::SetForegroundWindow(m_hWnd);
}

void CWnd::MoveWindow(int x, int y, int nWidth, int nHeight, BOOL bRepaint)
{
    ::MoveWindow(m_hWnd, x, y, nWidth, nHeight, bRepaint);
}

DWORD CWnd::GetStyle() const
{
    return static_cast<DWORD>(::GetWindowLong(m_hWnd, GWL_STYLE));
}

DWORD CWnd::GetExStyle() const
{
    return static_cast<DWORD>(::GetWindowLong(m_hWnd, GWL_EXSTYLE));
}

BOOL CWnd::ModifyStyle(DWORD dwRemove, DWORD dwAdd, UINT nFlags)
{
    return ModifyStyleAt(m_hWnd, GWL_STYLE, dwRemove, dwAdd, nFlags);
}

BOOL CWnd::ModifyStyleEx(DWORD dwRemove, DWORD dwAdd, UINT nFlags)
{
    return ModifyStyleAt(m_hWnd, GWL_EXSTYLE, dwRemove, dwAdd, nFlags);
}

void CWnd::GetClientRect(LPRECT lpRect) const
{
    ::GetClientRect(m_hWnd, lpRect);
}

void CWnd::GetWindowRect(LPRECT lpRect) const
{
    ::GetWindowRect(m_hWnd, lpRect);
}

int CWnd::RunModalLoop(DWORD dwFlags)
{
    m_nModalResult = -1;
    m_bContinueModal = ::IsWindow(m_hWnd);
    bool bShow = (dwFlags & MLF_SHOWONIDLE) != 0 && (GetStyle() & WS_VISIBLE) == 0;
    while (m_bContinueModal)
    {
        MSG next{};
        if (bShow && !::PeekMessage(&next, nullptr, 0, 0, PM_NOREMOVE))
        {
            ShowWindow(SW_SHOWNORMAL);
            UpdateWindow();
            bShow = false;
        }
        if (!AfxPumpMessage())
        {
            m_bContinueModal = FALSE;
            AfxPostQuitMessage(static_cast<int>(AfxGetCurrentMessage()->wParam));
        }
    }
    return m_nModalResult;
}

void CWnd::EndModalLoop(int nResult)
{
    m_nModalResult = nResult;
    if (m_bContinueModal)
    {
        m_bContinueModal = FALSE;
        PostMessage(WM_NULL); // the loop looks after each message
    }
}

BOOL CWnd::PreTranslateMessage(MSG*)
{
    return FALSE;
}

BOOL CWnd::WalkPreTranslateTree(HWND hWndStop, MSG* pMsg)
{
    for (HWND hWnd = pMsg->hwnd; hWnd != nullptr; hWnd = ::GetParent(hWnd))
    {
        auto* const pWnd = FromHandlePermanent(hWnd);
        if (pWnd != nullptr && pWnd->PreTranslateMessage(pMsg))
        {
            return TRUE;
        }
        if (hWnd == hWndStop)
        {
            break;
        }
    }
    return FALSE;
}
