#include "AfxState.h"

#include <cwchar>
#include <mutex>
#include <set>
#include <utility>

namespace
{
// The same characters for the same name, for the life of the process.
LPCTSTR KeepName(const wchar_t* name)
{
    static std::mutex lock;
    static std::set<std::wstring> names;
    const std::lock_guard guard(lock);
    return names.emplace(name).first->c_str();
}
} // namespace

LPCTSTR AfxRegisterWndClass(UINT nClassStyle, HCURSOR hCursor, HBRUSH hbrBackground, HICON hIcon)
{
    const HINSTANCE hInstance = AfxGetInstanceHandle();
    wchar_t name[96] = {};
    _snwprintf_s(name, _TRUNCATE, L"Afx:%x:%p:%p:%p", nClassStyle, static_cast<void*>(hCursor),
                 static_cast<void*>(hbrBackground), static_cast<void*>(hIcon));
    const WNDCLASS wc = {nClassStyle, &AfxWndProc,   0,       0,   hInstance, hIcon,
                         hCursor,     hbrBackground, nullptr, name};
    if (::RegisterClass(&wc) == 0 && ::GetLastError() != ERROR_CLASS_ALREADY_EXISTS)
    {
        return nullptr;
    }
    return KeepName(name);
}

CWnd::~CWnd()
{
    CWnd::DestroyWindow();
    if (m_hWnd != nullptr)
    {
        Detach(); // the system refused: the window's messages must not come here any more
    }
    LeaveThread();
}

// A main window that goes, even one that never came to be, ends the message loop.
void CWnd::LeaveThread()
{
    auto* const pThread = AfxGetThread();
    if (pThread != nullptr && pThread->m_pMainWnd == this)
    {
        pThread->m_pMainWnd = nullptr;
        AfxPostQuitMessage(0);
    }
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
    // A window that came and went again has taken the object along, unless the object never got it.
    if (std::exchange(pState->pWndInit, nullptr) != nullptr && (hWnd == nullptr || !SubclassWindow(hWnd)))
    {
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
    m_hWnd = hWnd;
    m_pNext = std::exchange(AfxGetThreadState()->pWindows, this);
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
    auto** ppWnd = &AfxGetThreadState()->pWindows;
    while (*ppWnd != nullptr && *ppWnd != this)
    {
        ppWnd = &(*ppWnd)->m_pNext;
    }
    if (*ppWnd != nullptr)
    {
        *ppWnd = m_pNext;
    }
    m_hWnd = nullptr;
}

BOOL CWnd::ModifyStyleEx(DWORD dwRemove, DWORD dwAdd, UINT nFlags)
{
    const auto dwStyle = static_cast<DWORD>(::GetWindowLong(m_hWnd, GWL_EXSTYLE));
    const DWORD dwNewStyle = (dwStyle & ~dwRemove) | dwAdd;
    if (dwStyle == dwNewStyle)
    {
        return FALSE;
    }
    ::SetWindowLong(m_hWnd, GWL_EXSTYLE, static_cast<LONG>(dwNewStyle));
    if (nFlags != 0)
    {
        const UINT nKeep = SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE;
        ::SetWindowPos(m_hWnd, nullptr, 0, 0, 0, 0, nKeep | nFlags);
    }
    return TRUE;
}

int CWnd::RunModalLoop()
{
    m_nModalResult = -1;
    m_bContinueModal = ::IsWindow(m_hWnd);
    while (m_bContinueModal)
    {
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
    m_bContinueModal = FALSE;
    PostMessage(WM_NULL); // the loop looks after each message
}
