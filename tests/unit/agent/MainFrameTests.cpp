#include "MainFrm.h"

#include <gmock/gmock.h>

#include "AgentIds.h"
#include "FakeProduct.h"
#include "ImportPatch.h"
#include "LogCapture.h"
#include "Neighbours.h"
#include "ObjectCounts.h"
#include "ObjectNames.h"
#include "ProfileParser.h"
#include "WaitUntil.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace
{
constexpr DWORD frameStyle = 0x00CF8000;
constexpr UINT frameId = 128;

int g_registrations = 0;
int g_registrationsThatFail = 0;
HWND g_unregistered = nullptr;
std::vector<DWORD> g_sleeps;
int g_trims = 0;

int g_shellCalls = 0;

BOOL WINAPI FakeShell(DWORD /*message*/, NOTIFYICONDATAW* /*data*/)
{
    ++g_shellCalls;
    return TRUE;
}

VOID WINAPI FakeSleep(DWORD milliseconds)
{
    g_sleeps.push_back(milliseconds);
}

BOOL WINAPI FakeEmptyWorkingSet(HANDLE process)
{
    EXPECT_EQ(process, GetCurrentProcess());
    ++g_trims;
    return TRUE;
}

} // namespace

// The library is loaded at the first call, so there is no import to patch: the linker takes these instead.
extern "C" BOOL WINAPI WTSRegisterSessionNotification(HWND /*window*/, DWORD flags)
{
    EXPECT_EQ(flags, 0U); // NOTIFY_FOR_THIS_SESSION
    return ++g_registrations > g_registrationsThatFail ? TRUE : FALSE;
}

extern "C" BOOL WINAPI WTSUnRegisterSessionNotification(HWND window)
{
    g_unregistered = window;
    return TRUE;
}

namespace
{
class MainFrameTest : public ::testing::Test
{
protected:
    void Create()
    {
        frame = new CMainFrame;
        app.m_pMainWnd = frame;
        ASSERT_TRUE(frame->LoadFrame(frameId, frameStyle));
    }

    ~MainFrameTest() override
    {
        if (app.m_pMainWnd != nullptr)
        {
            app.m_pMainWnd->DestroyWindow();
        }
        CProfileParser::Instance().m_pMenuRoot.reset();
    }

    static MenuNode& AddNode(UINT profileId, UINT profileFunction)
    {
        auto node = std::make_unique<MenuNode>();
        node->id = Command::Base + profileId;
        node->functionId = Command::Base + profileFunction;
        MenuNode& added = *node;
        node->next = std::move(CProfileParser::Instance().m_pMenuRoot);
        CProfileParser::Instance().m_pMenuRoot = std::move(node);
        return added;
    }

    FakeProduct product{L"QxSessionAgent_M.exe"};
    TestSupport::LogCapture log{logLevels};
    TestSupport::ImportPatch sleep{nullptr, "Sleep", &FakeSleep};
    TestSupport::ImportPatch shell{nullptr, "Shell_NotifyIconW", &FakeShell};
    CWinApp app{nullptr};
    CMainFrame* frame = nullptr;
};

TEST_F(MainFrameTest, ComesUpAsAHiddenTopLevelWindow)
{
    Create();
    EXPECT_FALSE(IsWindowVisible(frame->m_hWnd));
    EXPECT_EQ(GetAncestor(frame->m_hWnd, GA_PARENT), GetDesktopWindow());
    EXPECT_EQ(GetWindowLongPtrW(frame->m_hWnd, GWL_EXSTYLE) & WS_EX_CLIENTEDGE, 0);
}

TEST_F(MainFrameTest, DoesNotComeUpWithoutItsData)
{
    TheNeighbours().loadConfig = false;
    frame = new CMainFrame;
    EXPECT_FALSE(frame->LoadFrame(frameId, frameStyle));
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] LoadConfig failed..."));
    EXPECT_EQ(g_registrations, 0);
}

TEST_F(MainFrameTest, RegistersForTheSessionAtTheFirstAttempt)
{
    Create();
    EXPECT_EQ(g_registrations, 1);
    EXPECT_THAT(g_sleeps, IsEmpty());
    EXPECT_THAT(TheNeighbours().calls, ElementsAre("power"));
}

