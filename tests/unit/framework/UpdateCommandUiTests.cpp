#include "TestFrame.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
// Notes every question and answers as it is told.
class CAskedFrame : public CTestFrame
{
public:
    BOOL OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pHandlerInfo) override
    {
        if (pHandlerInfo != nullptr)
        {
            m_questions.push_back("who runs " + std::to_string(nID));
            return CTestFrame::OnCmdMsg(nID, nCode, pExtra, pHandlerInfo);
        }
        if (nCode != CN_UPDATE_COMMAND_UI)
        {
            return CTestFrame::OnCmdMsg(nID, nCode, pExtra, pHandlerInfo);
        }
        auto* state = static_cast<CCmdUI*>(pExtra);
        m_questions.push_back("state of " + std::to_string(nID) + " at " + std::to_string(state->m_nIndex) +
                              " of " + std::to_string(state->m_nIndexMax) +
                              (state->m_pSubMenu != nullptr ? " popup" : ""));
        if (nID == m_claimed)
        {
            state->SetCheck(m_check);
            state->Enable(m_enable);
        }
        return nID == m_claimed || nID == m_handledWithoutEnable;
    }

    UINT m_claimed = 0;
    int m_check = 0;
    BOOL m_enable = TRUE;
    UINT m_handledWithoutEnable = 0;
    std::vector<std::string> m_questions;
    bool m_greyedWhenOpen = false;

private:
    afx_msg void OnThird() {}

    // The timer runs while the menu is open.
    afx_msg void OnTimer(UINT_PTR)
    {
        m_greyedWhenOpen = m_questions.size() > 3;
        EndMenu();
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CAskedFrame, CTestFrame)
    ON_WM_TIMER()
    ON_COMMAND(ID_THIRD, &CAskedFrame::OnThird)
END_MESSAGE_MAP()

class UpdateCommandUiTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_frame = new CAskedFrame;
        ASSERT_TRUE(m_frame->LoadFrame(IDR_FRAME));
        ASSERT_TRUE(m_menu.LoadMenu(IDR_POPUP));
        m_popup = m_menu.GetSubMenu(0);
        ASSERT_NE(m_popup, nullptr);
    }

    void TearDown() override { m_frame->DestroyWindow(); }

    void Open(BOOL bSysMenu = FALSE)
    {
        m_frame->SendMessage(WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(m_popup->m_hMenu),
                             MAKELPARAM(0, bSysMenu));
    }

    UINT StateAt(UINT position) const
    {
        return GetMenuState(m_popup->m_hMenu, position, MF_BYPOSITION) & 0xFF;
    }

    CTestApp m_app;
    CAskedFrame* m_frame = nullptr;
    CMenu m_menu;
    CMenu* m_popup = nullptr;
};

using Questions = std::vector<std::string>;

TEST_F(UpdateCommandUiTest, AsksForEachEntryAndForAPopupByItsFirst)
{
    m_frame->m_claimed = ID_FIRST;
    Open();
    EXPECT_EQ(m_frame->m_questions,
              (Questions{"state of 33000 at 0 of 5", "state of 33001 at 1 of 5", "who runs 33001",
                         "state of 33010 at 3 of 5 popup", "state of 33002 at 4 of 5", "who runs 33002"}));
}

TEST_F(UpdateCommandUiTest, GreysWhatNobodyClaims)
{
    Open();
    EXPECT_EQ(StateAt(0), static_cast<UINT>(MF_GRAYED));
    EXPECT_EQ(StateAt(1), static_cast<UINT>(MF_GRAYED));
}

TEST_F(UpdateCommandUiTest, LeavesWhatSomebodyWouldRun)
{
    Open();
    EXPECT_EQ(StateAt(4), static_cast<UINT>(MF_ENABLED));
}

TEST_F(UpdateCommandUiTest, EnablesAgainWhatWasGreyed)
{
    m_popup->EnableMenuItem(ID_THIRD, MF_BYCOMMAND | MF_GRAYED);
    Open();
    EXPECT_EQ(StateAt(4), static_cast<UINT>(MF_ENABLED));
}

TEST_F(UpdateCommandUiTest, TakesTheClaimedStateAndCheckMark)
{
    m_frame->m_claimed = ID_FIRST;
    m_frame->m_check = 1;
    Open();
    EXPECT_EQ(StateAt(0), static_cast<UINT>(MF_CHECKED));
    m_frame->m_check = 0;
    m_frame->m_enable = FALSE;
    Open();
    EXPECT_EQ(StateAt(0), static_cast<UINT>(MF_GRAYED));
}

TEST_F(UpdateCommandUiTest, GreysWhatIsHandledWithoutBeingEnabled)
{
    m_frame->m_handledWithoutEnable = ID_FIRST;
    Open();
    EXPECT_EQ(StateAt(0), static_cast<UINT>(MF_GRAYED));
}

TEST_F(UpdateCommandUiTest, NeverTouchesAPopupsOwnEntry)
{
    m_frame->m_claimed = ID_IN_SUBMENU;
    m_frame->m_check = 1;
    m_frame->m_enable = FALSE;
    const UINT before = StateAt(3);
    Open();
    EXPECT_EQ(StateAt(3), before);
}

TEST_F(UpdateCommandUiTest, LeavesTheSystemMenuAlone)
{
    Open(TRUE);
    EXPECT_TRUE(m_frame->m_questions.empty());
    EXPECT_EQ(StateAt(0), static_cast<UINT>(MF_ENABLED));
}

TEST_F(UpdateCommandUiTest, LeavesCommandsOfTheSystemAlone)
{
    CMenu menu;
    ASSERT_TRUE(menu.CreatePopupMenu());
    menu.AppendMenu(MF_STRING, SC_CLOSE, L"close");
    m_frame->SendMessage(WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(menu.m_hMenu));
    EXPECT_EQ(GetMenuState(menu.m_hMenu, 0, MF_BYPOSITION), static_cast<UINT>(MF_ENABLED));
}

TEST_F(UpdateCommandUiTest, SurvivesWhatIsNoMenu)
{
    m_frame->SendMessage(WM_INITMENUPOPUP, 0);
    m_frame->SendMessage(WM_INITMENUPOPUP, 0x12345);
    EXPECT_TRUE(m_frame->m_questions.empty());
}

TEST_F(UpdateCommandUiTest, GreysInAPopupThatTheUserOpens)
{
    m_frame->SetTimer(1, 20, nullptr);
    m_popup->TrackPopupMenu(0, 10, 10, m_frame);
    EXPECT_TRUE(m_frame->m_greyedWhenOpen);
    EXPECT_EQ(StateAt(0), static_cast<UINT>(MF_GRAYED));
    EXPECT_EQ(StateAt(4), static_cast<UINT>(MF_ENABLED));
}

TEST_F(UpdateCommandUiTest, AnswersWhetherTheQuestionWasHandled)
{
    CCmdUI state;
    state.m_nID = ID_FIRST;
    EXPECT_FALSE(state.DoUpdate(m_frame, FALSE));
    EXPECT_FALSE(state.m_bEnableChanged);
    m_frame->m_claimed = ID_FIRST;
    EXPECT_TRUE(state.DoUpdate(m_frame, FALSE));
    EXPECT_TRUE(state.m_bEnableChanged);
}
} // namespace
