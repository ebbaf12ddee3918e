#include "SplashLaunchScene.h"

#include "FrwkMode.h"
#include "SplashLaunch.h"
#include "WaitUntil.h"

namespace
{
constexpr DWORD tenMinutes = 600000;

const std::function<DWORD(HANDLE)>* g_wait = nullptr;
decltype(&WaitForSingleObject) g_waitForSingleObject = nullptr;

DWORD WINAPI WaitAsTold(HANDLE object, DWORD milliseconds)
{
    return milliseconds == tenMinutes && g_wait != nullptr ? (*g_wait)(object)
                                                           : g_waitForSingleObject(object, milliseconds);
}

BOOL CALLBACK TakeSplash(HWND window, LPARAM found)
{
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    const HANDLE mark = GetPropW(window, L"NorvaneSoftMelvio uiDeskTray.exe splash");
    if (process == GetCurrentProcessId() && mark == reinterpret_cast<HANDLE>(1))
    {
        *reinterpret_cast<HWND*>(found) = window;
    }
    return TRUE;
}
} // namespace

HWND FindSplash()
{
    HWND found = nullptr;
    EnumWindows(&TakeSplash, reinterpret_cast<LPARAM>(&found));
    return found;
}

SplashLaunchTest::SplashLaunchTest() : wait(nullptr, "WaitForSingleObject", &WaitAsTold)
{
    g_waitForSingleObject = wait.Original<decltype(WaitForSingleObject)>();
    static_cast<void>(QxCommon::GetProductId()); // first, before there are threads
}

SplashLaunchTest::~SplashLaunchTest()
{
    EXPECT_TRUE(HasGone());
}

std::future<AgentStatus> SplashLaunchTest::Launch()
{
    return std::async(std::launch::async, &ShowSplash);
}

AgentStatus SplashLaunchTest::LaunchFor(const Wait& wait)
{
    const std::function<DWORD(HANDLE)> answer = [&wait](HANDLE /*event*/)
    {
        wait.during();
        SetLastError(wait.lastError);
        return wait.result;
    };
    g_wait = &answer;
    const AgentStatus status = ShowSplash();
    g_wait = nullptr;
    return status;
}

HWND SplashLaunchTest::Splash()
{
    EXPECT_TRUE(TestSupport::WaitUntil([] { return FindSplash() != nullptr; }));
    return FindSplash();
}

bool SplashLaunchTest::HasGone()
{
    return TestSupport::WaitUntil([] { return g_pSplash == nullptr; });
}

void SplashLaunchTest::CloseSplash()
{
    SendMessageW(Splash(), WM_CLOSE, 0, 0);
    EXPECT_TRUE(HasGone());
}
