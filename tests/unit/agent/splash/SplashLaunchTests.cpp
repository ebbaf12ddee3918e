#include "SplashLaunchScene.h"

#include <afxwin.h>

#include <atomic>
#include <cstring>

#include "CallbackHelper.h"
#include "ObjectCounts.h"
#include "QxCommon_JsonDb.h"
#include "ScarceMemory.h"
#include "SplashLaunch.h"
#include "VzComn_Handle.h"
#include "WaitUntil.h"

using ::testing::Contains;
using ::testing::Not;

namespace
{
constexpr wchar_t closing[] = L": [INFO] Close Splash...";

class SplashLaunchTest : public SplashLaunchScene
{
protected:
    TestSupport::LogCapture log{0x0101};
};

AgentStatus SendSplashCommand()
{
    QxCommon::JsonDb command;
    command.ParseFromString(L"{\"JD_COMMAND_ID\":1010}");
    return OnServiceCommand(command);
}

bool EventExists()
{
    const VzCommon::KernelHandle event(OpenEventW(SYNCHRONIZE, FALSE, splashEvent));
    return static_cast<bool>(event);
}

void WaitForEvent()
{
    EXPECT_TRUE(TestSupport::WaitUntil([] { return EventExists(); }));
}

TEST_F(SplashLaunchTest, ShowsTheSplashUntilTheServicesCommand)
{
    scene.PutImages(L"qq-qq");
    std::future<AgentStatus> status = Launch();
    const HWND window = Splash();
    WaitForEvent();
    EXPECT_EQ(status.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    EXPECT_EQ(SendSplashCommand(), Status::Success);
    EXPECT_EQ(status.get(), Status::Success);
    EXPECT_TRUE(HasGone());
    EXPECT_FALSE(IsWindow(window));
    EXPECT_THAT(log.Texts(), Contains(closing));
    EXPECT_FALSE(EventExists());
}

TEST_F(SplashLaunchTest, PlacesTheWindowInTheMiddleWithoutATaskbarButton)
{
    scene.PutImages(L"qq-qq");
    const auto look = []
    {
        const HWND window = Splash();
        // The loop answers, so all that comes before it has been done.
        SendMessageW(window, WM_NULL, 0, 0);
        RECT place{};
        GetWindowRect(window, &place);
        EXPECT_EQ(place.left, (GetSystemMetrics(SM_CXSCREEN) - 474) / 2);
        EXPECT_EQ(place.top, (GetSystemMetrics(SM_CYSCREEN) - 238) / 2);
        EXPECT_EQ(place.right - place.left, 474);
        EXPECT_EQ(place.bottom - place.top, 238);
        const LONG style = GetWindowLongW(window, GWL_EXSTYLE);
        EXPECT_EQ(style & (WS_EX_APPWINDOW | WS_EX_TOOLWINDOW | WS_EX_LAYERED),
                  WS_EX_TOOLWINDOW | WS_EX_LAYERED);
        EXPECT_TRUE(IsWindowVisible(window));
        EXPECT_EQ(GetWindow(window, GW_OWNER), nullptr);
        EXPECT_EQ(g_pSplash->GetSafeHwnd(), window);
    };
    EXPECT_EQ(LaunchFor({.during = look}), Status::Success);
}

TEST_F(SplashLaunchTest, WaitsTenMinutesForAnEventThatIsResetByHand)
{
    VzCommon::KernelHandle event;
    LaunchFor({.during = [&]
               {
                   event.Reset(OpenEventW(EVENT_MODIFY_STATE | SYNCHRONIZE, FALSE, splashEvent));
                   EXPECT_EQ(WaitForSingleObject(event.Get(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
                   static_cast<void>(Splash());
               }});
    ASSERT_TRUE(event);
    SetEvent(event.Get());
    EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_OBJECT_0);
}

TEST_F(SplashLaunchTest, ClosesTheSplashAfterATimeOutAndSucceeds)
{
    const Wait timeOut{.result = WAIT_TIMEOUT, .lastError = ERROR_GEN_FAILURE, .during = [] {
                           static_cast<void>(Splash());
                       }};
    EXPECT_EQ(LaunchFor(timeOut), Status::Success);
    EXPECT_TRUE(HasGone());
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Wait for signal event failed with 258"));
    EXPECT_THAT(log.Texts(), Contains(closing));
}

TEST_F(SplashLaunchTest, TellsTheCodeOfAWaitThatWentWrong)
{
    const auto shown = [] { static_cast<void>(Splash()); };
    EXPECT_EQ(LaunchFor({WAIT_ABANDONED, ERROR_GEN_FAILURE, shown}), Status::Success);
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Wait for signal event failed with 128"));
    EXPECT_TRUE(HasGone());
    EXPECT_EQ(LaunchFor({WAIT_FAILED, ERROR_INVALID_HANDLE, shown}), Status::Success);
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Wait for signal event failed with 6"));
    EXPECT_TRUE(HasGone());
}

TEST_F(SplashLaunchTest, LeavesTheSplashWhenTheEventCannotBeHad)
{
    {
        const VzCommon::KernelHandle mutex(CreateMutexW(nullptr, FALSE, splashEvent));
        EXPECT_EQ(LaunchFor({}), Status::FromBits(0xE0FE0006U));
    }
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] CreateMultipleGlobal failed... ErrorCode=6"));
    const HWND window = Splash();
    SendMessageW(window, WM_NULL, 0, 0);
    EXPECT_TRUE(IsWindowVisible(window));
    EXPECT_THAT(log.Texts(), Not(Contains(closing)));
    CloseSplash();
}

HANDLE WINAPI RefuseCreateEventW(LPSECURITY_ATTRIBUTES rights, BOOL manual, BOOL initial, LPCWSTR name)
{
    if (name != nullptr && std::wcscmp(name, splashEvent) == 0)
    {
        SetLastError(0x12345);
        return nullptr;
    }
    return CreateEventExW(
        rights, name, (manual ? CREATE_EVENT_MANUAL_RESET : 0U) | (initial ? CREATE_EVENT_INITIAL_SET : 0U),
        EVENT_ALL_ACCESS);
}

TEST_F(SplashLaunchTest, MakesAStatusOfTheEventsErrorCode)
{
    const TestSupport::ImportPatch create(nullptr, "CreateEventW", &RefuseCreateEventW);
    EXPECT_EQ(LaunchFor({}), Status::FromBits(0xE0FE2345U));
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] CreateMultipleGlobal failed... ErrorCode=74565"));
    CloseSplash();
}

TEST_F(SplashLaunchTest, HearsNothingOfACommandThatCameBeforeItsEvent)
{
    EXPECT_EQ(SendSplashCommand(), Status::Success);
    bool waited = false;
    LaunchFor({.result = WAIT_TIMEOUT,
               .during = [&]
               {
                   const VzCommon::KernelHandle event(OpenEventW(SYNCHRONIZE, FALSE, splashEvent));
                   waited = WaitForSingleObject(event.Get(), 0) == WAIT_TIMEOUT;
                   static_cast<void>(Splash());
               }});
    EXPECT_TRUE(waited);
    EXPECT_TRUE(HasGone());
}

std::atomic<bool> g_holdBack = false;
HWND(WINAPI* g_createDialog)(HINSTANCE, LPCWSTR, HWND, DLGPROC, LPARAM) = nullptr;

HWND WINAPI CreateDialogWhenTold(HINSTANCE instance, LPCWSTR name, HWND parent, DLGPROC procedure,
                                 LPARAM parameter)
{
    EXPECT_TRUE(TestSupport::WaitUntil([] { return !g_holdBack; }));
    return g_createDialog(instance, name, parent, procedure, parameter);
}

// An event that somebody still holds ends the wait before there is a window to close.
TEST_F(SplashLaunchTest, StaysOnTheScreenIfItWasToCloseBeforeItHadAWindow)
{
    const TestSupport::ImportPatch create(nullptr, "CreateDialogParamW", &CreateDialogWhenTold);
    g_createDialog = create.Original<HWND WINAPI(HINSTANCE, LPCWSTR, HWND, DLGPROC, LPARAM)>();
    g_holdBack = true;
    const VzCommon::KernelHandle event(CreateEventW(nullptr, TRUE, FALSE, splashEvent));
    SendSplashCommand();
    EXPECT_EQ(ShowSplash(), Status::Success);
    g_holdBack = false;
    EXPECT_TRUE(IsWindow(Splash()));
    CloseSplash();
}

HWND WINAPI RefuseDialog(HINSTANCE /*instance*/, LPCWSTR /*name*/, HWND /*parent*/, DLGPROC /*procedure*/,
                         LPARAM /*parameter*/)
{
    return nullptr;
}

TEST_F(SplashLaunchTest, EndsAtOnceWithoutAWindow)
{
    const TestSupport::ImportPatch create(nullptr, "CreateDialogParamW", &RefuseDialog);
    EXPECT_EQ(LaunchFor({.during = [] { EXPECT_TRUE(HasGone()); }}), Status::Success);
    EXPECT_THAT(log.Texts(), ::testing::ElementsAre(closing));
}

std::vector<HWND> g_closed;

LRESULT WINAPI NoteSendMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_CLOSE)
    {
        g_closed.push_back(window);
    }
    return SendMessageTimeoutW(window, message, wParam, lParam, SMTO_NORMAL, 1000, nullptr);
}

