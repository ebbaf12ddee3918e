// A thread with a message loop, and what its loop shares with others. In use:
//
//     CWinThread* pThread = AfxGetThread();  // null on a thread that the framework does not know
//     if (pThread != nullptr && pThread->m_pMainWnd != nullptr)
//         pThread->m_pMainWnd->PostMessage(WM_CLOSE);
//     while (AfxPumpMessage())  // until WM_QUIT
//         continue;
#pragma once

#include "AfxWnd.h"

// The thread that the object was made on. Called on that thread.
class CWinThread : public CCmdTarget
{
    DECLARE_DYNAMIC(CWinThread)

public:
    CWinThread();
    ~CWinThread() override;

    // Weak: a frame deletes itself and clears this.
    CWnd* m_pMainWnd = nullptr;

    // FALSE ends the program before its message loop.
    virtual BOOL InitInstance() { return FALSE; }

    // Runs messages until WM_QUIT; returns what ExitInstance returns.
    virtual int Run();
    // TRUE asks to be called again before the loop waits.
    virtual BOOL OnIdle(LONG lCount);
    // Returns the exit code, which is that of the last WM_QUIT.
    virtual int ExitInstance();
};

CWinThread* AfxGetThread();
// The main window of this thread's CWinThread; null on other threads.
CWnd* AfxGetMainWnd();

inline HINSTANCE AfxGetInstanceHandle()
{
    return ::GetModuleHandle(nullptr);
}

// The message that the thread's loop took last.
MSG* AfxGetCurrentMessage();
// Takes and dispatches one message. FALSE on WM_QUIT.
BOOL AfxPumpMessage();

inline void AfxPostQuitMessage(int nExitCode)
{
    ::PostQuitMessage(nExitCode);
}
