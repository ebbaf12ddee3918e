// The watchdog as a program, with a real service and a real agent process.
#include <gmock/gmock.h>

#include <windows.h>

#include <optional>

#include "AgentFolder.h"
#include "InstalledService.h"
#include "QxCommon_service.h"
#include "TestProgram.h"
#include "VzComn_Handle.h"
#include "VzComn_Synchronize.h"
#include "WaitUntil.h"

using namespace std::chrono_literals;
using ::testing::HasSubstr;

using TestSupport::InstalledService;
using TestSupport::WaitUntil;
using VzCommon::KernelHandle;
using VzCommon::Synchronize::Event;

namespace
{
// Of the product that QxWatchDog.exe belongs to.
constexpr const wchar_t* startRequest = L"Global\\WATCHDOG_EVENT_START_SERVICEOravex";
constexpr const wchar_t* stopRequest = L"Global\\WATCHDOG_EVENT_STOP_SERVICEOravex";
constexpr const wchar_t* crashSignal = L"Global\\WATCHDOG_EVENT_RESTART_QX_SESSIONAGENTOravex";

class WatchDogTest : public ::testing::Test
{
protected:
    WatchDogTest()
    {
        const std::wstring program = TestSupport::TestProgram(L"../../devkit/QxWatchDog", L"QxWatchDog.exe");
        CreateDirectoryW(folder.Dir().Path(L"win32").c_str(), nullptr);
        EXPECT_TRUE(CopyFileW(program.c_str(), Program().c_str(), TRUE));
    }

    ~WatchDogTest() override
    {
        if (m_watchdog)
        {
            TerminateProcess(m_watchdog.Get(), 0);
            WaitForSingleObject(m_watchdog.Get(), 30000);
        }
    }

    [[nodiscard]] std::wstring Program() const { return folder.Dir().Path(L"win32\\QxWatchDog.exe"); }

    void Install(const std::wstring& mode) { service.emplace(QxCommon::GetServiceName(), mode); }

    // Starts the watchdog and waits until it is seen.
    void StartWatchdog(const std::wstring& options)
    {
        m_watchdog = Launch(options, L"out.txt");
        ASSERT_TRUE(m_watchdog);
        ASSERT_TRUE(WaitUntil([] { return Event::ExistsGlobal(startRequest); }));
    }

    // Runs the program to its end and gives its exit code.
    DWORD Run(const std::wstring& options)
    {
        const KernelHandle process = Launch(options, L"run.txt");
        return ExitCodeOf(process.Get());
    }

    DWORD ExitCodeOf(HANDLE process)
    {
        DWORD code = 99;
        EXPECT_EQ(WaitForSingleObject(process, 30000), WAIT_OBJECT_0);
        GetExitCodeProcess(process, &code);
        return code;
    }

    DWORD WatchdogExitCode() { return ExitCodeOf(m_watchdog.Get()); }

    [[nodiscard]] std::string Output() const { return folder.Dir().Read(L"out.txt"); }

    [[nodiscard]] std::string RunOutput() const { return folder.Dir().Read(L"run.txt"); }

    bool Says(const std::string& words, std::size_t times = 1)
    {
        return WaitUntil([&] { return CountOf(words) >= times; });
    }

    // How often the watchdog has said it by now.
    [[nodiscard]] std::size_t CountOf(const std::string& words) const
    {
        const std::string output = Output();
        std::size_t count = 0;
        for (auto at = output.find(words); at != std::string::npos; at = output.find(words, at + 1))
        {
            ++count;
        }
        return count;
    }

    static void Signal(const wchar_t* name)
    {
        const KernelHandle event(OpenEventW(EVENT_MODIFY_STATE, FALSE, name));
        EXPECT_TRUE(event);
        SetEvent(event.Get());
    }

    // The pid of a service that lives under another process than before.
    bool IsBack(DWORD before)
    {
        return WaitUntil(
            [&]
            {
                const DWORD processId = service->ProcessId();
                return processId != 0 && processId != before && service->State() == SERVICE_RUNNING;
            });
    }

    AgentFolder folder;
    std::optional<InstalledService> service;

private:
    KernelHandle Launch(const std::wstring& options, const wchar_t* output)
    {
        SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
        const VzCommon::FileHandle file(CreateFileW(folder.Dir().Path(output).c_str(), FILE_APPEND_DATA,
                                                    FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                                                    CREATE_ALWAYS, 0, nullptr));
        STARTUPINFOW startup{};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = file.Get();
        PROCESS_INFORMATION started{};
        std::wstring commandLine = L'"' + Program() + L"\" " + options;
        EXPECT_TRUE(CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, CREATE_NEW_CONSOLE,
                                   nullptr, nullptr, &startup, &started));
        const KernelHandle thread(started.hThread);
        return KernelHandle(started.hProcess);
    }

