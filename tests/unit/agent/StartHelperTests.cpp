#include "StartHelper.h"

#include <gmock/gmock.h>
#include <process.h>
#include <shellapi.h>

#include <optional>

#include <afxwin.h>

#include "AgentIds.h"
#include "AgentLog.h"
#include "ExitWait.h"
#include "FakeProduct.h"
#include "ImportPatch.h"
#include "Neighbours.h"
#include "ObjectCounts.h"
#include "TempDir.h"
#include "TempRegistry.h"
#include "VzComn_LogFront.h"
#include "VzComn_Synchronize.h"
#include "WaitUntil.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using VzCommon::Synchronize::Event;
using VzCommon::Synchronize::Mutex;

namespace
{
std::wstring g_commandLine;

LPWSTR WINAPI FakeGetCommandLineW()
{
    return g_commandLine.data();
}

LPWSTR* WINAPI NoArguments(LPCWSTR /*commandLine*/, int* count)
{
    *count = 0;
    return nullptr;
}

constexpr const char* onlyConsole =
    R"({"startMode":{"console":{"startFunc":"ShowQxUi","startArgs":"hello","modeId":[2]}}})";

// A product in a folder of its own, with its log recorded and everything around the start path replaced.
class StartHelperTest : public ::testing::Test
{
protected:
    StartHelperTest() { dir.Write(L"Configuration\\QxSessionAgentCfg.json", onlyConsole); }

    void SetCommandLine(const std::wstring& arguments)
    {
        g_commandLine = L"QxSessionAgent_M.exe " + arguments;
    }

    TestSupport::TempDir dir;
    TestSupport::TempRegistry registry;
    FakeProduct product{L"QxSessionAgent_M.exe", dir.Path()};
    TestSupport::ImportPatch commandLine{nullptr, "GetCommandLineW", &FakeGetCommandLineW};
    AgentLog log{dir};
    CWinApp app{nullptr};
};

TEST_F(StartHelperTest, TakesItsStepsInOrder)
{
    SetCommandLine(L"2");
    CStartHelper helper;
    EXPECT_EQ(helper.PreInit(), Status::Success);
    EXPECT_THAT(TheNeighbours().calls,
                ElementsAre("crash handler 0 Global\\WATCHDOG_EVENT_RESTART_QX_SESSIONAGENTMelvio <>",
                            "service", "register"));
    EXPECT_THAT(log.Texts(),
                ElementsAre(L"[INFO],[], ==> CStartHelper::PreInit",
                            L"[INFO],[], ==> CStartHelper::ParseCmdLine", L": [INFO] Start Mode: 2",
                            L"[INFO],[], <== CStartHelper::ParseCmdLine", L": [INFO] Push console to 2",
                            L"[INFO],[], ==> CStartHelper::HandleInstanceExist",
                            L"[INFO],[], <== CStartHelper::HandleInstanceExist",
                            L"[INFO],[], <== CStartHelper::PreInit"));
}

struct ModeCase
{
    const wchar_t* arguments;
    const wchar_t* mode;
};

// Names the test: what is not plain text shows as "?".
void PrintTo(const ModeCase& row, std::ostream* stream)
{
    for (const wchar_t character : std::wstring(row.arguments) + L" is " + row.mode)
    {
        *stream << (character < 0x7F && character != L'"' ? static_cast<char>(character) : '?');
    }
}

class StartModeArgumentTest : public StartHelperTest, public ::testing::WithParamInterface<ModeCase>
{
};

TEST_P(StartModeArgumentTest, IsReadAsCNumbersAre)
{
    SetCommandLine(GetParam().arguments);
    CStartHelper helper;
    VzCommon::InitDebugLog(L"QxSessionAgent");
    EXPECT_EQ(helper.ParseCmdLine(), Status::Success);
    EXPECT_THAT(log.Texts(), Contains(std::wstring(L": [INFO] Start Mode: ") + GetParam().mode));
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, StartModeArgumentTest,
    ::testing::Values(ModeCase{L"", L"5"}, ModeCase{L"1", L"1"}, ModeCase{L"abc", L"0"},
                      ModeCase{L"0x1", L"1"}, ModeCase{L"0x10", L"16"}, ModeCase{L"010", L"8"},
                      ModeCase{L"08", L"0"}, ModeCase{L"1abc", L"1"}, ModeCase{L"1e3", L"1"},
                      ModeCase{L"\"\"", L"0"}, ModeCase{L"\" 7 \"", L"7"}, ModeCase{L"-1", L"-1"},
                      ModeCase{L"99999999999", L"2147483647"}, ModeCase{L"4294967295", L"2147483647"},
                      ModeCase{L"-99999999999", L"-2147483648"}, ModeCase{L"3 4 5", L"3"},
                      ModeCase{L"\x4E09", L"0"}, ModeCase{L"\"6\"", L"6"}));

TEST_F(StartHelperTest, FailsWithoutAnArgumentVector)
{
    const TestSupport::ImportPatch patch(nullptr, "CommandLineToArgvW", &NoArguments);
    CStartHelper helper;
    EXPECT_EQ(helper.PreInit(), Status::InvalidParameter);
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] The argv is null. Invoke qxSessionAgent.exe failed..."));
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Parse command-line failed...retCode=0xe0ff0007"));
    EXPECT_THAT(TheNeighbours().calls, IsEmpty());
}

