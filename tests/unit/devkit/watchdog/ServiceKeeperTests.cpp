// The service's keeper before a service manager that the test plays, in a time that the test tells it.
#include "ServiceKeeper.h"

#include <gmock/gmock.h>

#include "ImportPatch.h"
#include "LogCapture.h"

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::ImportPatch;
using VzCommon::KernelHandle;
using WatchDog::Clock;
using WatchDog::ServiceKeeper;

namespace
{
// The one service of the played manager, and what the manager refuses.
struct Manager
{
    DWORD state = SERVICE_STOPPED;
    DWORD exitCode = NO_ERROR;
    DWORD processId = 0;
    KernelHandle process{CreateEventW(nullptr, TRUE, FALSE, nullptr)}; // signalled when it has ended
    DWORD openError = NO_ERROR;
    DWORD queryError = NO_ERROR;
    DWORD startError = NO_ERROR;
    DWORD stopError = NO_ERROR;
    DWORD processError = NO_ERROR;
    int starts = 0;
    int stops = 0;
} g_manager;

BOOL Answer(DWORD error)
{
    SetLastError(error);
    return error == NO_ERROR;
}

SC_HANDLE SomeHandle()
{
    return reinterpret_cast<SC_HANDLE>(&g_manager);
}

SC_HANDLE WINAPI FakeOpenManager(const wchar_t* /*machine*/, const wchar_t* /*database*/, DWORD /*access*/)
{
    return SomeHandle();
}

SC_HANDLE WINAPI FakeOpenService(SC_HANDLE /*manager*/, const wchar_t* /*name*/, DWORD /*access*/)
{
    return Answer(g_manager.openError) ? SomeHandle() : nullptr;
}

BOOL WINAPI FakeClose(SC_HANDLE /*handle*/)
{
    return TRUE;
}

BOOL WINAPI FakeQuery(SC_HANDLE /*service*/, SC_STATUS_TYPE /*level*/, BYTE* buffer, DWORD /*size*/,
                      DWORD* /*needed*/)
{
    if (g_manager.queryError == NO_ERROR)
    {
        auto& status = *reinterpret_cast<SERVICE_STATUS_PROCESS*>(buffer);
        status.dwCurrentState = g_manager.state;
        status.dwWin32ExitCode = g_manager.exitCode;
        status.dwProcessId = g_manager.processId;
    }
    return Answer(g_manager.queryError);
}

BOOL WINAPI FakeStart(SC_HANDLE /*service*/, DWORD /*count*/, const wchar_t** /*arguments*/)
{
    ++g_manager.starts;
    return Answer(g_manager.startError);
}

BOOL WINAPI FakeControl(SC_HANDLE /*service*/, DWORD control, SERVICE_STATUS* /*status*/)
{
    EXPECT_EQ(control, static_cast<DWORD>(SERVICE_CONTROL_STOP));
    ++g_manager.stops;
    return Answer(g_manager.stopError);
}

HANDLE WINAPI FakeOpenProcess(DWORD /*access*/, BOOL /*inherit*/, DWORD processId)
{
    EXPECT_EQ(processId, g_manager.processId);
    HANDLE process = nullptr;
    if (g_manager.processError == NO_ERROR)
    {
        DuplicateHandle(GetCurrentProcess(), g_manager.process.Get(), GetCurrentProcess(), &process, 0, FALSE,
                        DUPLICATE_SAME_ACCESS);
    }
    Answer(g_manager.processError);
    return process;
}

class ServiceKeeperTest : public ::testing::Test
{
protected:
    ServiceKeeperTest() { g_manager = {}; }

    std::optional<std::chrono::milliseconds> Step() { return keeper.Step(now); }

    // Steps until this much time has passed.
    void PassTime(Clock::duration duration)
    {
        for (const auto end = now + duration; now < end;)
        {
            const auto next = Step();
            now += next ? Clock::duration(*next) : end - now;
        }
    }

    static void Run(DWORD processId = 77)
    {
        g_manager.state = SERVICE_RUNNING;
        g_manager.processId = processId;
        ResetEvent(g_manager.process.Get());
    }

    static void GoDown(DWORD exitCode)
    {
        g_manager.state = SERVICE_STOPPED;
        g_manager.exitCode = exitCode;
        g_manager.processId = 0;
        SetEvent(g_manager.process.Get());
    }

    void Die()
    {
        GoDown(ERROR_PROCESS_ABORTED);
        keeper.OnProcessEnd();
    }

