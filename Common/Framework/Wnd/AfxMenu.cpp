#include "AfxMenu.h"

#include "AfxState.h"

#include <utility>

namespace
{
thread_local CTempMap<CMenu, HMENU, &CMenu::m_hMenu> t_menus;
thread_local CTempMap<CDC, HDC, &CDC::m_hDC> t_contexts;
} // namespace

IMPLEMENT_DYNCREATE(CMenu, CObject)

CMenu::~CMenu()
{
    DestroyMenu();
}

CMenu* CMenu::FromHandle(HMENU hMenu)
{
    return t_menus.Wrap(hMenu);
}

CDC* CDC::FromHandle(HDC hDC)
{
    return t_contexts.Wrap(hDC);
}

void AfxDeleteTempMenus()
{
    t_menus.Clear();
    t_contexts.Clear();
}

BOOL CMenu::Attach(HMENU hMenu)
{
    m_hMenu = hMenu;
    return hMenu != nullptr;
}

HMENU CMenu::Detach()
{
    return std::exchange(m_hMenu, nullptr);
}

BOOL CMenu::LoadMenu(UINT nIDResource)
{
    return Attach(::LoadMenu(AfxGetInstanceHandle(), MAKEINTRESOURCE(nIDResource)));
}

BOOL CMenu::CreatePopupMenu()
{
    return Attach(::CreatePopupMenu());
}

BOOL CMenu::DestroyMenu()
{
    return m_hMenu != nullptr && ::DestroyMenu(Detach());
}

BOOL CMenu::AppendMenu(UINT nFlags, UINT_PTR nIDNewItem, LPCTSTR lpszNewItem)
{
    return ::AppendMenu(m_hMenu, nFlags, nIDNewItem, lpszNewItem);
}

BOOL CMenu::DeleteMenu(UINT nPosition, UINT nFlags)
{
    return ::DeleteMenu(m_hMenu, nPosition, nFlags);
}

int CMenu::GetMenuItemCount() const
{
    return ::GetMenuItemCount(m_hMenu);
}

UINT CMenu::GetMenuItemID(int nPos) const
{
    return ::GetMenuItemID(m_hMenu, nPos);
}

CMenu* CMenu::GetSubMenu(int nPos) const
{
    return FromHandle(::GetSubMenu(m_hMenu, nPos));
}

BOOL CMenu::GetMenuItemInfo(UINT uItem, LPMENUITEMINFO lpMenuItemInfo, BOOL fByPos)
{
    return ::GetMenuItemInfo(m_hMenu, uItem, fByPos, lpMenuItemInfo);
}

BOOL CMenu::SetMenuItemInfo(UINT uItem, LPMENUITEMINFO lpMenuItemInfo, BOOL fByPos)
{
    return ::SetMenuItemInfo(m_hMenu, uItem, fByPos, lpMenuItemInfo);
}

BOOL CMenu::SetDefaultItem(UINT uItem, BOOL fByPos)
{
    return ::SetMenuDefaultItem(m_hMenu, uItem, static_cast<UINT>(fByPos));
}

UINT CMenu::EnableMenuItem(UINT nIDEnableItem, UINT nEnable)
{
    return static_cast<UINT>(::EnableMenuItem(m_hMenu, nIDEnableItem, nEnable));
}

UINT CMenu::CheckMenuItem(UINT nIDCheckItem, UINT nCheck)
{
    return ::CheckMenuItem(m_hMenu, nIDCheckItem, nCheck);
}

BOOL CMenu::TrackPopupMenu(UINT nFlags, int x, int y, CWnd* pWnd, LPCRECT lpRect)
{
    return ::TrackPopupMenu(m_hMenu, nFlags, x, y, 0, pWnd != nullptr ? pWnd->m_hWnd : nullptr, lpRect);
}
