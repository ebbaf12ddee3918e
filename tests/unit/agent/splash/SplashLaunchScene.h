#pragma once

#include <windows.h>

#include <functional>
#include <future>

#include "FakeProduct.h"
#include "ImportPatch.h"
#include "SplashScene.h"
#include "VzComn_AgentStatus.h"

// ShowSplash and its splash, with the ten minutes in the test's hand.
class SplashLaunchScene : public ::testing::Test
{
protected:
    // What ShowSplash's wait answers instead of waiting.
    struct Wait
    {
        DWORD result = WAIT_OBJECT_0;
        DWORD lastError = ERROR_SUCCESS;
        std::function<void()> during = [] {};
    };

    SplashLaunchScene();
    ~SplashLaunchScene() override;

    // Runs ShowSplash on a thread of its own. It waits in earnest.
    static std::future<AgentStatus> Launch();

    // Runs ShowSplash here; its wait is the given one.
    static AgentStatus LaunchFor(const Wait& wait);

    // The splash's window as others find it, once it runs its loop.
    static HWND Splash();

    // False if the splash, or the thread of the last launch, is still there after a while.
    [[nodiscard]] static bool HasGone();

    // Closes a splash that nobody else closes.
    static void CloseSplash();

    // The same for a splash that may not have come yet, or never comes.
    static void CloseAnySplash();

    SplashScene scene;
    TestSupport::ImportPatch wait;
    TestSupport::ImportPatch begin;
};

// The name that is shared with other programs.
inline constexpr wchar_t splashEvent[] = L"Global\\GLOBAL_EVENT_SPLASH_NOTIFYMelvio";

// The window of this process that carries the splash's property; null if there is none.
[[nodiscard]] HWND FindSplash();