    // The time until the service is started once more.
    Clock::duration NextStart()
    {
        const auto begin = now;
        for (const int before = g_manager.starts; g_manager.starts == before;)
        {
            const auto next = Step();
            if (g_manager.starts == before)
            {
                now += next.value_or(1h);
            }
        }
        return now - begin;
    }

    ServiceKeeper keeper{L"Some Host Service"};
    Clock::time_point now{1000h};
    TestSupport::LogCapture log{0x0111};

private:
    ImportPatch m_openManager{nullptr, "OpenSCManagerW", &FakeOpenManager};
    ImportPatch m_openService{nullptr, "OpenServiceW", &FakeOpenService};
    ImportPatch m_close{nullptr, "CloseServiceHandle", &FakeClose};
    ImportPatch m_query{nullptr, "QueryServiceStatusEx", &FakeQuery};
    ImportPatch m_start{nullptr, "StartServiceW", &FakeStart};
    ImportPatch m_control{nullptr, "ControlService", &FakeControl};
    ImportPatch m_openProcess{nullptr, "OpenProcess", &FakeOpenProcess};
};
} // namespace

TEST_F(ServiceKeeperTest, WaitsLongerAndLongerForAServiceThatDiesAtOnceUpToAMinute)
{
    keeper.WantRunning();
    std::vector<std::chrono::seconds> waits;
    for (int start = 0; start < 9; ++start)
    {
        waits.push_back(std::chrono::duration_cast<std::chrono::seconds>(NextStart()));
        Run();
        (void)Step();
        Die();
    }
    EXPECT_THAT(waits, ElementsAre(0s, 1s, 2s, 4s, 8s, 16s, 32s, 60s, 60s));
}

TEST_F(ServiceKeeperTest, WaitsAsLongForAServiceWhoseProcessItNeverSees)
{
    g_manager.exitCode = ERROR_PROCESS_ABORTED;
    keeper.WantRunning();
    PassTime(64s);
    EXPECT_EQ(g_manager.starts, 7); // at 0, 1, 3, 7, 15, 31 and 63 s
    EXPECT_EQ(log.Texts().size(), 14U);
    EXPECT_EQ(log.Texts()[0], L": [INFO] The service is started.");
    EXPECT_EQ(log.Texts()[1], L": [ERROR] The process of the service has died.");
}

TEST_F(ServiceKeeperTest, WaitsLongerAndLongerForAServiceThatCannotBeStarted)
{
    g_manager.startError = ERROR_FILE_NOT_FOUND;
    keeper.WantRunning();
    PassTime(64s);
    EXPECT_EQ(g_manager.starts, 7);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] The service cannot be started: error 2."));
}

TEST_F(ServiceKeeperTest, BeginsAnewAfterHalfAMinuteOfService)
{
    keeper.WantRunning();
    for (int start = 0; start < 5; ++start)
    {
        (void)NextStart();
        Run();
        (void)Step();
        Die();
    }
    EXPECT_EQ(NextStart(), 16s);
    Run();
    (void)Step();
    now += 29s;
    Die();
    EXPECT_EQ(NextStart(), 3s); // of 32
    Run();
    (void)Step();
    now += 30s;
    Die();
    EXPECT_EQ(NextStart(), 0s);
    Run();
    (void)Step();
    Die();
    EXPECT_EQ(NextStart(), 1s);
}

TEST_F(ServiceKeeperTest, TriesAgainEachSecondWhileTheManagerHasNotHeardOfTheDeath)
{
    Run();
    keeper.WantRunning();
    (void)Step();
    keeper.OnProcessEnd();
    g_manager.processError = ERROR_INVALID_PARAMETER;
    g_manager.startError = ERROR_SERVICE_ALREADY_RUNNING;
    PassTime(10s);
    EXPECT_EQ(g_manager.starts, 10);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] The service runs.",
                                         L": [ERROR] The process of the service has died."));
}

TEST_F(ServiceKeeperTest, WatchesAServiceThatSomebodyElseStartsBeforeItsTime)
{
    keeper.WantRunning();
    for (int start = 0; start < 7; ++start)
    {
        (void)NextStart();
        Run();
        (void)Step();
        Die();
    }
    PassTime(3s); // of more than half a minute
    Run();
    PassTime(1s);
    EXPECT_NE(keeper.Process(), nullptr);
}