TEST_F(SplashLaunchTest, OutlivesASplashThatHasNoMemory)
{
    const TestSupport::ImportPatch send(nullptr, "SendMessageW", &NoteSendMessageW);
    g_closed.clear();
    {
        const NoMemory none;
        EXPECT_EQ(
            LaunchFor({.during = [this]
                       { EXPECT_TRUE(TestSupport::WaitUntil([this] { return !log.Texts().empty(); })); }}),
            Status::Success);
    }
    EXPECT_EQ(g_pSplash, nullptr);
    EXPECT_THAT(g_closed, ::testing::ElementsAre(nullptr));
    EXPECT_THAT(log.Texts(), ::testing::ElementsAre(L": [ERROR] "));
}

TEST_F(SplashLaunchTest, EndsItsThreadWithAStatus)
{
    const NoMemory none;
    EXPECT_EQ(SplashProc(nullptr), 0xE0FF001EU);
    EXPECT_EQ(g_pSplash, nullptr);
}

TEST_F(SplashLaunchTest, EndsItsThreadWithSuccessWhenTheWindowIsClosed)
{
    std::future<unsigned> ended = std::async(std::launch::async, &SplashProc, nullptr);
    CloseSplash();
    EXPECT_EQ(ended.get(), 0x20FF0000U);
}

