#pragma once

#include <afxwin.h>

#include "resource.h"

// An application object that counts; one at a time.
class CTestApp : public CWinApp
{
public:
    CTestApp() : CWinApp(L"Framework tests") {}

    BOOL InitInstance() override { return m_onInit ? m_onInit(*this) : TRUE; }

    int ExitInstance() override
    {
        ++m_exits;
        return CWinApp::ExitInstance();
    }

    BOOL (*m_onInit)(CTestApp& app) = nullptr;
    int m_exits = 0;
};

// A frame that tells when it is gone.
class CTestFrame : public CFrameWnd
{
public:
    explicit CTestFrame(bool* gone = nullptr) : m_gone(gone) {}

    ~CTestFrame() override
    {
        if (m_gone != nullptr)
        {
            *m_gone = true;
        }
    }

private:
    bool* m_gone;
};

// Takes the WM_QUIT that is posted, if one is.
inline bool QuitIsPosted()
{
    MSG msg{};
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE))
    {
        if (msg.message == WM_QUIT)
        {
            return true;
        }
        DispatchMessageW(&msg);
    }
    return false;
}
