#include "TestFrame.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{
class CCloserFrame : public CTestFrame
{
public:
    explicit CCloserFrame(UINT message, int exitCode = 0) : m_message(message), m_exitCode(exitCode) {}

private:
    afx_msg int OnCreate(LPCREATESTRUCT lpCreateStruct)
    {
        PostMessage(m_message);
        return CFrameWnd::OnCreate(lpCreateStruct);
    }

    afx_msg LRESULT OnLeave(WPARAM, LPARAM)
    {
        AfxPostQuitMessage(m_exitCode);
        return 0;
    }
    DECLARE_MESSAGE_MAP()

    UINT m_message;
    int m_exitCode;
};

BEGIN_MESSAGE_MAP(CCloserFrame, CTestFrame)
    ON_WM_CREATE()
    ON_MESSAGE(WM_APP, &CCloserFrame::OnLeave)
END_MESSAGE_MAP()

class CRefusingFrame : public CTestFrame
{
    afx_msg int OnCreate(LPCREATESTRUCT) { return -1; }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CRefusingFrame, CTestFrame)
    ON_WM_CREATE()
END_MESSAGE_MAP()

BOOL LoadMainFrame(CTestApp& app, CTestFrame* frame)
{
    app.m_pMainWnd = frame;
    return frame->LoadFrame(IDR_FRAME);
}

class CCountingApp : public CTestApp
{
public:
    BOOL OnIdle(LONG lCount) override
    {
        ++m_idles;
        CTestApp::OnIdle(lCount);
        return lCount < 2;
    }

    int m_idles = 0;
};

TEST(MessageLoopTest, EndsWhenTheMainWindowIsClosed)
{
    CTestApp app;
    app.m_onInit = [](CTestApp& self) { return LoadMainFrame(self, new CCloserFrame(WM_CLOSE)); };
    EXPECT_EQ(AfxWinMain(), 0);
    EXPECT_EQ(app.m_exits, 1);
    EXPECT_EQ(app.m_pMainWnd, nullptr);
}

TEST(MessageLoopTest, ReturnsTheCodeOfTheQuitMessage)
{
    CTestApp app;
    app.m_onInit = [](CTestApp& self) { return LoadMainFrame(self, new CCloserFrame(WM_APP, 5)); };
    EXPECT_EQ(AfxWinMain(), 5);
    EXPECT_EQ(app.m_exits, 1);
    app.m_pMainWnd->DestroyWindow();
}

TEST(MessageLoopTest, EndsAtOnceWhenTheFrameFails)
{
    CTestApp app;
    app.m_onInit = [](CTestApp& self) -> BOOL
    {
        LoadMainFrame(self, new CRefusingFrame);
        return TRUE; // as a program that looks at nothing
    };
    EXPECT_EQ(AfxWinMain(), 0);
    EXPECT_EQ(app.m_exits, 1);
}

TEST(MessageLoopTest, EndsAtOnceWithoutAMainWindow)
{
    CTestApp app;
    EXPECT_EQ(AfxWinMain(), 0);
    EXPECT_EQ(app.m_exits, 1);
}

TEST(MessageLoopTest, NeverStartsWhenInitInstanceFails)
{
    CTestApp app;
    app.m_onInit = [](CTestApp&) -> BOOL { return FALSE; };
    EXPECT_EQ(AfxWinMain(), 0);
    EXPECT_EQ(app.m_exits, 1);
}

TEST(MessageLoopTest, DestroysTheMainWindowWhenInitInstanceFails)
{
    static bool s_gone;
    s_gone = false;
    CTestApp app;
    app.m_onInit = [](CTestApp& self) -> BOOL
    {
        LoadMainFrame(self, new CTestFrame(&s_gone));
        return FALSE;
    };
    EXPECT_EQ(AfxWinMain(), 0);
    EXPECT_TRUE(s_gone);
    EXPECT_EQ(app.m_exits, 1);
    QuitIsPosted();
}

TEST(MessageLoopTest, LetsAnExceptionOutOfInitInstance)
{
    CTestApp app;
    app.m_onInit = [](CTestApp&) -> BOOL { throw new std::runtime_error("thrown as a pointer"); };
    try
    {
        AfxWinMain();
        FAIL() << "the exception was swallowed";
    }
    catch (const std::runtime_error* exception)
    {
        EXPECT_STREQ(exception->what(), "thrown as a pointer");
        delete exception;
    }
}

TEST(MessageLoopTest, RunsIdleWorkOnceTheQueueIsEmpty)
{
    CCountingApp app;
    app.m_onInit = [](CTestApp& self)
    {
        auto* frame = new CCloserFrame(WM_NULL);
        const BOOL loaded = LoadMainFrame(self, frame);
        frame->SetTimer(1, 1,
                        [](HWND window, UINT, UINT_PTR, DWORD) { ::PostMessageW(window, WM_CLOSE, 0, 0); });
        return loaded;
    };
    EXPECT_EQ(AfxWinMain(), 0);
    EXPECT_GE(app.m_idles, 3);
}

TEST(MessageLoopTest, AnswersMinusOneWithoutAnApplication)
{
    EXPECT_EQ(AfxWinMain(), -1);
}
} // namespace
