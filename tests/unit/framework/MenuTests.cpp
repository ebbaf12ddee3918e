#include "ObjectCounts.h"
#include "TestFrame.h"

#include <gtest/gtest.h>

namespace
{
TEST(MenuTest, LoadsTheResourceAndFindsItsPopup)
{
    CMenu menu;
    ASSERT_TRUE(menu.LoadMenu(IDR_POPUP));
    EXPECT_EQ(menu.GetMenuItemCount(), 1);
    CMenu* popup = menu.GetSubMenu(0);
    ASSERT_NE(popup, nullptr);
    EXPECT_EQ(popup->GetMenuItemCount(), 5);
    EXPECT_EQ(popup->GetMenuItemID(0), static_cast<UINT>(ID_FIRST));
    EXPECT_EQ(popup->GetMenuItemID(2), 0U);
    EXPECT_EQ(popup->GetMenuItemID(3), static_cast<UINT>(-1));
    EXPECT_EQ(popup->GetMenuItemID(9), static_cast<UINT>(-1));
    EXPECT_EQ(popup->GetSubMenu(0), nullptr);
}

TEST(MenuTest, AnswersFalseForAMissingResource)
{
    CMenu menu;
    EXPECT_FALSE(menu.LoadMenu(9999));
    EXPECT_EQ(menu.GetSafeHmenu(), nullptr);
    EXPECT_EQ(menu.GetSubMenu(0), nullptr);
    EXPECT_FALSE(menu.DestroyMenu());
}

TEST(MenuTest, AppendsAndDeletesEntries)
{
    CMenu menu;
    ASSERT_TRUE(menu.CreatePopupMenu());
    EXPECT_TRUE(menu.AppendMenu(MF_STRING, ID_FIRST, L"first"));
    EXPECT_TRUE(menu.AppendMenu(MF_SEPARATOR));
    EXPECT_TRUE(menu.AppendMenu(MF_STRING, ID_SECOND, L"second"));
    EXPECT_TRUE(menu.DeleteMenu(ID_FIRST, MF_BYCOMMAND));
    EXPECT_FALSE(menu.DeleteMenu(ID_FIRST, MF_BYCOMMAND));
    EXPECT_EQ(menu.GetMenuItemCount(), 2);
    EXPECT_EQ(menu.GetMenuItemID(1), static_cast<UINT>(ID_SECOND));
}

TEST(MenuTest, SetsTheDefaultEntryByPositionAndByCommand)
{
    CMenu menu;
    ASSERT_TRUE(menu.LoadMenu(IDR_POPUP));
    CMenu* popup = menu.GetSubMenu(0);
    EXPECT_TRUE(popup->SetDefaultItem(0, TRUE));
    EXPECT_EQ(GetMenuDefaultItem(popup->m_hMenu, FALSE, 0), static_cast<UINT>(ID_FIRST));
    EXPECT_TRUE(popup->SetDefaultItem(ID_THIRD));
    EXPECT_EQ(GetMenuDefaultItem(popup->m_hMenu, TRUE, 0), 4U);
}

TEST(MenuTest, ReadsAndWritesAnEntrysInformation)
{
    CMenu menu;
    ASSERT_TRUE(menu.LoadMenu(IDR_POPUP));
    CMenu* popup = menu.GetSubMenu(0);
    MENUITEMINFOW info{};
    info.cbSize = sizeof info;
    info.fMask = MIIM_STATE;
    info.fState = MFS_CHECKED;
    EXPECT_TRUE(popup->SetMenuItemInfo(ID_SECOND, &info));
    info.fState = 0;
    EXPECT_TRUE(popup->GetMenuItemInfo(1, &info, TRUE));
    EXPECT_EQ(info.fState, static_cast<UINT>(MFS_CHECKED));
    EXPECT_FALSE(popup->GetMenuItemInfo(9999, &info));
}

TEST(MenuTest, AnswersTheStateBefore)
{
    CMenu menu;
    ASSERT_TRUE(menu.LoadMenu(IDR_POPUP));
    CMenu* popup = menu.GetSubMenu(0);
    EXPECT_EQ(popup->EnableMenuItem(0, MF_BYPOSITION | MF_GRAYED), static_cast<UINT>(MF_ENABLED));
    EXPECT_EQ(popup->EnableMenuItem(0, MF_BYPOSITION | MF_ENABLED), static_cast<UINT>(MF_GRAYED));
    EXPECT_EQ(popup->CheckMenuItem(0, MF_BYPOSITION | MF_CHECKED), static_cast<UINT>(MF_UNCHECKED));
    EXPECT_EQ(popup->CheckMenuItem(0, MF_BYPOSITION | MF_UNCHECKED), static_cast<UINT>(MF_CHECKED));
    EXPECT_EQ(popup->EnableMenuItem(9999, MF_ENABLED), static_cast<UINT>(-1));
}

TEST(MenuTest, DestroysWhatItOwns)
{
    HMENU handle = nullptr;
    {
        CMenu menu;
        ASSERT_TRUE(menu.CreatePopupMenu());
        handle = menu.m_hMenu;
        EXPECT_TRUE(IsMenu(handle));
    }
    EXPECT_FALSE(IsMenu(handle));
}

TEST(MenuTest, GivesItsMenuUpAndTakesAnother)
{
    HMENU handle = nullptr;
    {
        CMenu menu;
        ASSERT_TRUE(menu.CreatePopupMenu());
        handle = menu.Detach();
        EXPECT_EQ(menu.m_hMenu, nullptr);
    }
    ASSERT_TRUE(IsMenu(handle));
    CMenu owner;
    EXPECT_TRUE(owner.Attach(handle));
    EXPECT_FALSE(CMenu().Attach(nullptr));
    EXPECT_TRUE(owner.DestroyMenu());
    EXPECT_FALSE(IsMenu(handle));
}

TEST(MenuTest, WrapsAForeignMenuWithoutOwningIt)
{
    const HMENU handle = CreatePopupMenu();
    CMenu* wrapper = CMenu::FromHandle(handle);
    ASSERT_NE(wrapper, nullptr);
    EXPECT_EQ(wrapper->m_hMenu, handle);
    EXPECT_EQ(CMenu::FromHandle(handle), wrapper);
    EXPECT_EQ(CMenu::FromHandle(nullptr), nullptr);

    CTestApp app; // an idle loop frees the wrapper
    PostQuitMessage(0);
    app.OnIdle(0);
    EXPECT_TRUE(IsMenu(handle));
    DestroyMenu(handle);
    QuitIsPosted();
}

TEST(MenuTest, WrapsAHandleAgainAfterItsWrapperDestroyedIt)
{
    CMenu* wrapper = CMenu::FromHandle(CreatePopupMenu());
    const HMENU handle = wrapper->m_hMenu;
    EXPECT_TRUE(wrapper->DestroyMenu());
    EXPECT_EQ(CMenu::FromHandle(handle)->m_hMenu, handle);
}

TEST(MenuTest, LeavesNothingBehind)
{
    EXPECT_EQ(TestSupport::GrowthOf(
                  []
                  {
                      CMenu menu;
                      menu.LoadMenu(IDR_POPUP);
                      menu.GetSubMenu(0)->DeleteMenu(ID_FIRST, MF_BYCOMMAND);
                      CMenu* more = menu.GetSubMenu(0)->GetSubMenu(2);
                      ASSERT_NE(more, nullptr);
                      more->AppendMenu(MF_STRING, ID_FIRST, L"first");
                  },
                  100),
              "");
}
} // namespace