TEST_F(MainFrameTest, HearsOfTheSessionAtTheSecondAttempt)
{
    g_registrationsThatFail = 1;
    Create();
    EXPECT_EQ(g_registrations, 2);
    EXPECT_THAT(g_sleeps, ElementsAre(2000U));
    EXPECT_THAT(log.Texts(), Not(Contains(HasSubstr(L"ERROR"))));
}

TEST_F(MainFrameTest, TriesThreeTimesToHearOfTheSession)
{
    g_registrationsThatFail = 2;
    Create();
    EXPECT_EQ(g_registrations, 3);
    EXPECT_THAT(g_sleeps, ElementsAre(2000U, 2000U));
}

TEST_F(MainFrameTest, RunsWithoutSessionMessagesAfterThreeFailures)
{
    g_registrationsThatFail = 100;
    Create();
    EXPECT_EQ(g_registrations, 3);
    EXPECT_THAT(g_sleeps, ElementsAre(2000U, 2000U, 2000U));
    EXPECT_THAT(log.Texts(), Not(Contains(HasSubstr(L"ERROR"))));
    EXPECT_NE(frame->m_hWnd, nullptr);
}

TEST_F(MainFrameTest, RunsWithoutPowerEvents)
{
    TheNeighbours().initPower = Status::InitializeFailed;
    Create();
    EXPECT_THAT(log.Texts(),
                Contains(L": [ERROR] Failed to initialize power handler. Error Code = 0xe0ff0005"));
}

TEST_F(MainFrameTest, AnswersZeroToPowerAndLogsAFailure)
{
    Create();
    TheNeighbours().handlePower = Status::NoClient;
    EXPECT_EQ(frame->SendMessage(WM_POWERBROADCAST, PBT_APMRESUMESUSPEND, 0), 0);
    EXPECT_THAT(TheNeighbours().calls, Contains("power event 7"));
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Failed to handle power event. Error Code = 0xe0ff001a"));
}

TEST_F(MainFrameTest, RunsTheReportersOnTheirTimersArmedOrNot)
{
    Create();
    frame->SendMessage(WM_TIMER, FrameTimer::ActiveWindow);
    frame->SendMessage(WM_TIMER, FrameTimer::InputInfo);
    frame->SendMessage(WM_TIMER, FrameTimer::Scan);
    frame->SendMessage(WM_TIMER, 77);
    EXPECT_THAT(TheNeighbours().calls, ElementsAre("power", "active window", "input info"));
}

TEST_F(MainFrameTest, TrimsTheWorkingSetOnceAndEndsTheTimer)
{
    const TestSupport::ImportPatch trim(nullptr, "K32EmptyWorkingSet", &FakeEmptyWorkingSet);
    Create();
    frame->SendMessage(WM_TIMER, FrameTimer::TrimWorkingSet);
    EXPECT_EQ(g_trims, 1);
    EXPECT_FALSE(frame->KillTimer(FrameTimer::TrimWorkingSet));
}

TEST_F(MainFrameTest, ArmsTheTrimTimerAtCreation)
{
    Create();
    EXPECT_TRUE(frame->KillTimer(FrameTimer::TrimWorkingSet));
}

TEST_F(MainFrameTest, AnswersEveryCommandAsHandled)
{
    Create();
    EXPECT_TRUE(frame->OnCmdMsg(4711, CN_COMMAND, nullptr, nullptr));
    EXPECT_TRUE(frame->OnCmdMsg(Command::StartMain, CN_COMMAND, nullptr, nullptr));
    EXPECT_THAT(CallsBut("power"), IsEmpty());
}

TEST_F(MainFrameTest, OpensTheConsoleOnTheDefaultCommand)
{
    Create();
    frame->SendMessage(WM_COMMAND, Command::Default);
    EXPECT_THAT(CallsBut("power"), ElementsAre("console <>"));
    EXPECT_THAT(log.Texts(), Contains(L"[INFO],[], ==> CMainFrame::OnStartMain"));
}

TEST_F(MainFrameTest, ReachesEachHandlerByTheFunctionOfTheProfile)
{
    Create();
    AddNode(10, 1);
    AddNode(20, 4);
    AddNode(30, 5);
    frame->SendMessage(WM_COMMAND, Command::Base + 10);
    frame->SendMessage(WM_COMMAND, Command::Base + 20);
    frame->SendMessage(WM_COMMAND, Command::Base + 30);
    EXPECT_THAT(CallsBut("power"), ElementsAre("console <>", "console <-m 100>", "console <-m 200>"));
}