    KernelHandle m_watchdog;
};
} // namespace

TEST_F(WatchDogTest, BringsServiceAndAgentUp)
{
    Install(L"slow-start 300");
    StartWatchdog(L"--mode 2");
    EXPECT_TRUE(service->Reaches(SERVICE_RUNNING));
    ASSERT_TRUE(folder.WaitForStarts(1));
    EXPECT_EQ(folder.Starts().front().mode, "2");
    EXPECT_TRUE(Says("The service runs."));
}

TEST_F(WatchDogTest, StartsTheAgentInModeOneOrNotAtAll)
{
    Install(L"normal");
    StartWatchdog(L"");
    ASSERT_TRUE(folder.WaitForStarts(1));
    EXPECT_EQ(folder.Starts().front().mode, "1");
    EXPECT_EQ(Run(L"--stop"), 0U);
    StartWatchdog(L"--service-only");
    EXPECT_TRUE(Says("The service runs."));
    EXPECT_EQ(Run(L"--stop"), 0U);
    EXPECT_EQ(WatchdogExitCode(), 0U);
    EXPECT_EQ(CountOf("The agent is started"), 0U);
    EXPECT_EQ(folder.Starts().size(), 1U);
}

TEST_F(WatchDogTest, LetsTheAgentSeeAndSignalItsEvents)
{
    Install(L"normal");
    StartWatchdog(L"--no-agent");
    for (const wchar_t* name : {startRequest, stopRequest, crashSignal})
    {
        EXPECT_TRUE(Event::ExistsGlobal(name));
        EXPECT_TRUE(KernelHandle(OpenEventW(EVENT_MODIFY_STATE, FALSE, name)));
    }
}

TEST_F(WatchDogTest, StopsTheServiceWhenAskedAndStartsItWhenAskedAgain)
{
    Install(L"slow-stop 100");
    StartWatchdog(L"--no-agent");
    ASSERT_TRUE(service->Reaches(SERVICE_RUNNING));
    EXPECT_EQ(QxCommon::StartServiceByWatchdog(30), Status::Success); // it runs already
    EXPECT_EQ(QxCommon::StopServiceByWatchdog(true, 30), Status::Success);
    EXPECT_TRUE(Says("The service is stopped."));
    Signal(stopRequest);
    EXPECT_TRUE(Says("The service is stopped.", 2)); // it has looked again, and has found it so
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_EQ(QxCommon::StartServiceByWatchdog(30), Status::Success);
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_RUNNING));
    EXPECT_EQ(CountOf("The service is started."), 2U);
}

TEST_F(WatchDogTest, StopsAServiceThatIsStillStarting)
{
    Install(L"slow-start 700");
    StartWatchdog(L"--no-agent");
    ASSERT_TRUE(service->Reaches(SERVICE_START_PENDING));
    EXPECT_EQ(QxCommon::StopServiceByWatchdog(true, 30), Status::Success);
    EXPECT_TRUE(Says("The service is stopped."));
}

TEST_F(WatchDogTest, BringsAKilledServiceBackEachTime)
{
    Install(L"normal");
    StartWatchdog(L"--no-agent");
    ASSERT_TRUE(Says("The service runs."));
    for (int death = 0; death < 3; ++death)
    {
        const DWORD before = service->ProcessId();
        service->Kill();
        EXPECT_TRUE(IsBack(before));
    }
}

TEST_F(WatchDogTest, LeavesAServiceStoppedThatSomebodyElseStopsAndKeepsItOnceItIsStarted)
{
    Install(L"normal");
    StartWatchdog(L"--no-agent");
    ASSERT_TRUE(Says("The service runs."));
    service->Stop();
    EXPECT_TRUE(Says("The service has been stopped by somebody else."));
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_STOPPED));
    service->Start();
    ASSERT_TRUE(WaitUntil([this] { return Output().rfind("runs.") > Output().find("else."); }));
    const DWORD before = service->ProcessId();
    service->Kill();
    EXPECT_TRUE(IsBack(before));
}

TEST_F(WatchDogTest, ComplainsOnceOfAServiceThatIsNotInstalledAndStartsItLater)
{
    StartWatchdog(L"--no-agent");
    EXPECT_TRUE(Says("The service cannot be opened: error 1060."));
    Install(L"normal");
    EXPECT_TRUE(service->Reaches(SERVICE_RUNNING));
    EXPECT_TRUE(Says("The service runs."));
    EXPECT_EQ(Output().find("1060"), Output().rfind("1060"));
}

TEST_F(WatchDogTest, StartsACrashedAgentAgainAfterASecond)
{
    Install(L"normal");
    StartWatchdog(L"--mode 3");
    ASSERT_TRUE(folder.WaitForStarts(1));
    folder.Behave("crash");
    ASSERT_TRUE(Says("it is started again in 1 s."));
    folder.Behave("run");
    ASSERT_TRUE(folder.WaitForStarts(2));
    const auto starts = folder.Starts();
    EXPECT_EQ(starts[1].mode, "3");
    EXPECT_GE(starts[1].milliseconds - starts[0].milliseconds, 1000U);
}