TEST_F(StartHelperTest, EndsWithoutAConfigurationBeforeTheTestForAnotherInstance)
{
    DeleteFileW(dir.Path(L"Configuration\\QxSessionAgentCfg.json").c_str());
    CStartHelper helper;
    EXPECT_EQ(helper.PreInit(), Status::FileNotOpened);
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] QxCommon::JsonDb::ParseFromFile failed with 0xe0ff0012"));
    EXPECT_THAT(log.Texts(), Not(Contains(HasSubstr(L"HandleInstanceExist"))));
}

TEST_F(StartHelperTest, EndsWithoutStartModes)
{
    dir.Write(L"Configuration\\QxSessionAgentCfg.json", "{}");
    CStartHelper helper;
    EXPECT_EQ(helper.PreInit(), Status::NoStartMode);
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Initialize start mode config failed with 0xe0ff0023"));
}

TEST_F(StartHelperTest, LetsASecondInstanceRunItsStartFunctionsAndLeave)
{
    SetCommandLine(L"2");
    Mutex first;
    ASSERT_TRUE(first.CreateLocal(L"Melvio_QxSessionAgent", false, true, nullptr));
    CStartHelper second;
    EXPECT_EQ(second.PreInit(), Status::InstanceExists);
    EXPECT_THAT(TheNeighbours().calls, ElementsAre("console <hello>"));
    EXPECT_THAT(
        log.Texts(),
        Contains(L": [INFO] A program instance is already running, just show main console and return..."));
    EXPECT_THAT(log.Texts(), Not(Contains(HasSubstr(L"failed"))));
}

TEST_F(StartHelperTest, ASecondInstanceLeavesNothingBehind)
{
    Mutex first;
    ASSERT_TRUE(first.CreateLocal(L"Melvio_QxSessionAgent", false, true, nullptr));
    EXPECT_EQ(TestSupport::GrowthOf(
                  []
                  {
                      CStartHelper second;
                      EXPECT_EQ(second.PreInit(), Status::InstanceExists);
                      EXPECT_EQ(second.Uninit(nullptr), Status::Success);
                  }),
              "");
}

TEST_F(StartHelperTest, TakesASquattedNameForAnotherInstance)
{
    SetCommandLine(L"2");
    // The session's name, held by another kind of object.
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, L"Local\\Melvio_QxSessionAgent");
    ASSERT_NE(event, nullptr);
    CStartHelper helper;
    EXPECT_EQ(helper.PreInit(), Status::InstanceExists);
    CloseHandle(event);
}

TEST_F(StartHelperTest, HoldsTheSessionUntilItsEnd)
{
    {
        CStartHelper helper;
        ASSERT_EQ(helper.PreInit(), Status::Success);
        Mutex other;
        EXPECT_FALSE(other.CreateLocal(L"Melvio_QxSessionAgent", true, true, nullptr));
    }
    Mutex other;
    EXPECT_TRUE(other.CreateLocal(L"Melvio_QxSessionAgent", true, true, nullptr));
}

TEST_F(StartHelperTest, PassesOnAFailureOfTheServiceCheck)
{
    TheNeighbours().checkService = Status::NotFound;
    CStartHelper helper;
    EXPECT_EQ(helper.PreInit(), Status::NotFound);
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Check QX service failed with 0xe0ff000e"));
    EXPECT_THAT(TheNeighbours().calls, Not(Contains("register")));
}

TEST_F(StartHelperTest, PassesOnAFailureOfTheRegistration)
{
    TheNeighbours().registerRpc = Status::OutOfMemory;
    CStartHelper helper;
    EXPECT_EQ(helper.PreInit(), Status::OutOfMemory);
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Register Callback to RPC server failed with 0xe0ff001e"));
}

