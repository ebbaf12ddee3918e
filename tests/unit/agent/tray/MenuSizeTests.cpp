// Menus of a size that nobody would want to see.
#include "ProfileFiles.h"

#include "MenuConstruction.h"
#include "MenuWalk.h"
#include "ProfileTexts.h"
#include "StringTable.h"

using testing::ElementsAre;

namespace
{

class MenuSizeTest : public ProfileTest
{
protected:
    MenuSizeTest() { menu.CreatePopupMenu(); }

    CMenu menu;
};

} // namespace

TEST_F(MenuSizeTest, TenThousandItemsStandInTheirOrder)
{
    constexpr int count = 10000;
    std::string items;
    for (int i = 0; i < count; ++i)
    {
        items += "<m type='string' id='" + std::to_string(i) + "'/>";
    }
    ASSERT_TRUE(Parse("<Menus>" + items + "</Menus>"));
    ConstructMenus(menu, parser.m_pMenuRoot.get());
    ASSERT_EQ(menu.GetMenuItemCount(), count);
    for (UINT position = 0; position < count; ++position)
    {
        ASSERT_EQ(menu.GetMenuItemID(static_cast<int>(position)), 32789 + position);
    }
    EXPECT_EQ(FindMenuFunction(parser.m_pMenuRoot.get(), 32789 + count - 1), 32789U);
}

// The system's own recursions would end the process.
TEST_F(MenuSizeTest, TenThousandLevelsAreBoundAndFoundAndAThousandShown)
{
    constexpr int depth = 10000;
    ASSERT_TRUE(Parse("<Menus>" + Repeat("<m type='string' id='1' name='a'>", depth) +
                      "<m type='string' id='2' function_id='3'/>" +
                      Repeat("<m type='string' id='3' font='bold'/></m>", depth) + "</Menus>"));
    BindMenuTexts(CStringTable::Instance(), parser.m_pMenuRoot.get());
    EXPECT_EQ(FindMenuFunction(parser.m_pMenuRoot.get(), 32791), 32792U);
    log.Clear();
    ConstructMenus(menu, parser.m_pMenuRoot.get());
    EXPECT_THAT(Texts(), ElementsAre(L": [WARN] Tray menu is too deep..."));
    int shown = 0;
    for (HMENU submenu = GetSubMenu(menu.GetSafeHmenu(), 0); submenu != nullptr;
         submenu = GetSubMenu(submenu, 0))
    {
        ++shown;
    }
    EXPECT_EQ(shown, 1000);
    EXPECT_TRUE(menu.DestroyMenu());
    parser.m_pMenuRoot.reset();
}

TEST_F(MenuSizeTest, TextsOfAnyLengthAreShown)
{
    ASSERT_TRUE(Parse("<Menus><m type='string' id='1'/><m type='string' id='2'/></Menus>"));
    parser.m_pMenuRoot->text = std::wstring(10000, L'x');
    ConstructMenus(menu, parser.m_pMenuRoot.get());
    ASSERT_EQ(menu.GetMenuItemCount(), 2);
    EXPECT_EQ(GetMenuStringW(menu.GetSafeHmenu(), 0, nullptr, 0, MF_BYPOSITION), 10000);
    EXPECT_EQ(GetMenuStringW(menu.GetSafeHmenu(), 1, nullptr, 0, MF_BYPOSITION), 0);
}
