#include "AfxState.h"

namespace
{
constinit thread_local AFX_THREAD_STATE t_state{};
}

IMPLEMENT_DYNAMIC(CWinThread, CCmdTarget)

AFX_THREAD_STATE* AfxGetThreadState()
{
    return &t_state;
}

CWinThread::CWinThread()
{
    t_state.pThread = this;
}

CWinThread::~CWinThread()
{
    if (t_state.pThread == this)
    {
        t_state.pThread = nullptr;
    }
}

int CWinThread::Run()
{
    for (;;)
    {
        MSG next{};
        LONG lIdleCount = 0;
        while (!::PeekMessage(&next, nullptr, 0, 0, PM_NOREMOVE) && OnIdle(lIdleCount))
        {
            ++lIdleCount;
        }
        if (!AfxPumpMessage())
        {
            return ExitInstance();
        }
    }
}

BOOL CWinThread::OnIdle(LONG)
{
    AfxDeleteTempMaps();
    return FALSE;
}

int CWinThread::ExitInstance()
{
    const MSG& msg = t_state.currentMsg;
    return msg.message == WM_QUIT ? static_cast<int>(msg.wParam) : 0;
}

CWinThread* AfxGetThread()
{
    return t_state.pThread;
}

CWnd* AfxGetMainWnd()
{
    return t_state.pThread != nullptr ? t_state.pThread->m_pMainWnd : nullptr;
}

MSG* AfxGetCurrentMessage()
{
    return &t_state.currentMsg;
}

BOOL AfxPumpMessage()
{
    if (!::GetMessage(&t_state.currentMsg, nullptr, 0, 0))
    {
        return FALSE;
    }
    const MSG msg = t_state.currentMsg; // a loop inside of a handler writes over the one of the thread
    ::TranslateMessage(&msg);
    ::DispatchMessage(&msg);
    return TRUE;
}

std::wstring AfxResourceString(UINT nID)
{
    LPTSTR lpszText = nullptr; // length 0 asks for the resource itself, which has no terminator
    const int nLength = ::LoadString(AfxGetInstanceHandle(), nID, reinterpret_cast<LPTSTR>(&lpszText), 0);
    return nLength > 0 ? std::wstring(lpszText, static_cast<std::size_t>(nLength)) : std::wstring();
}