TEST_F(StartHelperTest, TouchesNothingButTheLogAfterAFailedStart)
{
    TheNeighbours().registerRpc = Status::OutOfMemory;
    CStartHelper helper;
    ASSERT_EQ(helper.PreInit(), Status::OutOfMemory);
    TheNeighbours().calls.clear();
    EXPECT_EQ(helper.Uninit(nullptr), Status::Success);
    EXPECT_THAT(CallsBut("wait"), IsEmpty());
    EXPECT_EQ(VzCommon::s_pDebugLog, nullptr);
    EXPECT_EQ(helper.Uninit(nullptr), Status::Success);
}

// A thread of the start that failed may have crashed meanwhile: its dump is written and its lines are logged
// before the process ends.
TEST_F(StartHelperTest, WaitsForACrashBeforeItEndsTheLogOfAFailedStart)
{
    TheNeighbours().checkService = Status::NotFound;
    CStartHelper helper;
    ASSERT_EQ(helper.PreInit(), Status::NotFound);
    TheNeighbours().calls.clear();
    helper.Uninit(nullptr);
    EXPECT_THAT(TheNeighbours().calls, ElementsAre("wait for a crash"));
}

// With the exit event signalled before the start, so that no thread outlives the test.
class StartedHelperTest : public StartHelperTest
{
protected:
    StartedHelperTest()
    {
        EXPECT_TRUE(exitEvent.CreateMultipleGlobal(L"WATCHDOG_NOTIFY_UIDESKTRAY_EXITMelvio", nullptr));
        SetEvent(exitEvent.Handle());
    }

    void Start(const std::wstring& arguments)
    {
        SetCommandLine(arguments);
        ASSERT_EQ(helper.PreInit(), Status::Success);
        TheNeighbours().calls.clear();
        EXPECT_EQ(helper.Init(&app), Status::Success);
        EXPECT_TRUE(
            TestSupport::WaitUntil([this] { return log.Holds(L"SendMessage to exit QxSessionAgent..."); }));
        EXPECT_TRUE(TestSupport::WaitUntil([this] { return IsThroughWithItsMode(); }));
    }

    // The thread that runs the mode is then done with the helper.
    bool IsThroughWithItsMode() const
    {
        const auto calls = CallsBut("event");
        return log.Holds(L"Can not find the start mode") ||
               std::find(calls.begin(), calls.end(), "console <hello>") != calls.end();
    }

    Event exitEvent;
    CStartHelper helper;
};

TEST_F(StartedHelperTest, AnnouncesItselfAndTellsTheStateOfTheNetwork)
{
    Start(L"9");
    EXPECT_THAT(TheNeighbours().calls, ElementsAre("sens for no window", "network, flags 0", "event 18"));
    EXPECT_THAT(log.Texts(), Contains(L": [INFO] Create thread for waiting exit event..."));
    EXPECT_THAT(log.Texts(), Contains(L": [INFO] SendMessage to exit QxSessionAgent..."));
}

// The frame's place, taken by a plain window.
class FramedHelperTest : public StartedHelperTest
{
protected:
    FramedHelperTest()
    {
        window.CreateEx(0, AfxRegisterWndClass(0), L"frame", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr);
        app.m_pMainWnd = &window;
    }

    ~FramedHelperTest() override { window.DestroyWindow(); }

    std::optional<MSG> NextPosted(UINT first, UINT last)
    {
        MSG message{};
        const BOOL found = PeekMessageW(&message, window.m_hWnd, first, last, PM_REMOVE);
        return found ? std::optional(message) : std::nullopt;
    }

    CWnd window;
};

TEST_F(FramedHelperTest, TellsTheFrameOfTheNetworkThatStands)
{
    TheNeighbours().networkFlags = 2;
    Start(L"9");
    EXPECT_THAT(TheNeighbours().calls, Contains("sens"));
    const auto message = NextPosted(0x0430, 0x0432);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->message, 0x0430U);
    EXPECT_EQ(message->wParam, 2U);
    EXPECT_EQ(message->lParam, 0);
    EXPECT_FALSE(NextPosted(0x0430, 0x0432)) << "once";
}

TEST_F(FramedHelperTest, TellsTheFrameOfTheNetworkThatIsDown)
{
    TheNeighbours().networkAlive = false;
    TheNeighbours().networkFlags = 0;
    Start(L"9");
    const auto message = NextPosted(0x0430, 0x0432);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->message, 0x0432U);
    EXPECT_EQ(message->wParam, 0U);
}