TEST_F(MainFrameTest, DoesNothingForAFunctionThatTheTableLacks)
{
    Create();
    AddNode(1, 0);
    AddNode(2, 99);
    EXPECT_TRUE(frame->OnCmdMsg(Command::Base + 1, CN_COMMAND, nullptr, nullptr));
    EXPECT_TRUE(frame->OnCmdMsg(Command::Base + 2, CN_COMMAND, nullptr, nullptr));
    EXPECT_THAT(CallsBut("power"), IsEmpty());
}

TEST_F(MainFrameTest, LeavesOtherNotificationsToTheBase)
{
    Create();
    AddNode(10, 1);
    AFX_CMDHANDLERINFO info{};
    EXPECT_FALSE(frame->OnCmdMsg(Command::Base + 10, CN_COMMAND, nullptr, &info));
    EXPECT_FALSE(frame->OnCmdMsg(Command::Base + 10, 5, nullptr, nullptr));
    EXPECT_FALSE(frame->OnCmdMsg(Command::Base + 10, CN_UPDATE_COMMAND_UI, nullptr, nullptr));
    EXPECT_THAT(CallsBut("power"), IsEmpty());
}

TEST_F(MainFrameTest, LogsAConsoleThatDoesNotStart)
{
    TheNeighbours().console = Status::FromSystemError(ERROR_FILE_NOT_FOUND);
    Create();
    frame->OnStartMain();
    frame->OnShowMonitorBall();
    frame->OnShowGameConsole();
    const auto messages = log.Texts();
    EXPECT_THAT(messages, Contains(L": [ERROR] Show Main Console failed..."));
    EXPECT_THAT(messages, Contains(L": [ERROR] Show monitor Console failed..."));
    EXPECT_THAT(messages, Contains(L": [ERROR] Show game Console failed..."));
}

// The entries of a real popup, updated as the popup opens.
class MenuUpdateTest : public MainFrameTest
{
protected:
    UINT StateAfterOpening(UINT id)
    {
        CMenu menu;
        menu.CreatePopupMenu();
        menu.AppendMenu(MF_STRING, 1, L"somebody else's");
        menu.AppendMenu(MF_STRING, id, L"entry");
        frame->SendMessage(WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(menu.m_hMenu), 0);
        return GetMenuState(menu.m_hMenu, id, MF_BYCOMMAND);
    }
};

TEST_F(MenuUpdateTest, ShowsChecksAndAvailabilityOfTheProfile)
{
    Create();
    AddNode(10, 1).checked = true;
    AddNode(11, 1).enabled = false;
    EXPECT_EQ(StateAfterOpening(Command::Base + 10), static_cast<UINT>(MF_CHECKED));
    EXPECT_NE(StateAfterOpening(Command::Base + 11) & (MF_GRAYED | MF_DISABLED), 0U);
}

TEST_F(MenuUpdateTest, GreysTheDefaultCommandThatNobodyEnables)
{
    Create();
    EXPECT_NE(StateAfterOpening(Command::Default) & (MF_GRAYED | MF_DISABLED), 0U);
}

// A console's window: carries the marker of the product and says when it was closed.
class FakeConsole : public CWnd
{
public:
    explicit FakeConsole(bool marked)
    {
        CreateEx(0, AfxRegisterWndClass(0), L"console", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr);
        if (marked)
        {
            SetPropW(m_hWnd, L"NorvaneSoft Melvio uiDeskConsole.exe", reinterpret_cast<HANDLE>(1));
        }
    }

    bool closed = false;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        if (message == WM_CLOSE)
        {
            EXPECT_THAT(CallsBut("power"), IsEmpty())
                << "the service hears of it after the consoles are closed";
            closed = true;
        }
        return CWnd::WindowProc(message, wParam, lParam);
    }
};

TEST_F(MainFrameTest, ExitClosesTheConsolesThenTellsTheServiceThenSignals)
{
    Create();
    FakeConsole first(true);
    FakeConsole second(true);
    FakeConsole stranger(false);
    VzCommon::Synchronize::Event exitEvent;
    ASSERT_TRUE(exitEvent.CreateMultipleGlobal(ObjectNames::ExitEvent().c_str(), nullptr));
    frame->OnExitTray();
    EXPECT_TRUE(first.closed && second.closed);
    EXPECT_FALSE(stranger.closed);
    EXPECT_THAT(CallsBut("power"), ElementsAre("event 19", "stop service 1 120"));
    EXPECT_EQ(WaitForSingleObject(exitEvent.Handle(), 0), WAIT_OBJECT_0);
    EXPECT_THAT(log.Texts(), Contains(L": [INFO] Try to stop service if it is running..."));
}

