// What the framework keeps for each thread. Programs do not include it. In use:
//
//     AFX_THREAD_STATE* const pState = AfxGetThreadState();
//     pState->pWndInit = pWnd;  // the next window made on this thread is this object's
//     HWND hWnd = ::CreateWindow(...);
//     const bool bTaken = pState->pWndInit == nullptr;
//     pState->pWndInit = nullptr;
#pragma once

#include "AfxThread.h"

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

// Frees the wrappers that FromHandle gave out on this thread.
void AfxDeleteTempMaps();

// A string of the program's resources, empty if there is none.
std::wstring AfxResourceString(UINT nID);
