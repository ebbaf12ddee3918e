// The icon's clicks and its menu.
#include "SystemTray.h"

#include "resource.h"

namespace
{

constexpr UINT_PTR clickTimer = 4568;

} // namespace

LRESULT CSystemTray::OnTrayCallback(WPARAM id, LPARAM event)
{
    if (!m_bEnabled || id != m_notifyData.uID) // anybody can send it, also where no icon ever stood
    {
        return 0;
    }
    CWnd* const target = TargetOf(nullptr);
    if (target == nullptr)
    {
        return 0;
    }
    switch (LOWORD(event))
    {
    case WM_RBUTTONUP: ShowTrayMenu(target); break;
    case WM_LBUTTONUP: OnLeftButtonUp(); break;
    case WM_LBUTTONDBLCLK: return OnDoubleClick(*target);
    default: break;
    }
    return 1;
}

// The menu comes when no second click has come in time. The release that ends a double-click brings none.
void CSystemTray::OnLeftButtonUp()
{
    if (!s_bDoubleClicked)
    {
        m_uClickTimer = SetTimer(clickTimer, GetDoubleClickTime(), nullptr);
    }
    s_bDoubleClicked = FALSE;
}

LRESULT CSystemTray::OnDoubleClick(CWnd& target)
{
    EndTimer(m_uClickTimer);
    s_bDoubleClicked = TRUE;
    target.SetForegroundWindow();
    UINT command = m_uDefaultItem;
    if (m_bDefaultByPosition)
    {
        CMenu menu;
        CMenu* const popup = menu.LoadMenu(IDR_TRAY) ? menu.GetSubMenu(0) : nullptr;
        if (popup == nullptr)
        {
            return 0;
        }
        command = popup->GetMenuItemID(static_cast<int>(m_uDefaultItem));
    }
    target.PostMessage(WM_COMMAND, command, 0);
    return 1;
}

void CSystemTray::OnClickTick()
{
    EndTimer(m_uClickTimer);
    s_bDoubleClicked = FALSE;
    ShowTrayMenu(nullptr);
}

void CSystemTray::ShowTrayMenu(CWnd* pTarget)
{
    CWnd* const target = TargetOf(pTarget);
    CMenu menu;
    if (target == nullptr || !menu.LoadMenu(IDR_TRAY))
    {
        return;
    }
    CMenu* const popup = menu.GetSubMenu(0);
    if (popup == nullptr)
    {
        return;
    }
    popup->SetDefaultItem(m_uDefaultItem, m_bDefaultByPosition);
    CustomizeMenu(popup);
    POINT point{};
    GetCursorPos(&point);
    const HWND window = target->GetSafeHwnd();
    if (target->SetForegroundWindow())
    {
        // The choice comes to the target as WM_COMMAND. The menu's own message loop may also end the target,
        // and this object with it: neither is touched behind it.
        popup->TrackPopupMenu(0, point.x, point.y, target);
    }
    ::PostMessageW(window, WM_NULL, 0, 0); // else the menu would not close at a click beside it
}

void CSystemTray::CustomizeMenu(CMenu* /*pMenu*/) {}

CWnd* CSystemTray::TargetOf(CWnd* pTarget) const
{
    if (pTarget != nullptr)
    {
        return pTarget;
    }
    return m_pTargetWnd != nullptr ? m_pTargetWnd : AfxGetMainWnd();
}