TEST_F(FramedHelperTest, ClosesTheFrameOnceWhenTheExitEventIsSignalled)
{
    Start(L"9");
    EXPECT_TRUE(TestSupport::WaitUntil([this] { return NextPosted(WM_CLOSE, WM_CLOSE).has_value(); }));
    EXPECT_FALSE(NextPosted(WM_CLOSE, WM_CLOSE));
}

TEST_F(FramedHelperTest, EndsTheTimerOfTheActiveWindowAlone)
{
    Start(L"9");
    window.SetTimer(FrameTimer::ActiveWindow, 60000, nullptr);
    window.SetTimer(FrameTimer::InputInfo, 60000, nullptr);
    helper.Uninit(window.m_hWnd);
    EXPECT_FALSE(window.KillTimer(FrameTimer::ActiveWindow));
    EXPECT_TRUE(window.KillTimer(FrameTimer::InputInfo));
}

decltype(&_beginthreadex) g_beginThread = nullptr;

std::uintptr_t __cdecl RecordThread(void* security, unsigned stack, unsigned(__stdcall* start)(void*),
                                    void* argument, unsigned flags, unsigned* id)
{
    Record("thread");
    return g_beginThread(security, stack, start, argument, flags, id);
}

class ThreadOrderTest : public StartedHelperTest
{
protected:
    ThreadOrderTest() { g_beginThread = threads.Original<decltype(_beginthreadex)>(); }

    TestSupport::ImportPatch threads{nullptr, "_beginthreadex", &RecordThread};
};

TEST_F(ThreadOrderTest, SendsEventZeroBeforeAnyThreadInModeOne)
{
    Start(L"0x1");
    EXPECT_THAT(TheNeighbours().calls, ElementsAre("event 0", "thread", "thread", "sens for no window",
                                                   "network, flags 0", "event 18"));
}

TEST_F(ThreadOrderTest, SendsNoEventZeroInAnotherMode)
{
    Start(L"3");
    EXPECT_THAT(TheNeighbours().calls,
                ElementsAre("thread", "thread", "sens for no window", "network, flags 0", "event 18"));
}

TEST_F(StartedHelperTest, RunsTheStartFunctionsOnAThreadOfTheirOwn)
{
    Start(L"2");
    EXPECT_THAT(CallsBut("event"), Contains("console <hello>"));
    EXPECT_NE(TheNeighbours().consoleThread, GetCurrentThreadId());
}

TEST_F(StartedHelperTest, RunsOnAfterFailuresOfTheSystemAndTheService)
{
    TheNeighbours().sensInitialize = false;
    TheNeighbours().sendEvent = Status::NoClient;
    Start(L"1");
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Sent event failed...EventId=0"));
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] CQxSensSinkHelper Initialize() failed!!!"));
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] Send event failed...EventId=18"));
}

TEST_F(StartedHelperTest, TakesEverythingBackInOrder)
{
    Start(L"9");
    TheNeighbours().calls.clear();
    EXPECT_EQ(helper.Uninit(nullptr), Status::Success);
    EXPECT_THAT(TheNeighbours().calls, ElementsAre("unregister", "sens end", "crash handler end"));
    EXPECT_EQ(VzCommon::s_pDebugLog, nullptr);
}

TEST_F(StartedHelperTest, LogsWhatFailsAtTheEndAndGoesOn)
{
    Start(L"9");
    TheNeighbours().calls.clear();
    TheNeighbours().unregisterRpc = Status::NoClient;
    TheNeighbours().sensUninitialize = false;
    helper.Uninit(nullptr);
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] UnRegisterRPC failed with error 0xe0ff001a"));
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] CQxSensSinkHelper Uninitialize() failed!!!"));
    EXPECT_THAT(TheNeighbours().calls, Contains("crash handler end"));
}

TEST_F(StartHelperTest, LivesOnWithoutAnExitEvent)
{
    const HANDLE squatter = CreateMutexW(nullptr, FALSE, L"Global\\WATCHDOG_NOTIFY_UIDESKTRAY_EXITMelvio");
    ASSERT_NE(squatter, nullptr);
    VzCommon::InitDebugLog(L"QxSessionAgent");
    EXPECT_EQ(ExitWaitThread(&app), 0U);
    EXPECT_THAT(log.Texts(), Contains(L": [ERROR] CreateMultipleGlobal failed... ErrorCode=6"));
    CloseHandle(squatter);
}
} // namespace
