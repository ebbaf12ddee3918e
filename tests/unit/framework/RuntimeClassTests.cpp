#include "TestFrame.h"

#include <gtest/gtest.h>

namespace
{
class CPanel : public CFrameWnd
{
    DECLARE_DYNAMIC(CPanel)
};

IMPLEMENT_DYNAMIC(CPanel, CFrameWnd)

TEST(RuntimeClassTest, NamesTheClassOfAnObject)
{
    const CPanel panel;
    const CObject& object = panel;
    EXPECT_STREQ(object.GetRuntimeClass()->m_lpszClassName, "CPanel");
    EXPECT_EQ(object.GetRuntimeClass()->m_nObjectSize, static_cast<int>(sizeof(CPanel)));
}

TEST(RuntimeClassTest, KnowsEveryBase)
{
    const CPanel panel;
    EXPECT_TRUE(panel.IsKindOf(RUNTIME_CLASS(CPanel)));
    EXPECT_TRUE(panel.IsKindOf(RUNTIME_CLASS(CFrameWnd)));
    EXPECT_TRUE(panel.IsKindOf(RUNTIME_CLASS(CWnd)));
    EXPECT_TRUE(panel.IsKindOf(RUNTIME_CLASS(CCmdTarget)));
    EXPECT_TRUE(panel.IsKindOf(RUNTIME_CLASS(CObject)));
}

TEST(RuntimeClassTest, IsNoKindOfAnotherBranch)
{
    const CPanel panel;
    EXPECT_FALSE(panel.IsKindOf(RUNTIME_CLASS(CDialog)));
    const CFrameWnd frame;
    EXPECT_FALSE(frame.IsKindOf(RUNTIME_CLASS(CPanel)));
}

TEST(RuntimeClassTest, TakesTheBasesRecordWithoutOneOfItsOwn)
{
    const CTestFrame frame;
    EXPECT_EQ(frame.GetRuntimeClass(), RUNTIME_CLASS(CFrameWnd));
}
} // namespace
