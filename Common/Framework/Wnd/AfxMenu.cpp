#include "AfxMenu.h"

#include "AfxState.h"

BOOL CMenu::LoadMenu(UINT nIDResource)
{
    return Attach(::LoadMenu(AfxGetInstanceHandle(), MAKEINTRESOURCE(nIDResource)));
}

BOOL CMenu::TrackPopupMenu(UINT nFlags, int x, int y, CWnd* pWnd, LPCRECT lpRect)
{
    return ::TrackPopupMenu(m_hMenu, nFlags, x, y, 0, pWnd != nullptr ? pWnd->m_hWnd : nullptr, lpRect);
}