TEST_F(MainFrameTest, ExitGoesOnAfterFailuresOfTheService)
{
    Create();
    TheNeighbours().sendEvent = Status::NoClient;
    TheNeighbours().stopService = Status::FromSystemError(1460);
    VzCommon::Synchronize::Event exitEvent;
    ASSERT_TRUE(exitEvent.CreateMultipleGlobal(ObjectNames::ExitEvent().c_str(), nullptr));
    frame->OnExitTray();
    const auto messages = log.Texts();
    EXPECT_THAT(messages, Contains(L": [WARN] Send event failed...EventId=19"));
    EXPECT_THAT(messages, Contains(L": [ERROR] Stop QxSvcHost failed, error = 0xe0fe05b4"));
    EXPECT_EQ(WaitForSingleObject(exitEvent.Handle(), 0), WAIT_OBJECT_0);
}

TEST_F(MainFrameTest, StaysAliveWhenTheExitEventCannotBeHad)
{
    Create();
    const HANDLE squatter = CreateMutexW(nullptr, FALSE, ObjectNames::ExitEvent().c_str());
    ASSERT_NE(squatter, nullptr);
    frame->OnExitTray();
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] CreateMultipleGlobal failed... ErrorCode=6"));
    EXPECT_THAT(CallsBut("power"), ElementsAre("event 19", "stop service 1 120"));
    EXPECT_TRUE(IsWindow(frame->m_hWnd));
    CloseHandle(squatter);
}

TEST_F(MainFrameTest, ClosingEndsTheMessageLoop)
{
    Create();
    frame->PostMessage(WM_CLOSE);
    app.Run();
    EXPECT_EQ(app.m_pMainWnd, nullptr);
}

TEST_F(MainFrameTest, TakesItsSessionRegistrationBack)
{
    Create();
    const HWND window = frame->m_hWnd;
    frame->DestroyWindow();
    EXPECT_EQ(g_unregistered, window);
}

TEST_F(MainFrameTest, ComesAndGoesWithoutLeavingAnythingBehind)
{
    EXPECT_EQ(TestSupport::GrowthOf(
                  [this]
                  {
                      Create();
                      frame->DestroyWindow();
                  }),
              "");
}

TEST_F(MainFrameTest, SurvivesForgedMessages)
{
    Create();
    const UINT forged[] = {WM_COPYDATA,
                           WM_COMMAND,
                           WM_INITMENUPOPUP,
                           WM_WTSSESSION_CHANGE,
                           WM_SETTINGCHANGE,
                           WindowMessage::TrayCallback,
                           WindowMessage::NetworkMade,
                           WindowMessage::NetworkLost,
                           WindowMessage::NetworkMadeNoQoc};
    for (const UINT message : forged)
    {
        for (WPARAM wParam : {WPARAM{0}, WPARAM{1}, WPARAM{0xFFFF}, static_cast<WPARAM>(-1)})
        {
            frame->SendMessage(message, wParam, 0);
        }
    }
    EXPECT_TRUE(IsWindow(frame->m_hWnd));
}

TEST(OtherProductMainFrameTest, ComesUpWithoutTrayAndTrimTimer)
{
    FakeProduct product(L"QxSessionAgent.exe");
    TestSupport::LogCapture log{logLevels};
    const TestSupport::ImportPatch shell(nullptr, "Shell_NotifyIconW", &FakeShell);
    TheNeighbours().loadConfig = false; // not even asked for
    g_shellCalls = 0;
    CWinApp app(nullptr);
    auto* frame = new CMainFrame;
    app.m_pMainWnd = frame;
    ASSERT_TRUE(frame->LoadFrame(frameId, frameStyle));
    EXPECT_FALSE(frame->KillTimer(FrameTimer::TrimWorkingSet));
    EXPECT_EQ(frame->SendMessage(WindowMessage::TrayCallback, 0, WM_RBUTTONUP), 0) << "forged";
    EXPECT_EQ(g_shellCalls, 0);
    EXPECT_EQ(g_registrations, 1);
    EXPECT_THAT(TheNeighbours().calls, ElementsAre("power"));
    frame->DestroyWindow();
}
} // namespace
