#include "SplashLaunchScene.h"

#include <utility>

#include "LastingGrowth.h"
#include "ObjectCounts.h"
#include "SplashLaunch.h"
#include "VzComn_Handle.h"

namespace
{
class SplashGrowthTest : public SplashLaunchScene
{
protected:
    SplashGrowthTest() { scene.PutImages(L"qq-qq"); }

    // The device context that the splash was composed on; it stays.
    static HDC ShowOnce()
    {
        EXPECT_EQ(LaunchFor({.during = [] { static_cast<void>(Splash()); }}), Status::Success);
        EXPECT_TRUE(HasGone());
        TheGdiPlus().calls.clear();
        TheGdiPlus().lines.clear();
        const HDC source = SplashScene::Pictures().front().source;
        SplashScene::Pictures().clear();
        return source;
    }
};

// A process shows a splash or two. What it keeps of each is told here, and that it is not more, but for the
// handle of the thread, which the scene closes.
TEST_F(SplashGrowthTest, KeepsOfEachSplashWhatStaysUntilTheProcessEnds)
{
    constexpr std::size_t splashes = 200;
    constexpr std::size_t unrest = 10; // what the system makes at a first need
    for (int i = 0; i < 5; ++i)
    {
        ShowOnce();
    }
    const TestSupport::ObjectCounts before = TestSupport::CountObjects();
    for (std::size_t i = 0; i < splashes; ++i)
    {
        ShowOnce();
    }
    const TestSupport::ObjectCounts after = TestSupport::CountObjects();
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.user, before.user);
    EXPECT_LE(after.gdi, before.gdi + 2 * splashes + unrest);         // the context and its bitmap
    EXPECT_LE(after.handles, before.handles + 3 * splashes + unrest); // the files of the images
}

TEST_F(SplashGrowthTest, KeepsNothingElse)
{
    EXPECT_EQ(TestSupport::LastingGrowthOf(
                  []
                  {
                      const HDC source = ShowOnce();
                      const VzCommon::BitmapHandle bitmap(
                          static_cast<HBITMAP>(GetCurrentObject(source, OBJ_BITMAP)));
                      DeleteDC(source);
                      EXPECT_EQ(TheGdiPlus().FreeImages(), 3U);
                  }),
              "");
}
} // namespace
