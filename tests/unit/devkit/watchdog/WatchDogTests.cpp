// The watchdog as a program, with a real service and a real agent process.
#include <gmock/gmock.h>

#include <windows.h>

#include <optional>

#include "AgentFolder.h"
#include "InstalledService.h"
#include "ObjectNames.h"
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
constexpr DWORD eventModifyState = 2;

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
        ASSERT_TRUE(
            WaitUntil([] { return Event::ExistsGlobal(QxCommon::GetStartRequestEventName().c_str()); }));
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

    bool Says(const std::string& words)
    {
        return WaitUntil([&] { return Output().find(words) != std::string::npos; });
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
    EXPECT_EQ(folder.Starts().size(), 1U);
}

TEST_F(WatchDogTest, LetsTheAgentSeeAndSignalItsEvents)
{
    Install(L"normal");
    StartWatchdog(L"--no-agent");
    for (const std::wstring& name : {QxCommon::GetStartRequestEventName(),
                                     QxCommon::GetStopRequestEventName(), ObjectNames::CrashRestartEvent()})
    {
        EXPECT_TRUE(Event::ExistsGlobal(name.c_str()));
        EXPECT_TRUE(KernelHandle(OpenEventW(eventModifyState, FALSE, name.c_str())));
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
    EXPECT_FALSE(WaitUntil([this] { return service->State() != SERVICE_STOPPED; }, 2500ms));
    EXPECT_EQ(QxCommon::StartServiceByWatchdog(30), Status::Success);
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_RUNNING));
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

TEST_F(WatchDogTest, LeavesAnAgentThatEndsWithoutACrash)
{
    Install(L"normal");
    StartWatchdog(L"");
    ASSERT_TRUE(folder.WaitForStarts(1));
    folder.Behave("leave");
    EXPECT_TRUE(Says("without a crash; it is left so."));
    EXPECT_FALSE(WaitUntil([this] { return folder.Starts().size() > 1; }, 2000ms));
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
    EXPECT_FALSE(Event::ExistsGlobal(QxCommon::GetStartRequestEventName().c_str()));
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_RUNNING));
    EXPECT_FALSE(DeleteFileW(folder.Agent().c_str())); // for it runs
    EXPECT_EQ(Run(L"--stop"), 4U);
    EXPECT_THAT(RunOutput(), HasSubstr("No watchdog of this product runs."));
}

TEST_F(WatchDogTest, TellsHowItIsUsed)
{
    EXPECT_EQ(Run(L"--help"), 0U);
    EXPECT_THAT(RunOutput(), HasSubstr("--service-only"));
    EXPECT_EQ(Run(L"--what"), 2U);
    EXPECT_THAT(RunOutput(), HasSubstr("Unknown option --what. Try --help."));
}