TEST_F(SplashLaunchTest, GoesOnWaitingWhenTheUserClosesTheSplash)
{
    std::future<AgentStatus> status = Launch();
    PostMessageW(Splash(), WM_SYSCOMMAND, SC_CLOSE, 0);
    EXPECT_TRUE(HasGone());
    WaitForEvent();
    EXPECT_EQ(status.wait_for(std::chrono::milliseconds(0)), std::future_status::timeout);
    SendSplashCommand();
    EXPECT_EQ(status.get(), Status::Success);
}

uintptr_t RefuseThread(void* /*security*/, unsigned /*stack*/, unsigned(__stdcall* /*start*/)(void*),
                       void* /*argument*/, unsigned /*flags*/, unsigned* /*id*/)
{
    return 0;
}

TEST_F(SplashLaunchTest, FailsWithoutAThread)
{
    const TestSupport::ImportPatch refuse(nullptr, "_beginthreadex", &RefuseThread);
    EXPECT_EQ(ShowSplash(), Status::FromBits(0xE0FE041EU));
    EXPECT_THAT(log.Texts(),
                ::testing::ElementsAre(L": [ERROR] Create thread for splash failed... ErrorCode=1054"));
    EXPECT_FALSE(EventExists());
}

TEST_F(SplashLaunchTest, ShowsASecondSplashWithAFreshEvent)
{
    for (int i = 0; i < 2; ++i)
    {
        std::future<AgentStatus> status = Launch();
        static_cast<void>(Splash());
        WaitForEvent();
        EXPECT_EQ(status.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
        SendSplashCommand();
        EXPECT_EQ(status.get(), Status::Success);
        EXPECT_TRUE(HasGone());
    }
}
} // namespace