TEST_F(WatchDogTest, GivesUpAnAgentThatCrashesAtEveryStart)
{
    Install(L"normal");
    folder.Behave("crash");
    StartWatchdog(L"");
    EXPECT_TRUE(Says("The agent has crashed 5 times within a minute; it is not started again."));
    const auto starts = folder.Starts();
    ASSERT_EQ(starts.size(), 5U);
    for (std::size_t start = 1; start < starts.size(); ++start)
    {
        EXPECT_GE(starts[start].milliseconds - starts[start - 1].milliseconds, 1000U << (start - 1));
    }
}

TEST_F(WatchDogTest, EndsAnAgentThatSignalsACrashAndRunsOnAndStartsItAgain)
{
    Install(L"normal");
    StartWatchdog(L"");
    ASSERT_TRUE(folder.WaitForStarts(1));
    folder.Behave("signal");
    ASSERT_TRUE(folder.WaitForStarts(2));
    EXPECT_TRUE(Says("The agent has signalled a crash and runs on; it is ended."));
    const auto starts = folder.Starts();
    EXPECT_GE(starts[1].milliseconds - starts[0].milliseconds, 11000U);
}

TEST_F(WatchDogTest, HearsTheAgentAndItsOwnEndWhileTheServiceIsSlowToConnect)
{
    Install(L"mute");
    StartWatchdog(L"");
    ASSERT_TRUE(folder.WaitForStarts(1));
    folder.Behave("crash");
    ASSERT_TRUE(Says("it is started again in 1 s."));
    folder.Behave("run");
    ASSERT_TRUE(folder.WaitForStarts(2));
    Signal(stopRequest);
    EXPECT_TRUE(Says("The stop of the service is asked for."));
    EXPECT_EQ(Run(L"--stop"), 0U);
    EXPECT_EQ(WatchdogExitCode(), 0U);
    EXPECT_EQ(CountOf("The service"), 0U); // the manager still waits for it
}

TEST_F(WatchDogTest, LeavesAnAgentThatEndsWithoutACrash)
{
    Install(L"normal");
    StartWatchdog(L"");
    ASSERT_TRUE(folder.WaitForStarts(1));
    folder.Behave("leave");
    EXPECT_TRUE(Says("without a crash; it is left so."));
    // A crash that comes later is the first one, and its restart the only one.
    folder.Behave("run");
    Signal(crashSignal);
    EXPECT_TRUE(Says("it is started again in 1 s."));
    ASSERT_TRUE(folder.WaitForStarts(2));
    EXPECT_EQ(folder.Starts().size(), 2U);
    EXPECT_EQ(CountOf("The agent is started"), 2U);
}

TEST_F(WatchDogTest, RunsOnceAndEndsWhenAskedWithServiceAndAgentLeft)
{
    Install(L"normal");
    StartWatchdog(L"");
    ASSERT_TRUE(folder.WaitForStarts(1));
    ASSERT_TRUE(service->Reaches(SERVICE_RUNNING));
    EXPECT_EQ(Run(L"--mode 2"), 3U);
    EXPECT_THAT(RunOutput(), HasSubstr("A watchdog of this product runs already."));
    EXPECT_EQ(Run(L"--stop"), 0U);
    EXPECT_EQ(WatchdogExitCode(), 0U);
    EXPECT_FALSE(Event::ExistsGlobal(startRequest));
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_RUNNING));
    EXPECT_FALSE(DeleteFileW(folder.Agent().c_str())); // for it runs
    EXPECT_EQ(Run(L"--stop"), 4U);
    EXPECT_THAT(RunOutput(), HasSubstr("No watchdog of this product runs."));
}

TEST_F(WatchDogTest, EndsWhereAnotherKindOfObjectHasTheNameOfItsEvent)
{
    const KernelHandle mutex(CreateMutexW(nullptr, FALSE, startRequest));
    ASSERT_TRUE(mutex);
    EXPECT_EQ(Run(L"--no-agent"), 1U);
    EXPECT_THAT(RunOutput(), HasSubstr("WATCHDOG_EVENT_START_SERVICEOravex cannot be made: error 6."));
    EXPECT_EQ(Run(L"--stop"), 4U);
}

TEST_F(WatchDogTest, TellsHowItIsUsed)
{
    EXPECT_EQ(Run(L"--help"), 0U);
    EXPECT_THAT(RunOutput(), HasSubstr("--service-only"));
    EXPECT_EQ(Run(L"--what"), 2U);
    EXPECT_THAT(RunOutput(), HasSubstr("Unknown option --what. Try --help."));
}
