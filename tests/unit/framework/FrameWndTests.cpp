#include "ObjectCounts.h"
#include "TestFrame.h"
#include "UniqueName.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
const UINT s_uBroadcast = RegisterWindowMessageW(TestSupport::UniqueName(L"FrameWndTests").c_str());

class CRefusingFrame : public CTestFrame
{
public:
    using CTestFrame::CTestFrame;

protected:
    afx_msg int OnCreate(LPCREATESTRUCT lpCreateStruct)
    {
        return CFrameWnd::OnCreate(lpCreateStruct) == -1 ? 0 : -1;
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CRefusingFrame, CTestFrame)
    ON_WM_CREATE()
END_MESSAGE_MAP()

class CPlainFrame : public CTestFrame
{
public:
    explicit CPlainFrame(bool allowed = true) : m_allowed(allowed) {}

    int m_broadcasts = 0;

protected:
    // As programs do whose window is never seen.
    BOOL PreCreateWindow(CREATESTRUCT& cs) override
    {
        if (!m_allowed || !CFrameWnd::PreCreateWindow(cs))
        {
            return FALSE;
        }
        cs.dwExStyle &= ~static_cast<DWORD>(WS_EX_CLIENTEDGE);
        cs.lpszClass = AfxRegisterWndClass(0);
        return TRUE;
    }

