#include "AfxState.h"

#include <map>

namespace
{
// An object for a handle that no object owns: it goes without closing the handle.
template <class T, class Handle, Handle T::*member>
struct CTemporary : T
{
    ~CTemporary() override { this->*member = nullptr; }

    // Whoever closed an earlier handle of that value has cleared the member.
    T* For(Handle handle)
    {
        this->*member = handle;
        return this;
    }
};

thread_local std::map<HMENU, CTemporary<CMenu, HMENU, &CMenu::m_hMenu>> t_menus;
thread_local std::map<HWND, CTemporary<CWnd, HWND, &CWnd::m_hWnd>> t_windows;
thread_local std::map<HDC, CTemporary<CDC, HDC, &CDC::m_hDC>> t_contexts;
} // namespace

CMenu* CMenu::FromHandle(HMENU hMenu)
{
    return hMenu != nullptr ? t_menus[hMenu].For(hMenu) : nullptr;
}

CDC* CDC::FromHandle(HDC hDC)
{
    return hDC != nullptr ? t_contexts[hDC].For(hDC) : nullptr;
}

CWnd* CWnd::FromHandle(HWND hWnd)
{
    auto* const pWnd = FromHandlePermanent(hWnd);
    return pWnd != nullptr || hWnd == nullptr ? pWnd : t_windows[hWnd].For(hWnd);
}

void AfxDeleteTempMaps()
{
    t_menus.clear();
    t_windows.clear();
    t_contexts.clear();
}
