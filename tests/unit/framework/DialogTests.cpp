#include "ObjectCounts.h"
#include "TestFrame.h"
#include "WaitUntil.h"

#include <afxdialogex.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace
{
class CNotice : public CDialogEx
{
public:
    ~CNotice() override { ++s_gone; }

    BOOL OnInitDialog() override
    {
        ++m_inits;
        m_text = GetDlgItem(m_hWnd, IDC_TEXT);
        m_visibleAtInit = IsWindowVisible(m_hWnd);
        return CDialogEx::OnInitDialog();
    }

    int m_inits = 0;
    int m_colours = 0;
    int m_paints = 0;
    HWND m_text = nullptr;
    BOOL m_visibleAtInit = TRUE;

    static inline int s_gone = 0;

private:
    afx_msg void OnPaint()
    {
        ++m_paints;
        CDialogEx::OnPaint();
    }

    afx_msg HBRUSH OnCtlColor(CDC* pDC, CWnd*, UINT)
    {
        ++m_colours;
        pDC->SetBkMode(TRANSPARENT);
        return static_cast<HBRUSH>(GetStockObject(NULL_BRUSH));
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CNotice, CDialogEx)
    ON_WM_PAINT()
    ON_WM_CTLCOLOR()
END_MESSAGE_MAP()

TEST(DialogTest, ComesFromItsTemplateWithItsControls)
{
    CNotice notice;
    ASSERT_TRUE(notice.Create(IDD_NOTICE, nullptr));
    EXPECT_EQ(notice.m_inits, 1);
    EXPECT_NE(notice.m_text, nullptr);
    EXPECT_FALSE(notice.m_visibleAtInit);
    EXPECT_EQ(CWnd::FromHandlePermanent(notice.m_hWnd), &notice);
    EXPECT_FALSE(IsWindowVisible(notice.m_hWnd));
}

TEST(DialogTest, AnswersFalseForAMissingTemplate)
{
    CNotice notice;
    EXPECT_FALSE(notice.Create(9999));
    EXPECT_EQ(notice.m_hWnd, nullptr);
    EXPECT_EQ(notice.RunModalLoop(), -1);
    CNotice next;
    EXPECT_TRUE(next.Create(IDD_NOTICE));
}

TEST(DialogTest, IsOwnedByTheParentOrTheMainWindow)
{
    CTestApp app;
    auto* main = new CTestFrame;
    app.m_pMainWnd = main;
    ASSERT_TRUE(main->LoadFrame(IDR_FRAME));
    auto* parent = new CTestFrame;
    ASSERT_TRUE(parent->LoadFrame(IDR_FRAME));
    {
        CNotice notice;
        ASSERT_TRUE(notice.Create(IDD_NOTICE));
        EXPECT_EQ(GetWindow(notice.m_hWnd, GW_OWNER), main->m_hWnd);
        CNotice other;
        ASSERT_TRUE(other.Create(IDD_NOTICE, parent));
        EXPECT_EQ(GetWindow(other.m_hWnd, GW_OWNER), parent->m_hWnd);
    }
    parent->DestroyWindow();
    main->DestroyWindow();
    QuitIsPosted();
}

TEST(DialogTest, PaintsThroughItsMap)
{
    CNotice notice;
    ASSERT_TRUE(notice.Create(IDD_NOTICE));
    notice.ShowWindow(SW_SHOWNORMAL);
    ASSERT_TRUE(TestSupport::PumpMessagesUntil([&] { return notice.m_paints > 0 && notice.m_colours > 0; }));
}

TEST(DialogTest, EndsItsModalLoopWithTheResult)
{
    CNotice notice;
    ASSERT_TRUE(notice.Create(IDD_NOTICE));
    notice.PostMessage(WM_COMMAND, IDOK);
    EXPECT_EQ(notice.RunModalLoop(), IDOK);
    EXPECT_FALSE(notice.ContinueModal());
    EXPECT_TRUE(IsWindow(notice.m_hWnd)); // ended, not destroyed
    notice.PostMessage(WM_COMMAND, IDCANCEL);
    EXPECT_EQ(notice.RunModalLoop(), IDCANCEL);
}

TEST(DialogTest, EndsItsModalLoopOnWmCloseFromAnotherThread)
{
    CNotice::s_gone = 0;
    std::atomic<HWND> window = nullptr;
    int result = 0;
    std::thread owner(
        [&]
        {
            auto notice = std::make_unique<CNotice>();
            notice->Create(IDD_NOTICE, nullptr);
            notice->ModifyStyleEx(WS_EX_APPWINDOW, WS_EX_TOOLWINDOW);
            notice->ShowWindow(SW_SHOWNORMAL);
            window = notice->m_hWnd;
            result = notice->RunModalLoop();
        });
    ASSERT_TRUE(TestSupport::WaitUntil([&] { return window != nullptr; }));
    EXPECT_EQ(::SendMessageW(window, WM_CLOSE, 0, 0), 0);
    owner.join();
    EXPECT_EQ(result, IDCANCEL);
    EXPECT_EQ(CNotice::s_gone, 1);
    EXPECT_FALSE(IsWindow(window));
}

TEST(DialogTest, EndsItsModalLoopWhenItsWindowIsDestroyed)
{
    CNotice notice;
    ASSERT_TRUE(notice.Create(IDD_NOTICE));

    // By a sent message, which the loop itself does not see.
    class CKiller : public CWnd
    {
    public:
        CWnd* m_victim = nullptr;

    protected:
        LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
        {
            if (message == WM_APP)
            {
                m_victim->DestroyWindow();
            }
            return CWnd::WindowProc(message, wParam, lParam);
        }
    } killer;

    killer.m_victim = &notice;
    ASSERT_TRUE(killer.CreateEx(0, AfxRegisterWndClass(0), L"", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr));
    std::thread sender([window = killer.m_hWnd] { ::SendMessageW(window, WM_APP, 0, 0); });
    EXPECT_EQ(notice.RunModalLoop(), -1);
    sender.join();
    EXPECT_EQ(notice.m_hWnd, nullptr);
}

TEST(DialogTest, LeavesAQuitToTheOuterLoop)
{
    CNotice notice;
    ASSERT_TRUE(notice.Create(IDD_NOTICE));
    PostQuitMessage(6);
    EXPECT_EQ(notice.RunModalLoop(), -1);
    EXPECT_FALSE(AfxPumpMessage());
    EXPECT_EQ(AfxGetCurrentMessage()->wParam, 6U);
}

TEST(DialogTest, LeavesNothingBehind)
{
    EXPECT_EQ(TestSupport::GrowthOf(
                  []
                  {
                      auto notice = std::make_unique<CNotice>();
                      notice->Create(IDD_NOTICE, nullptr);
                      notice->PostMessage(WM_CLOSE);
                      EXPECT_EQ(notice->RunModalLoop(), IDCANCEL);
                  },
                  100),
              "");
}
} // namespace