    afx_msg LRESULT OnBroadcast(WPARAM, LPARAM) { return ++m_broadcasts; }
    DECLARE_MESSAGE_MAP()

private:
    bool m_allowed;
};

BEGIN_MESSAGE_MAP(CPlainFrame, CTestFrame)
    ON_REGISTERED_MESSAGE(s_uBroadcast, &CPlainFrame::OnBroadcast)
END_MESSAGE_MAP()

std::wstring TextOf(HWND window)
{
    wchar_t text[64] = {};
    GetWindowTextW(window, text, 64);
    return text;
}

std::wstring ClassOf(HWND window)
{
    wchar_t text[128] = {};
    GetClassNameW(window, text, 128);
    return text;
}

class FrameWndTest : public testing::Test
{
protected:
    CTestApp m_app;
};

TEST_F(FrameWndTest, LoadsAHiddenTopLevelWindow)
{
    auto* frame = new CTestFrame;
    ASSERT_TRUE(frame->LoadFrame(IDR_FRAME, 0x00CF8000, nullptr, nullptr));
    EXPECT_FALSE(IsWindowVisible(frame->m_hWnd));
    EXPECT_EQ(GetAncestor(frame->m_hWnd, GA_PARENT), GetDesktopWindow());
    EXPECT_EQ(GetWindow(frame->m_hWnd, GW_OWNER), nullptr);
    EXPECT_EQ(GetWindowLongW(frame->m_hWnd, GWL_STYLE) & WS_OVERLAPPEDWINDOW, WS_OVERLAPPEDWINDOW);
    frame->DestroyWindow();
}

TEST_F(FrameWndTest, TakesTheFirstLineOfTheStringForItsTitle)
{
    auto* frame = new CTestFrame;
    ASSERT_TRUE(frame->LoadFrame(IDR_FRAME));
    EXPECT_EQ(TextOf(frame->m_hWnd), L"Test frame");
    frame->DestroyWindow();

    frame = new CTestFrame;
    ASSERT_TRUE(frame->LoadFrame(IDR_FRAME_WITHOUT_ICON));
    EXPECT_EQ(TextOf(frame->m_hWnd), L"Plain frame");
    frame->DestroyWindow();

    frame = new CTestFrame;
    ASSERT_TRUE(frame->LoadFrame(9999));
    EXPECT_EQ(TextOf(frame->m_hWnd), L"");
    frame->DestroyWindow();
}

TEST_F(FrameWndTest, TakesTheIconOfTheResource)
{
    auto* frame = new CTestFrame;
    ASSERT_TRUE(frame->LoadFrame(IDR_FRAME));
    EXPECT_EQ(GetClassLongPtrW(frame->m_hWnd, GCLP_HICON),
              reinterpret_cast<ULONG_PTR>(m_app.LoadIcon(IDR_FRAME)));
    frame->DestroyWindow();

    frame = new CTestFrame;
    ASSERT_TRUE(frame->LoadFrame(IDR_FRAME_WITHOUT_ICON));
    EXPECT_EQ(GetClassLongPtrW(frame->m_hWnd, GCLP_HICON), 0U);
    EXPECT_EQ(m_app.LoadIcon(IDR_FRAME_WITHOUT_ICON), nullptr);
    frame->DestroyWindow();
}

TEST_F(FrameWndTest, LetsPreCreateWindowChooseClassAndStyle)
{
    auto* frame = new CPlainFrame;
    ASSERT_TRUE(frame->LoadFrame(IDR_FRAME));
    EXPECT_EQ(ClassOf(frame->m_hWnd), AfxRegisterWndClass(0));
    EXPECT_EQ(GetWindowLongW(frame->m_hWnd, GWL_EXSTYLE) & WS_EX_CLIENTEDGE, 0);
    frame->DestroyWindow();

    auto* edged = new CTestFrame;
    ASSERT_TRUE(edged->LoadFrame(IDR_FRAME));
    EXPECT_NE(GetWindowLongW(edged->m_hWnd, GWL_EXSTYLE) & WS_EX_CLIENTEDGE, 0);
    edged->DestroyWindow();
}

TEST_F(FrameWndTest, HearsBroadcasts)
{
    auto* frame = new CPlainFrame;
    ASSERT_TRUE(frame->LoadFrame(IDR_FRAME));
    ASSERT_TRUE(::PostMessageW(HWND_BROADCAST, s_uBroadcast, 0, 0));
    while (frame->m_broadcasts == 0)
    {
        ASSERT_TRUE(AfxPumpMessage());
    }
    frame->DestroyWindow();
}

TEST_F(FrameWndTest, DeletesItselfWithItsWindow)
{
    bool gone = false;
    auto* frame = new CTestFrame(&gone);
    ASSERT_TRUE(frame->LoadFrame(IDR_FRAME));
    EXPECT_TRUE(frame->DestroyWindow());
    EXPECT_TRUE(gone);
}

TEST_F(FrameWndTest, ClearsTheMainWindowAndPostsQuitWhenItIsTheMainWindow)
{
    auto* other = new CTestFrame;
    ASSERT_TRUE(other->LoadFrame(IDR_FRAME));
    auto* frame = new CTestFrame;
    m_app.m_pMainWnd = frame;
    ASSERT_TRUE(frame->LoadFrame(IDR_FRAME));
    other->DestroyWindow();
    EXPECT_EQ(AfxGetMainWnd(), frame);
    EXPECT_FALSE(QuitIsPosted());
    frame->DestroyWindow();
    EXPECT_EQ(m_app.m_pMainWnd, nullptr);
    EXPECT_TRUE(QuitIsPosted());
}

TEST_F(FrameWndTest, ClearsTheMainWindowAndPostsQuitWhenOnCreateFails)
{
    bool gone = false;
    auto* frame = new CRefusingFrame(&gone);
    m_app.m_pMainWnd = frame;
    EXPECT_FALSE(frame->LoadFrame(IDR_FRAME));
    EXPECT_TRUE(gone);
    EXPECT_EQ(m_app.m_pMainWnd, nullptr);
    EXPECT_TRUE(QuitIsPosted());
}

TEST_F(FrameWndTest, ClearsTheMainWindowAndPostsQuitWhenNoWindowIsEverMade)
{
    auto* frame = new CPlainFrame(false);
    m_app.m_pMainWnd = frame;
    EXPECT_FALSE(frame->LoadFrame(IDR_FRAME));
    EXPECT_EQ(m_app.m_pMainWnd, nullptr);
    EXPECT_TRUE(QuitIsPosted());
}

TEST_F(FrameWndTest, ClosesByDestroyingItself)
{
    bool gone = false;
    auto* frame = new CTestFrame(&gone);
    m_app.m_pMainWnd = frame;
    ASSERT_TRUE(frame->LoadFrame(IDR_FRAME));
    frame->SendMessage(WM_CLOSE);
    EXPECT_TRUE(gone);
    EXPECT_TRUE(QuitIsPosted());
}

TEST_F(FrameWndTest, AllowsTheEndOfTheSession)
{
    auto* frame = new CTestFrame;
    ASSERT_TRUE(frame->LoadFrame(IDR_FRAME));
    EXPECT_EQ(frame->SendMessage(WM_QUERYENDSESSION), TRUE);
    frame->DestroyWindow();
}

TEST_F(FrameWndTest, EndsTheApplicationAtTheEndOfTheSessionWhileItStands)
{
    auto* frame = new CTestFrame;
    m_app.m_pMainWnd = frame;
    ASSERT_TRUE(frame->LoadFrame(IDR_FRAME));
    frame->SendMessage(WM_ENDSESSION, FALSE);
    EXPECT_EQ(m_app.m_exits, 0);
    frame->SendMessage(WM_ENDSESSION, TRUE);
    EXPECT_EQ(m_app.m_exits, 1);
    EXPECT_TRUE(IsWindow(frame->m_hWnd));
    EXPECT_EQ(m_app.m_pMainWnd, frame);
    frame->DestroyWindow();
}

TEST_F(FrameWndTest, LeavesTheApplicationAloneWhenItIsNotTheMainWindow)
{
    auto* frame = new CTestFrame;
    ASSERT_TRUE(frame->LoadFrame(IDR_FRAME));
    frame->SendMessage(WM_ENDSESSION, TRUE);
    EXPECT_EQ(m_app.m_exits, 0);
    frame->DestroyWindow();
}

TEST_F(FrameWndTest, LeavesNothingBehind)
{
    EXPECT_EQ(TestSupport::GrowthOf(
                  [this]
                  {
                      auto* frame = new CTestFrame;
                      m_app.m_pMainWnd = frame;
                      frame->LoadFrame(IDR_FRAME);
                      frame->DestroyWindow();
                      (new CRefusingFrame)->LoadFrame(IDR_FRAME);
                      QuitIsPosted();
                  },
                  100),
              "");
}
} // namespace
