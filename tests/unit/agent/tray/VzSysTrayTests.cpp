// The menu of the profile in the tray's menu.
#include "VzSysTray.h"

#include "ProfileParser.h"
#include "ScarceMemory.h"
#include "SystemTrayScene.h"
#include "resource.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

class VzSysTrayTest : public testing::Test
{
protected:
    VzSysTrayTest()
    {
        auto root = std::make_unique<MenuNode>();
        root->id = 32790;
        root->type = L"string";
        root->text = L"Console";
        CProfileParser::Instance().m_pMenuRoot = std::move(root);
    }

    ~VzSysTrayTest() override { CProfileParser::Instance().m_pMenuRoot.reset(); }

    TestSupport::LogCapture log;
    TargetWindow target;
    TrayScene scene;
    CVzSysTray tray;
};

TEST_F(VzSysTrayTest, ShowsTheEntriesOfTheProfileInPlaceOfTheResources)
{
    tray.ShowTrayMenu(&target);
    EXPECT_THAT(g_items, ElementsAre(ElementsAre(32790U)));
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(VzSysTrayTest, LogsThatThereIsNoMenu)
{
    tray.CustomizeMenu(nullptr);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] pMenu is NULL"));
}

TEST_F(VzSysTrayTest, GoesOnWithoutThePlaceHolder)
{
    CMenu menu;
    ASSERT_TRUE(menu.CreatePopupMenu());
    SetLastError(0);
    tray.CustomizeMenu(&menu);
    ASSERT_EQ(log.Texts().size(), 2U);
    EXPECT_EQ(log.Texts()[0], L": [ERROR] Can't delete place_holder menu item.");
    EXPECT_TRUE(log.Texts()[1].starts_with(L": [ERROR] CMenu::DeleteMenu GetLastError="));
    EXPECT_EQ(GetMenuItemCount(menu.GetSafeHmenu()), 1);
}

TEST_F(VzSysTrayTest, ShowsWhatTheMenuHoldsWhenMemoryRunsOut)
{
    CMenu menu;
    ASSERT_TRUE(menu.CreatePopupMenu());
    menu.AppendMenu(MF_STRING, ID_TRAY_PLACE_HOLDER, L"PLACE_HOLDER");
    {
        const OneFailure failure(0);
        tray.CustomizeMenu(&menu);
    }
    EXPECT_EQ(log.Texts(), std::vector<std::wstring>{L": [ERROR] ALLOC MEMORY FAILURE..."});
}

} // namespace
