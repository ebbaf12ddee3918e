#include "AfxFrameWnd.h"

#include "AfxState.h"

#include <algorithm>

namespace
{
constexpr UINT firstSystemCommand = 0xF000;
constexpr UINT noCommand = static_cast<UINT>(-1); // what a popup's own entry has for an id
} // namespace

IMPLEMENT_DYNAMIC(CFrameWnd, CWnd)

BEGIN_MESSAGE_MAP(CFrameWnd, CWnd)
    ON_WM_CLOSE()
    ON_WM_INITMENUPOPUP()
    ON_WM_QUERYENDSESSION()
    ON_WM_ENDSESSION()
END_MESSAGE_MAP()

BOOL CFrameWnd::LoadFrame(UINT nIDResource, DWORD dwDefaultStyle, CWnd* pParentWnd, CCreateContext* pContext)
{
    std::wstring title = AfxResourceString(nIDResource);
    title.resize(std::min(title.find(L'\n'), title.size())); // further lines describe documents
    return CreateEx(0, GetIconWndClass(dwDefaultStyle, nIDResource), title.c_str(), dwDefaultStyle,
                    CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT,
                    pParentWnd != nullptr ? pParentWnd->m_hWnd : nullptr, nullptr, pContext);
}

// The frame's window class with the resource's icon; null, which means the usual class, without such an icon.
LPCTSTR CFrameWnd::GetIconWndClass(DWORD dwDefaultStyle, UINT nIDResource)
{
    const HICON hIcon = ::LoadIcon(AfxGetInstanceHandle(), MAKEINTRESOURCE(nIDResource));
    CREATESTRUCT cs{};
    cs.style = static_cast<LONG>(dwDefaultStyle);
    WNDCLASS wc{};
    if (hIcon == nullptr || !PreCreateWindow(cs) || cs.lpszClass == nullptr ||
        !::GetClassInfo(AfxGetInstanceHandle(), cs.lpszClass, &wc))
    {
        return nullptr;
    }
    return AfxRegisterWndClass(wc.style, wc.hCursor, wc.hbrBackground, hIcon);
}

BOOL CFrameWnd::PreCreateWindow(CREATESTRUCT& cs)
{
    if (cs.lpszClass == nullptr)
    {
        cs.lpszClass = AfxRegisterWndClass(CS_DBLCLKS, ::LoadCursor(nullptr, IDC_ARROW),
                                           ::GetSysColorBrush(COLOR_WINDOW));
    }
    cs.dwExStyle |= WS_EX_CLIENTEDGE;
    return TRUE;
}

BOOL CFrameWnd::OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pHandlerInfo)
{
    if (CWnd::OnCmdMsg(nID, nCode, pExtra, pHandlerInfo))
    {
        return TRUE;
    }
    auto* const pThread = AfxGetThread();
    return pThread != nullptr && pThread->OnCmdMsg(nID, nCode, pExtra, pHandlerInfo);
}

// The system ends the process once this returns, so the application's end cannot wait for the message loop's.
void CFrameWnd::OnEndSession(BOOL bEnding)
{
    auto* const pThread = AfxGetThread();
    if (bEnding && pThread != nullptr && pThread->m_pMainWnd == this)
    {
        pThread->ExitInstance();
    }
}

void CFrameWnd::OnInitMenuPopup(CMenu* pPopupMenu, UINT, BOOL bSysMenu)
{
    if (bSysMenu || pPopupMenu == nullptr)
    {
        return;
    }
    CCmdUI state;
    state.m_pMenu = pPopupMenu;
    state.m_nIndexMax = static_cast<UINT>(std::max(pPopupMenu->GetMenuItemCount(), 0));
    for (; state.m_nIndex < state.m_nIndexMax; ++state.m_nIndex)
    {
        const int nPos = static_cast<int>(state.m_nIndex);
        state.m_pSubMenu = pPopupMenu->GetSubMenu(nPos);
        state.m_nID = state.m_pSubMenu != nullptr ? state.m_pSubMenu->GetMenuItemID(0)
                                                  : pPopupMenu->GetMenuItemID(nPos);
        if (state.m_nID == 0 || state.m_nID == noCommand)
        {
            continue; // a separator, or a popup that begins with one or with another popup
        }
        const bool bGreyable = state.m_pSubMenu == nullptr && state.m_nID < firstSystemCommand;
        state.DoUpdate(this, bGreyable);
    }
}
