#include "FrameEventTest.h"

#include <stdexcept>

LRESULT WatchedFrame::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_WTSSESSION_CHANGE)
    {
        passedOn.push_back({wParam, lParam});
    }
    return CMainFrame::DefWindowProc(message, wParam, lParam);
}

FrameEventTest::FrameEventTest()
{
    constexpr UINT frameId = 128;
    constexpr DWORD frameStyle = 0x00CF8000;
    frame = new WatchedFrame;
    app.m_pMainWnd = frame;
    if (!frame->LoadFrame(frameId, frameStyle))
    {
        throw std::runtime_error("the frame does not come up");
    }
    Connect();
    log.Clear();
}

FrameEventTest::~FrameEventTest()
{
    if (app.m_pMainWnd != nullptr)
    {
        app.m_pMainWnd->DestroyWindow();
    }
    MSG quit{}; // the end of the main window
    PeekMessageW(&quit, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE);
}
