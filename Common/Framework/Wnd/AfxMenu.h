// Menus and device contexts as objects. In use:
//
//     CMenu menu;
//     menu.LoadMenu(IDR_TRAY);
//     CMenu* pPopup = menu.GetSubMenu(0);
//     pPopup->SetDefaultItem(0, TRUE);
//     pPopup->TrackPopupMenu(0, point.x, point.y, AfxGetMainWnd());
#pragma once

#include "afx.h"

class CWnd;

// Owns its menu and destroys it, popups included. One thread.
class CMenu : public CObject
{
    DECLARE_DYNCREATE(CMenu)

public:
    CMenu() = default;
    ~CMenu() override;

    HMENU m_hMenu = nullptr;

    // A wrapper that does not own hMenu, good until the thread's message loop is idle. Null for null.
    static CMenu* FromHandle(HMENU hMenu);

    [[nodiscard]] HMENU GetSafeHmenu() const { return m_hMenu; }

    // Takes hMenu over. FALSE for null.
    BOOL Attach(HMENU hMenu);
    // Gives the menu up to the caller.
    HMENU Detach();

    BOOL LoadMenu(UINT nIDResource);
    BOOL CreatePopupMenu();
    BOOL DestroyMenu();

    BOOL AppendMenu(UINT nFlags, UINT_PTR nIDNewItem = 0, LPCTSTR lpszNewItem = nullptr);
    BOOL DeleteMenu(UINT nPosition, UINT nFlags);
    [[nodiscard]] int GetMenuItemCount() const;
    // 0 for a separator, (UINT)-1 for a popup or a position that is not there.
    [[nodiscard]] UINT GetMenuItemID(int nPos) const;
    // As FromHandle; null if that entry opens no popup.
    [[nodiscard]] CMenu* GetSubMenu(int nPos) const;
    BOOL GetMenuItemInfo(UINT uItem, LPMENUITEMINFO lpMenuItemInfo, BOOL fByPos = FALSE);
    BOOL SetMenuItemInfo(UINT uItem, LPMENUITEMINFO lpMenuItemInfo, BOOL fByPos = FALSE);
    BOOL SetDefaultItem(UINT uItem, BOOL fByPos = FALSE);
    // Both return the state before, (UINT)-1 if there is no such entry.
    UINT EnableMenuItem(UINT nIDEnableItem, UINT nEnable);
    UINT CheckMenuItem(UINT nIDCheckItem, UINT nCheck);

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
