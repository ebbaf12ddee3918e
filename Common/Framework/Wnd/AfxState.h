// What the framework keeps for each thread. Programs do not include it. In use:
//
//     AFX_THREAD_STATE* const pState = AfxGetThreadState();
//     pState->pWndInit = pWnd;  // the next window made on this thread is this object's
//     thread_local CTempMap<CMenu, HMENU, &CMenu::m_hMenu> menus;
//     CMenu* pMenu = menus.Wrap(hMenu);
//     menus.Clear();
#pragma once

#include "AfxThread.h"

#include <map>
#include <string>

// Plain data without a destructor: windows may still get messages while the thread's objects go down.
struct AFX_THREAD_STATE
{
    CWinThread* pThread; // Weak. The object of this thread.
    CWnd* pWindows;      // Weak. The first of this thread's window objects.
    CWnd* pWndInit;      // Weak. The object that waits for its window.
    MSG lastSentMsg;     // what a window procedure is handling
    MSG currentMsg;      // what the message loop took last
};

AFX_THREAD_STATE* AfxGetThreadState();

// Wrappers for handles that no object owns; they never close theirs.
template <class T, class Handle, Handle T::*member>
class CTempMap
{
public:
    CTempMap() = default;

    ~CTempMap() { Clear(); }

    CTempMap(const CTempMap&) = delete;
    CTempMap& operator=(const CTempMap&) = delete;

    T* Wrap(Handle handle)
    {
        if (handle == nullptr)
        {
            return nullptr;
        }
        T& object = m_objects[handle];
        object.*member = handle; // whoever closed an earlier one of that value has cleared it
        return &object;
    }

    void Clear()
    {
        for (auto& [handle, object] : m_objects)
        {
            object.*member = nullptr;
        }
        m_objects.clear();
    }

private:
    std::map<Handle, T> m_objects;
};

// Frees the wrappers that FromHandle gave out on this thread.
void AfxDeleteTempMenus();
void AfxDeleteTempWindows();

// A string of the program's resources, empty if there is none.
std::wstring AfxResourceString(UINT nID);
