#include "SplashLaunchScene.h"

#include <afxwin.h>

#include <thread>

#include "ScarceMemory.h"
#include "SplashLaunch.h"
#include "WaitUntil.h"
#include "resource.h"

namespace
{
constexpr long long enough = 5000; // allocations that no splash needs

using CreateBitmap = HBITMAP WINAPI(HDC, int, int);

CreateBitmap* g_createBitmap = nullptr;

HBITMAP WINAPI CreateSmallBitmap(HDC dc, int /*width*/, int /*height*/)
{
    return g_createBitmap(dc, 1, 1);
}

// Every single allocation of a splash fails once. Its canvas is small, since it stays each time.
class SplashMemoryTest : public SplashLaunchScene
{
protected:
    SplashMemoryTest()
    {
        g_createBitmap = bitmap.Original<CreateBitmap>();
        scene.PutImages(L"en-us");
        scene.Put(L"qq-qq", L"splash.png", PngFile(1, 1, red));
        scene.Put(L"qq-qq", L"UiDeskTrayString.json", R"({"Splash":{"CopyRight":"mine"}})");
    }

    TestSupport::ImportPatch bitmap{nullptr, "CreateCompatibleBitmap", &CreateSmallBitmap};
};

TEST_F(SplashMemoryTest, ComposesWhatItCanWithoutMemory)
{
    bool hasFailed = true;
    for (long long successes = 0; hasFailed && successes < enough; ++successes)
    {
        CSplash splash;
        SplashScene::Pictures().clear();
        TheGdiPlus() = {};
        {
            const OneFailure failure(successes);
            splash.Create(IDD_SPLASH, nullptr);
            hasFailed = failure.HasFailed();
        }
        EXPECT_TRUE(IsWindow(splash.m_hWnd));
        EXPECT_EQ(SplashScene::Pictures().size(), 1U) << successes;
        EXPECT_EQ(TheGdiPlus().lines.size(), 1U) << successes;
    }
    EXPECT_FALSE(hasFailed);
}

// Whoever sees the splash closes it, marked or not.
void CloseWhenThere(const std::atomic<bool>& hasEnded)
{
    EXPECT_TRUE(TestSupport::WaitUntil(
        [&]
        {
            const CSplash* const splash = g_pSplash;
            if (splash != nullptr && IsWindowVisible(splash->GetSafeHwnd()))
            {
                PostMessageW(splash->GetSafeHwnd(), WM_CLOSE, 0, 0);
                return true;
            }
            return hasEnded.load();
        }));
}

TEST_F(SplashMemoryTest, EndsItsThreadInOrderWithoutMemory)
{
    bool hasFailed = true;
    unsigned status = 0;
    for (long long successes = 0; hasFailed && successes < enough; ++successes)
    {
        std::atomic<bool> hasEnded = false;
        std::thread closer([&] { CloseWhenThere(hasEnded); });
        {
            const OneFailure failure(successes);
            status = SplashProc(nullptr);
            hasFailed = failure.HasFailed();
        }
        hasEnded = true;
        closer.join();
        EXPECT_EQ(status, successes == 0 ? 0xE0FF001EU : 0x20FF0000U) << successes;
        EXPECT_EQ(g_pSplash, nullptr);
    }
    EXPECT_FALSE(hasFailed);
}

TEST_F(SplashMemoryTest, FailsToShowWithAStatusWithoutMemory)
{
    bool hasFailed = true;
    for (long long successes = 0; hasFailed && successes < enough; ++successes)
    {
        AgentStatus status = Status::Success;
        {
            const OneFailure failure(successes);
            status = LaunchFor({});
            hasFailed = failure.HasFailed();
        }
        EXPECT_TRUE(status == Status::Success || status == Status::OutOfMemory) << successes;
        CloseAnySplash();
    }
    EXPECT_FALSE(hasFailed);
}
} // namespace
