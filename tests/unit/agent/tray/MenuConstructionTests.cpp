#include "ProfileFiles.h"

#include "ImportPatch.h"
#include "MenuConstruction.h"
#include "ObjectCounts.h"

#include <array>

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::ImportPatch;

namespace
{

BOOL WINAPI RefuseGet(HMENU /*menu*/, UINT /*item*/, BOOL /*byPosition*/, MENUITEMINFOW* info)
{
    EXPECT_EQ(info->fMask, 0U);
    return FALSE;
}

BOOL WINAPI RefuseSet(HMENU /*menu*/, UINT /*item*/, BOOL byPosition, const MENUITEMINFOW* info)
{
    EXPECT_FALSE(byPosition);
    EXPECT_EQ(info->fMask, UINT{MIIM_STATE});
    EXPECT_EQ(info->fState, UINT{MFS_DEFAULT});
    return FALSE;
}

class MenuConstructionTest : public ProfileTest
{
protected:
    MenuConstructionTest() { menu.CreatePopupMenu(); }

    void Construct(const std::string& items)
    {
        ASSERT_TRUE(Parse("<Menus>" + items + "</Menus>"));
        for (MenuNode* node = parser.m_pMenuRoot.get(); node != nullptr; node = node->next.get())
        {
            node->text = node->name;
        }
        log.Clear();
        ConstructMenus(menu, parser.m_pMenuRoot.get());
    }

    static std::wstring TextAt(const CMenu& shown, UINT position)
    {
        std::array<wchar_t, 100> text{};
        GetMenuStringW(shown.GetSafeHmenu(), position, text.data(), 100, MF_BYPOSITION);
        return text.data();
    }

    static UINT DefaultOf(const CMenu& shown) { return GetMenuDefaultItem(shown.GetSafeHmenu(), FALSE, 0); }

    CMenu menu;
};

} // namespace

TEST_F(MenuConstructionTest, AppendsItemsSeparatorsAndSubmenus)
{
    Construct(
        "<m type='string' id='1' name='Open'/><m type='SEPARATOR' id='2'/>"
        "<m type='String' id='3' name='More'><m type='string' id='4'/><m type='separator'/>"
        "<m type='string' id='5'><m type='string' id='6'/></m></m><m type='string' id='7' name='Exit'/>");
    ASSERT_EQ(menu.GetMenuItemCount(), 4);
    EXPECT_EQ(menu.GetMenuItemID(0), 32790U);
    EXPECT_EQ(TextAt(menu, 0), L"Open");
    EXPECT_EQ(menu.GetMenuItemID(1), 0U);
    EXPECT_EQ(menu.GetMenuItemID(2), static_cast<UINT>(-1)) << "a submenu has no command";
    EXPECT_EQ(TextAt(menu, 2), L"More");
    EXPECT_EQ(TextAt(menu, 3), L"Exit");
    const CMenu* const more = menu.GetSubMenu(2);
    ASSERT_EQ(more->GetMenuItemCount(), 3);
    EXPECT_EQ(more->GetMenuItemID(0), 32793U);
    EXPECT_EQ(more->GetSubMenu(2)->GetMenuItemID(0), 32795U);
    EXPECT_EQ(DefaultOf(menu), static_cast<UINT>(-1));
    EXPECT_THAT(Texts(), IsEmpty());
}

TEST_F(MenuConstructionTest, MakesABoldItemTheDefaultButNoSubmenu)
{
    Construct("<m type='string' id='1' font='bold'><m type='string' id='2' font='x'/></m>"
              "<m type='string' id='3' font='BOLD' enabled='0' checked='1'/>");
    EXPECT_EQ(DefaultOf(menu), 32792U);
    EXPECT_EQ(GetMenuState(menu.GetSafeHmenu(), 32792, MF_BYCOMMAND), UINT{MF_DEFAULT})
        << "the rest of the state comes when the menu opens";
    EXPECT_THAT(Texts(), IsEmpty()) << "a submenu is not even tried";
}

TEST_F(MenuConstructionTest, MakesTheFirstItemOfABoldOnesIdTheDefault)
{
    Construct("<m type='string' id='1'><m type='string' id='2'/></m><m type='string' id='2' font='bold'/>");
    EXPECT_EQ(DefaultOf(menu), static_cast<UINT>(-1));
    EXPECT_EQ(DefaultOf(*menu.GetSubMenu(0)), 32791U) << "deliberate: the system's search goes into submenus";
}

TEST_F(MenuConstructionTest, GoesOnBehindAnItemWhoseStateItCannotHave)
{
    {
        const ImportPatch patch(nullptr, "GetMenuItemInfoW", &RefuseGet);
        Construct("<m type='string' id='1' font='bold'/><m type='string' id='2'/>");
    }
    EXPECT_THAT(Texts(), ElementsAre(L": [WARN] GetMenuItemInfo Failed..."));
    {
        const ImportPatch patch(nullptr, "SetMenuItemInfoW", &RefuseSet);
        Construct("<m type='string' id='1' font='bold'/><m type='string' id='2'/>");
    }
    EXPECT_THAT(Texts(), ElementsAre(L": [WARN] SetMenuItemInfo Failed..."));
    EXPECT_EQ(menu.GetMenuItemCount(), 4);
}

TEST_F(MenuConstructionTest, WarnsOfItemsThatItDoesNotKnow)
{
    Construct("<m type='button' id='1'/><m id='2'/><m type='string' id='3'/>");
    EXPECT_EQ(menu.GetMenuItemCount(), 1);
    EXPECT_THAT(Texts(),
                ElementsAre(L": [WARN] Unknown tray menu item...", L": [WARN] Unknown tray menu item..."));
    ConstructMenus(menu, nullptr);
    EXPECT_EQ(menu.GetMenuItemCount(), 1);
}

TEST_F(MenuConstructionTest, LeavesNoMenuBehind)
{
    ASSERT_TRUE(Parse("<Menus><m type='string'><m type='string'><m type='string'/></m></m></Menus>"));
    EXPECT_EQ(TestSupport::GrowthOf(
                  [this]
                  {
                      CMenu opened;
                      opened.CreatePopupMenu();
                      ConstructMenus(opened, parser.m_pMenuRoot.get());
                  },
                  100),
              "");
}
