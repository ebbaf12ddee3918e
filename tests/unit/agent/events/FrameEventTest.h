#pragma once

#include "MainFrm.h"

#include "EventTest.h"
#include "FakeProduct.h"

// The frame with its handlers in the test's reach, and what it leaves to the default procedure.
class WatchedFrame : public CMainFrame
{
public:
    using CMainFrame::OnNetworkConnectionLostNotify;
    using CMainFrame::OnNetworkConnectionMadeNoQocNotify;
    using CMainFrame::OnNetworkConnectionMadeNotify;
    using CMainFrame::OnSessionChange;

    struct Message
    {
        WPARAM wParam;
        LPARAM lParam;

        bool operator==(const Message&) const = default;
    };

    std::vector<Message> passedOn; // WM_WTSSESSION_CHANGE alone

protected:
    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;
};

// A frame of a product without a tray, registered with a healthy service.
class FrameEventTest : public EventTest
{
protected:
    FrameEventTest();
    ~FrameEventTest() override;

    FakeProduct product{L"QxSessionAgent.exe"};
    CWinApp app{nullptr};
    WatchedFrame* frame = nullptr;
};
