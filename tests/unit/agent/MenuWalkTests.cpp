#include "MenuWalk.h"

#include <gtest/gtest.h>

#include <afxwin.h>

#include "ProfileParser.h"

TEST(MenuWalkTest, LooksAtANodeThenItsSubtreeThenItsSiblings)
{
    MenuNode root;
    root.id = 1;
    root.next = std::make_unique<MenuNode>();
    root.next->id = 7;
    root.next->functionId = 2;
    root.child = std::make_unique<MenuNode>();
    root.child->id = 7;
    root.child->functionId = 1;
    root.functionId = 9;
    EXPECT_EQ(FindMenuFunction(&root, 1), 9U);
    EXPECT_EQ(FindMenuFunction(&root, 7), 1U);
    EXPECT_EQ(FindMenuFunction(&root, 8), std::nullopt);
    EXPECT_EQ(FindMenuFunction(nullptr, 1), std::nullopt);
}

TEST(MenuWalkTest, UpdatesByTheFirstNodeOfAnId)
{
    struct Record : CCmdUI
    {
        void Enable(BOOL on) override { enabled = on; }

        void SetCheck(int check) override { checked = check; }

        int enabled = -1;
        int checked = -1;
    } record;

    MenuNode root;
    root.id = 7;
    root.enabled = false;
    root.checked = true;
    root.next = std::make_unique<MenuNode>();
    root.next->id = 7;
    UpdateCommandUi(record, &root, 7);
    EXPECT_EQ(record.enabled, FALSE);
    EXPECT_EQ(record.checked, 1);
}
