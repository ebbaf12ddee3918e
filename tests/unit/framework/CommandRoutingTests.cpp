#include "TestFrame.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace
{
std::vector<std::string> s_calls;

class CRoutingApp : public CTestApp
{
    afx_msg void OnSecond() { s_calls.emplace_back("app second"); }

    afx_msg void OnThird() { s_calls.emplace_back("app third"); }

    afx_msg void OnUpdateThird(CCmdUI* pCmdUI)
    {
        s_calls.emplace_back("app update third");
        pCmdUI->Enable(FALSE);
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CRoutingApp, CTestApp)
    ON_COMMAND(ID_SECOND, &CRoutingApp::OnSecond)
    ON_COMMAND(ID_THIRD, &CRoutingApp::OnThird)
    ON_UPDATE_COMMAND_UI(ID_THIRD, &CRoutingApp::OnUpdateThird)
END_MESSAGE_MAP()

class CRoutingFrame : public CTestFrame
{
public:
    BOOL OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pHandlerInfo) override
    {
        m_lastCode = nCode;
        m_lastExtra = static_cast<CCmdUI*>(pExtra);
        m_lastMenu = nCode == CN_UPDATE_COMMAND_UI && pExtra != nullptr ? m_lastExtra->m_pMenu : nullptr;
        return CTestFrame::OnCmdMsg(nID, nCode, pExtra, pHandlerInfo);
    }

    int m_lastCode = -2;
    CCmdUI* m_lastExtra = nullptr;
    CMenu* m_lastMenu = nullptr;

private:
    afx_msg void OnFirst() { s_calls.emplace_back("frame first"); }

    afx_msg void OnSecond() { s_calls.emplace_back("frame second"); }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CRoutingFrame, CTestFrame)
    ON_COMMAND(ID_FIRST, &CRoutingFrame::OnFirst)
    ON_COMMAND(ID_SECOND, &CRoutingFrame::OnSecond)
END_MESSAGE_MAP()

class CommandRoutingTest : public testing::Test
{
protected:
    void SetUp() override
    {
        s_calls.clear();
        m_frame = new CRoutingFrame;
        ASSERT_TRUE(m_frame->LoadFrame(IDR_FRAME));
    }

    void TearDown() override { m_frame->DestroyWindow(); }

    CRoutingApp m_app;
    CRoutingFrame* m_frame = nullptr;
};

TEST_F(CommandRoutingTest, RunsTheFramesHandler)
{
    EXPECT_TRUE(m_frame->OnCmdMsg(ID_FIRST, CN_COMMAND, nullptr, nullptr));
    EXPECT_EQ(s_calls, std::vector<std::string>{"frame first"});
}

TEST_F(CommandRoutingTest, AsksTheFrameBeforeTheApplication)
{
    EXPECT_TRUE(m_frame->OnCmdMsg(ID_SECOND, CN_COMMAND, nullptr, nullptr));
    EXPECT_EQ(s_calls, std::vector<std::string>{"frame second"});
}

TEST_F(CommandRoutingTest, GoesOnToTheApplication)
{
    EXPECT_TRUE(m_frame->OnCmdMsg(ID_THIRD, CN_COMMAND, nullptr, nullptr));
    EXPECT_EQ(s_calls, std::vector<std::string>{"app third"});
}

TEST_F(CommandRoutingTest, AnswersFalseForAnUnknownCommand)
{
    EXPECT_FALSE(m_frame->OnCmdMsg(1, CN_COMMAND, nullptr, nullptr));
    EXPECT_TRUE(s_calls.empty());
}

TEST_F(CommandRoutingTest, AnswersFalseForAnotherCode)
{
    EXPECT_FALSE(m_frame->OnCmdMsg(ID_FIRST, EN_CHANGE, nullptr, nullptr));
    EXPECT_TRUE(s_calls.empty());
}

TEST_F(CommandRoutingTest, RunsTheHandlerOfTheUpdateForm)
{
    CCmdUI state;
    state.m_nID = ID_THIRD;
    EXPECT_TRUE(m_frame->OnCmdMsg(ID_THIRD, CN_UPDATE_COMMAND_UI, &state, nullptr));
    EXPECT_EQ(s_calls, std::vector<std::string>{"app update third"});
    EXPECT_TRUE(state.m_bEnableChanged);
}

TEST_F(CommandRoutingTest, AnswersFalseForTheUpdateFormOfACommandWithoutOne)
{
    CCmdUI state;
    EXPECT_FALSE(m_frame->OnCmdMsg(ID_FIRST, CN_UPDATE_COMMAND_UI, &state, nullptr));
    EXPECT_TRUE(s_calls.empty());
}

TEST_F(CommandRoutingTest, NamesTheHandlerWithoutRunningIt)
{
    AFX_CMDHANDLERINFO info{};
    EXPECT_TRUE(m_frame->OnCmdMsg(ID_FIRST, CN_COMMAND, nullptr, &info));
    EXPECT_EQ(info.pTarget, m_frame);
    EXPECT_TRUE(m_frame->OnCmdMsg(ID_THIRD, CN_COMMAND, nullptr, &info));
    EXPECT_EQ(info.pTarget, &m_app);
    EXPECT_TRUE(s_calls.empty());
}

TEST_F(CommandRoutingTest, NamesNobodyForAnUnknownCommand)
{
    AFX_CMDHANDLERINFO info{};
    EXPECT_FALSE(m_frame->OnCmdMsg(1, CN_COMMAND, nullptr, &info));
    EXPECT_EQ(info.pTarget, nullptr);
}

TEST_F(CommandRoutingTest, AsksWithoutAMenuBeforeACommandRuns)
{
    m_frame->SendMessage(WM_COMMAND, MAKEWPARAM(1, 0));
    EXPECT_EQ(m_frame->m_lastCode, CN_COMMAND);
    m_frame->m_lastMenu = reinterpret_cast<CMenu*>(1);
    m_frame->SendMessage(WM_COMMAND, MAKEWPARAM(ID_THIRD, 0)); // ends with the question: it is disabled
    EXPECT_EQ(m_frame->m_lastCode, CN_UPDATE_COMMAND_UI);
    EXPECT_EQ(m_frame->m_lastMenu, nullptr);
}

TEST_F(CommandRoutingTest, DoesNotRunADisabledCommand)
{
    EXPECT_EQ(m_frame->SendMessage(WM_COMMAND, ID_THIRD), 1);
    EXPECT_EQ(s_calls, std::vector<std::string>{"app update third"});
}

TEST_F(CommandRoutingTest, DropsTheHighWordOfACommandWithoutAControl)
{
    m_frame->SendMessage(WM_COMMAND, MAKEWPARAM(ID_FIRST, 77));
    EXPECT_EQ(m_frame->m_lastCode, CN_COMMAND);
    EXPECT_EQ(s_calls, std::vector<std::string>{"frame first"});
}

TEST_F(CommandRoutingTest, PassesTheCodeOfAControlOn)
{
    m_frame->SendMessage(WM_COMMAND, MAKEWPARAM(ID_FIRST, EN_CHANGE),
                         reinterpret_cast<LPARAM>(m_frame->m_hWnd));
    EXPECT_EQ(m_frame->m_lastCode, EN_CHANGE);
    EXPECT_TRUE(s_calls.empty());
}

TEST_F(CommandRoutingTest, LeavesAnUnhandledCommandAndIdZeroToTheSystem)
{
    EXPECT_EQ(m_frame->SendMessage(WM_COMMAND, 1), 0);
    m_frame->m_lastCode = -2;
    EXPECT_EQ(m_frame->SendMessage(WM_COMMAND, 0), 0);
    EXPECT_EQ(m_frame->m_lastCode, -2);
}

TEST_F(CommandRoutingTest, ReachesTheApplicationFromItsOwnThreadOnly)
{
    EXPECT_EQ(AfxGetThread(), &m_app);
    EXPECT_EQ(AfxGetApp(), &m_app);
}
} // namespace
