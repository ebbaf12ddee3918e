// Menus and device contexts as objects. In use:
//
//     CMenu menu;
//     menu.LoadMenu(IDR_TRAY);
//     CMenu* pPopup = menu.GetSubMenu(0);
//     pPopup->SetDefaultItem(0, TRUE);
//     pPopup->TrackPopupMenu(0, point.x, point.y, AfxGetMainWnd());
#pragma once

#include "afx.h"

#include <utility>

class CWnd;

// Owns its menu and destroys it, popups included. One thread.
class CMenu : public CObject
{
public:
    CMenu() = default;

    ~CMenu() override { DestroyMenu(); }

    HMENU m_hMenu = nullptr;

    // A wrapper that does not own hMenu, good until the thread's message loop is idle. Null for null.
    static CMenu* FromHandle(HMENU hMenu);

    [[nodiscard]] HMENU GetSafeHmenu() const { return m_hMenu; }

    // Takes hMenu over. FALSE for null.
    BOOL Attach(HMENU hMenu) { return (m_hMenu = hMenu) != nullptr; }

    // Gives the menu up to the caller.
    HMENU Detach() { return std::exchange(m_hMenu, nullptr); }

    BOOL LoadMenu(UINT nIDResource);

    BOOL CreatePopupMenu() { return Attach(::CreatePopupMenu()); }

    BOOL DestroyMenu() { return m_hMenu != nullptr && ::DestroyMenu(Detach()); }

    BOOL AppendMenu(UINT nFlags, UINT_PTR nID = 0, LPCTSTR lpszText = nullptr)
    {
        return ::AppendMenu(m_hMenu, nFlags, nID, lpszText);
    }

    BOOL DeleteMenu(UINT nPosition, UINT nFlags) { return ::DeleteMenu(m_hMenu, nPosition, nFlags); }

    [[nodiscard]] int GetMenuItemCount() const { return ::GetMenuItemCount(m_hMenu); }

    // 0 for a separator, (UINT)-1 for a popup or a position that is not there.
    [[nodiscard]] UINT GetMenuItemID(int nPos) const { return ::GetMenuItemID(m_hMenu, nPos); }

    // As FromHandle; null if that entry opens no popup.
    [[nodiscard]] CMenu* GetSubMenu(int nPos) const { return FromHandle(::GetSubMenu(m_hMenu, nPos)); }

    BOOL GetMenuItemInfo(UINT uItem, LPMENUITEMINFO lpInfo, BOOL fByPos = FALSE)
    {
        return ::GetMenuItemInfo(m_hMenu, uItem, fByPos, lpInfo);
    }

    BOOL SetMenuItemInfo(UINT uItem, LPMENUITEMINFO lpInfo, BOOL fByPos = FALSE)
    {
        return ::SetMenuItemInfo(m_hMenu, uItem, fByPos, lpInfo);
    }

    BOOL SetDefaultItem(UINT uItem, BOOL fByPos = FALSE)
    {
        return ::SetMenuDefaultItem(m_hMenu, uItem, static_cast<UINT>(fByPos));
    }

    // Both return the state before, (UINT)-1 if there is no such entry.
    UINT EnableMenuItem(UINT nID, UINT nEnable) { return ::EnableMenuItem(m_hMenu, nID, nEnable); }

    UINT CheckMenuItem(UINT nID, UINT nCheck) { return ::CheckMenuItem(m_hMenu, nID, nCheck); }

    // Returns when the menu has closed; pWnd gets the command, unless TPM_RETURNCMD makes it the result.
    BOOL TrackPopupMenu(UINT nFlags, int x, int y, CWnd* pWnd, LPCRECT lpRect = nullptr);
};

// A device context that a handler was given.
class CDC : public CObject
{
public:
    HDC m_hDC = nullptr;

    // As CMenu::FromHandle.
    static CDC* FromHandle(HDC hDC);

    [[nodiscard]] HDC GetSafeHdc() const { return m_hDC; }

    int SetBkMode(int nBkMode) { return ::SetBkMode(m_hDC, nBkMode); }
};