TEST_F(ServiceKeeperTest, StartsAtOnceWhenAskedAgain)
{
    keeper.WantRunning();
    for (int start = 0; start < 5; ++start)
    {
        (void)NextStart();
        Run();
        (void)Step();
        Die();
    }
    keeper.WantRunning();
    EXPECT_EQ(NextStart(), 0s);
}

TEST_F(ServiceKeeperTest, TakesTheEndOfAServiceThatWasGoingDownForNoDeath)
{
    Run();
    g_manager.state = SERVICE_STOP_PENDING;
    keeper.WantRunning();
    EXPECT_EQ(Step(), 100ms);
    GoDown(NO_ERROR);
    keeper.OnProcessEnd();
    (void)Step();
    EXPECT_EQ(g_manager.starts, 1);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] The service is started."));
}

TEST_F(ServiceKeeperTest, LeavesAServiceStoppedWhoseProcessItMayNotOpen)
{
    g_manager.processError = ERROR_ACCESS_DENIED;
    Run();
    keeper.WantRunning();
    EXPECT_EQ(Step(), 1000ms);
    EXPECT_EQ(keeper.Process(), nullptr);
    log.Clear();
    GoDown(NO_ERROR);
    PassTime(5min);
    EXPECT_EQ(g_manager.starts, 0);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] The service has been stopped by somebody else."));
}

TEST_F(ServiceKeeperTest, BringsBackAServiceThatDiesAndWhoseProcessItMayNotOpen)
{
    g_manager.processError = ERROR_ACCESS_DENIED;
    Run();
    keeper.WantRunning();
    (void)Step();
    GoDown(ERROR_PROCESS_ABORTED);
    EXPECT_EQ(NextStart(), 0s);
}

TEST_F(ServiceKeeperTest, LeavesAServiceStoppedWhoseStateItLearnsLater)
{
    Run();
    keeper.WantRunning();
    (void)Step();
    GoDown(NO_ERROR);
    keeper.OnProcessEnd();
    g_manager.queryError = ERROR_ACCESS_DENIED;
    (void)Step();
    g_manager.queryError = NO_ERROR;
    PassTime(5min);
    EXPECT_EQ(g_manager.starts, 0);
}

TEST_F(ServiceKeeperTest, KeepsTheWishToStopWhileTheStateCannotBeHad)
{
    Run();
    g_manager.queryError = ERROR_ACCESS_DENIED;
    keeper.WantStopped();
    PassTime(5s);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] The service does not tell its state: error 5."));
    log.Clear();
    g_manager.queryError = NO_ERROR;
    (void)Step();
    EXPECT_EQ(g_manager.stops, 1);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(ServiceKeeperTest, KeepsTheWishToStopAServiceThatHasNoProcessYet)
{
    g_manager.state = SERVICE_START_PENDING;
    keeper.WantStopped();
    PassTime(5s);
    EXPECT_THAT(log.Texts(), IsEmpty());
    Run();
    (void)Step();
    EXPECT_EQ(g_manager.stops, 1);
    GoDown(NO_ERROR);
    keeper.OnProcessEnd();
    (void)Step();
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] The service is stopped."));
}

TEST_F(ServiceKeeperTest, IsContentWhenWhatItIsToStopIsNotInstalled)
{
    keeper.WantStopped();
    g_manager.openError = ERROR_ACCESS_DENIED;
    (void)Step();
    EXPECT_FALSE(keeper.IsContent());
    g_manager.openError = ERROR_SERVICE_DOES_NOT_EXIST;
    (void)Step();
    EXPECT_TRUE(keeper.IsContent());
}

TEST_F(ServiceKeeperTest, AsksAServiceThatDoesNotStopOnceASecond)
{
    Run();
    g_manager.stopError = ERROR_INVALID_SERVICE_CONTROL;
    keeper.WantStopped();
    PassTime(10s);
    EXPECT_EQ(g_manager.stops, 10);
    EXPECT_THAT(log.Texts(),
                ElementsAre(L": [ERROR] The service does not take the request to stop: error 1052."));
}

TEST_F(ServiceKeeperTest, ComplainsOfEachOperationThatFailsForTheSameReason)
{
    Run();
    g_manager.stopError = ERROR_ACCESS_DENIED;
    keeper.WantStopped();
    (void)Step();
    g_manager.queryError = ERROR_ACCESS_DENIED;
    PassTime(5s);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] The service does not take the request to stop: error 5.",
                                         L": [ERROR] The service does not tell its state: error 5."));
}
