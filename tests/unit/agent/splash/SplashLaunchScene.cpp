#include "SplashLaunchScene.h"

#include "FrwkMode.h"
#include "SplashLaunch.h"
#include "VzComn_Handle.h"
#include "WaitUntil.h"

namespace
{
constexpr DWORD tenMinutes = 600000;

using BeginThread = uintptr_t(void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned, unsigned*);

BeginThread* g_beginThread = nullptr;
VzCommon::KernelHandle g_thread; // of the last splash

uintptr_t BeginThreadAndTakeIt(void* security, unsigned stack, unsigned(__stdcall* start)(void*),
                               void* argument, unsigned flags, unsigned* id)
{
    const uintptr_t created = g_beginThread(security, stack, start, argument, flags, id);
    if (start == &SplashProc) // the test's own threads come here too
    {
        g_thread.Reset(reinterpret_cast<HANDLE>(created));
    }
    return created;
}

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

SplashLaunchScene::SplashLaunchScene()
    : wait(nullptr, "WaitForSingleObject", &WaitAsTold),
      begin(nullptr, "_beginthreadex", &BeginThreadAndTakeIt)
{
    g_beginThread = begin.Original<BeginThread>();
    g_thread.Reset();
    g_waitForSingleObject = wait.Original<decltype(WaitForSingleObject)>();
    static_cast<void>(QxCommon::GetProductId()); // first, before there are threads
}

SplashLaunchScene::~SplashLaunchScene()
{
    EXPECT_TRUE(HasGone());
}

std::future<AgentStatus> SplashLaunchScene::Launch()
{
    return std::async(std::launch::async, &ShowSplash);
}

AgentStatus SplashLaunchScene::LaunchFor(const Wait& wait)
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

HWND SplashLaunchScene::Splash()
{
    EXPECT_TRUE(TestSupport::WaitUntil([] { return FindSplash() != nullptr; }));
    return FindSplash();
}

bool SplashLaunchScene::HasGone()
{
    return (!g_thread || WaitForSingleObject(g_thread.Get(), 30000) == WAIT_OBJECT_0) &&
           TestSupport::WaitUntil([] { return g_pSplash == nullptr; });
}

void SplashLaunchScene::CloseSplash()
{
    SendMessageW(Splash(), WM_CLOSE, 0, 0);
    EXPECT_TRUE(HasGone());
}

void SplashLaunchScene::CloseAnySplash()
{
    EXPECT_TRUE(TestSupport::WaitUntil(
        []
        {
            if (const HWND splash = FindSplash())
            {
                SendMessageW(splash, WM_CLOSE, 0, 0);
            }
            return WaitForSingleObject(g_thread.Get(), 0) != static_cast<DWORD>(WAIT_TIMEOUT);
        }));
}
