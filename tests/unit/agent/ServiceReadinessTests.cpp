// Whether the agent's start goes on: the real operations on real services of the real manager, on each
// version of the system. A second lasts some milliseconds; every test needs a process of its own, for the
// version of the system is asked for once.
#include "StartHelper.h"

#include <gmock/gmock.h>

#include <functional>
#include <optional>

#include "../vzcommon/FakeOsVersion.h"
#include "FakeProduct.h"
#include "FakeRefusals.h"
#include "FastSeconds.h"
#include "ImportPatch.h"
#include "InstalledService.h"
#include "LogCapture.h"
#include "QxCommon_service.h"
#include "TestProgram.h"
#include "VzComn_Synchronize.h"

using ::testing::ElementsAre;
using TestSupport::FakeOsVersion;
using TestSupport::ImportPatch;
using TestSupport::InstalledService;

namespace
{
struct Windows
{
    const char* name;
    FakeOsVersion::System system;
};

void PrintTo(const Windows& windows, std::ostream* stream)
{
    *stream << windows.name;
}

constexpr Windows windows7{"Windows 7", {VER_PLATFORM_WIN32_NT, 6, 1, 1, VER_NT_WORKSTATION}};
constexpr Windows windows8{"Windows 8", {VER_PLATFORM_WIN32_NT, 6, 2, 0, VER_NT_WORKSTATION}};
constexpr Windows windows10{"Windows 10", {VER_PLATFORM_WIN32_NT, 10, 0, 0, VER_NT_WORKSTATION}};

std::wstring g_commandLine;

LPWSTR WINAPI FakeGetCommandLineW()
{
    return g_commandLine.data();
}

int g_launches = 0;

HINSTANCE WINAPI NoteLaunch(HWND /*window*/, const wchar_t* verb, const wchar_t* file,
                            const wchar_t* parameters, const wchar_t* /*folder*/, int /*show*/)
{
    EXPECT_STREQ(verb, L"runas");
    EXPECT_STREQ(file, L"C:\\Product\\QxSessionAgent_M.exe");
    EXPECT_EQ(parameters, nullptr);
    ++g_launches;
    return nullptr;
}

class ServiceReadinessTest : public ::testing::Test
{
    FakeOsVersion m_version;

protected:
    // The log asks for the version already.
    explicit ServiceReadinessTest(const Windows& windows = windows10) : m_version(windows.system) {}

    void Install(const std::wstring& mode)
    {
        const std::wstring name = QxCommon::GetServiceName();
        service.emplace(name, InstalledService::Command{program + L" \"" + name + L"\" " + mode});
    }

    void InstallRunning()
    {
        Install(L"normal");
        service->Start();
        ASSERT_TRUE(service->Reaches(SERVICE_RUNNING));
    }

    // With the rights of an event that others may ask for, as the watchdog makes it.
    void MakeEvent()
    {
        ASSERT_TRUE(request.CreateGlobal(QxCommon::GetStartRequestEventName(), false, false, false, nullptr));
    }

    // A watchdog that starts the service when it is asked.
    void PlayWatchdog()
    {
        MakeEvent();
        seconds.InEach(
            [this]
            {
                if (IsAsked())
                {
                    ++requests;
                    service->Start();
                }
            });
    }

    [[nodiscard]] bool IsAsked() const { return WaitForSingleObject(request.Handle(), 0) == WAIT_OBJECT_0; }

    AgentStatus Check(const std::wstring& mode)
    {
        g_commandLine = L"QxSessionAgent_M.exe " + mode;
        EXPECT_EQ(helper.ParseCmdLine(), Status::Success);
        m_log.Clear();
        return helper.CheckQxSvc();
    }

    // The log between entry and end of the check, without the traces.
    [[nodiscard]] std::vector<std::wstring> Lines() const
    {
        std::vector<std::wstring> lines;
        for (const TestSupport::LogMessage& message : m_log.Messages())
        {
            if (message.text.rfind(L"[INFO],[]", 0) != 0)
            {
                lines.push_back(message.tag + L' ' + message.text);
            }
        }
        return lines;
    }

    [[nodiscard]] std::vector<std::wstring> Texts() const { return m_log.Texts(); }

    // Looked for before this program counts as another.
    const std::wstring program = L'"' + TestSupport::TestProgram(L"TestService", L"TestService.exe") + L'"';
    FakeProduct product{L"QxSessionAgent_M.exe"};
    std::optional<InstalledService> service;
    VzCommon::Synchronize::Event request;
    int requests = 0; // that the played watchdog has heard
    CStartHelper helper;
    TestSupport::FastSeconds seconds{20};

private:
    TestSupport::LogCapture m_log{logLevels};
    ImportPatch m_commandLine{nullptr, "GetCommandLineW", &FakeGetCommandLineW};
};

constexpr const wchar_t* waitTimedOut =
    L"!!! : [ERROR] VzCommon::Service::Base::WaitStatus() failed... ErrorCode = 1460";
constexpr const wchar_t* watchTimedOut = L"!!! VzCommon::Service::Base::WaitStatus() failed: 0x000005B4";

// The same on each system that has the version of Windows 8 or a later one.
class ModernReadinessTest : public ServiceReadinessTest, public ::testing::WithParamInterface<Windows>
{
protected:
    ModernReadinessTest() : ServiceReadinessTest(GetParam()) {}
};

INSTANTIATE_TEST_SUITE_P(Windows, ModernReadinessTest, ::testing::Values(windows8, windows10));

// The same on every system.
class AnyReadinessTest : public ServiceReadinessTest, public ::testing::WithParamInterface<Windows>
{
protected:
    AnyReadinessTest() : ServiceReadinessTest(GetParam()) {}
};

INSTANTIATE_TEST_SUITE_P(Windows, AnyReadinessTest, ::testing::Values(windows7, windows8, windows10));

class OldReadinessTest : public ServiceReadinessTest
{
protected:
    OldReadinessTest() : ServiceReadinessTest(windows7) {}
};
} // namespace

TEST_P(AnyReadinessTest, ModeOneIsContentWithARunningServiceAtOnceAndOpensNoEvent)
{
    InstallRunning();
    MakeEvent();
    const ImportPatch event(nullptr, "OpenEventW", &ForbiddenEvent);
    EXPECT_EQ(Check(L"1"), Status::Success);
    EXPECT_EQ(seconds.Count(), 0U);
    EXPECT_FALSE(IsAsked());
    EXPECT_THAT(Texts(), ElementsAre(L"[INFO],[], ==> CStartHelper::CheckQxSvc",
                                     L"[INFO],[], ==> CStartHelper::WaitQxSvc",
                                     L"[INFO],[], <== CStartHelper::WaitQxSvc",
                                     L"[INFO],[], <== CStartHelper::CheckQxSvc"));
}

TEST_P(ModernReadinessTest, ModeOneWaitsForAServiceThatIsJustStarting)
{
    Install(L"normal");
    MakeEvent();
    seconds.LetLast(1000);
    seconds.InEach(
        [this]
        {
            if (seconds.Count() == 1)
            {
                service->Start();
            }
        });
    EXPECT_EQ(Check(L"1"), Status::Success);
    EXPECT_FALSE(IsAsked());
    EXPECT_THAT(Lines(), ElementsAre());
}

TEST_P(ModernReadinessTest, ModeOneEndsWithoutAWatchdogAfterThreeSeconds)
{
    Install(L"normal");
    EXPECT_EQ(Check(L"1"), Status::NotFound);
    EXPECT_EQ(seconds.Count(), 3U);
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_THAT(Lines(),
                ElementsAre(waitTimedOut, L"@@@ : [WARN] QxWatchDog does not exist, just return..."));
}

TEST_P(ModernReadinessTest, ModeOneAsksTheWatchdogThatIsThere)
{
    Install(L"slow-start 100");
    PlayWatchdog();
    seconds.InEach(
        [this, asked = seconds.Action()]
        {
            // The first three seconds only watch.
            EXPECT_TRUE(seconds.Count() > 3 || service->State() == SERVICE_STOPPED);
            if (seconds.Count() > 3)
            {
                asked();
            }
        });
    EXPECT_EQ(Check(L"1"), Status::Success);
    EXPECT_EQ(requests, 1);
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_RUNNING));
    EXPECT_THAT(Lines(), ElementsAre(waitTimedOut));
}

TEST_P(ModernReadinessTest, ModeOneReportsAWatchdogThatDoesNotBringTheServiceUp)
{
    Install(L"normal");
    MakeEvent();
    seconds.LetLast(0);
    EXPECT_EQ(Check(L"1"), Status::FromBits(0xE0FE05B4));
    EXPECT_EQ(seconds.Count(), 123U);
    EXPECT_TRUE(IsAsked());
    EXPECT_THAT(Lines(), ElementsAre(waitTimedOut, watchTimedOut,
                                     L"!!! : [ERROR] Start service failed with 0xe0fe05b4"));
}

TEST_P(ModernReadinessTest, ModeOneWaitsForNothingThatIsNotInstalled)
{
    EXPECT_EQ(Check(L"1"), Status::NotFound);
    EXPECT_EQ(seconds.Count(), 0U);
    EXPECT_THAT(Lines(),
                ElementsAre(L"!!! : [ERROR] VzCommon::Service::Base::Open() failed... ErrorCode = 1060",
                            L"@@@ : [WARN] QxWatchDog does not exist, just return..."));
}

TEST_F(OldReadinessTest, ModeOneWaitsTenMinutesAndAsksNobody)
{
    Install(L"normal");
    MakeEvent();
    seconds.LetLast(0);
    EXPECT_EQ(Check(L"1"), Status::FromBits(0xE0FE05B4));
    EXPECT_EQ(seconds.Count(), 603U);
    EXPECT_FALSE(IsAsked());
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_THAT(Lines(), ElementsAre(waitTimedOut, waitTimedOut,
                                     L"!!! : [ERROR] QX service was not started... 0xe0fe05b4"));
}

TEST_F(OldReadinessTest, ModeOneGoesOnWhenTheServiceComesLate)
{
    Install(L"slow-start 100");
    seconds.LetLast(5);
    seconds.InEach(
        [this]
        {
            if (seconds.Count() == 20)
            {
                service->Start();
            }
        });
    EXPECT_EQ(Check(L"1"), Status::Success);
    EXPECT_THAT(Lines(), ElementsAre(waitTimedOut));
}

TEST_F(OldReadinessTest, ModeOneReportsAServiceThatIsNotInstalled)
{
    EXPECT_EQ(Check(L"1"), Status::FromBits(0xE0FE0424));
    EXPECT_EQ(seconds.Count(), 0U);
    EXPECT_THAT(Lines(),
                ElementsAre(L"!!! : [ERROR] VzCommon::Service::Base::Open() failed... ErrorCode = 1060",
                            L"!!! : [ERROR] VzCommon::Service::Base::Open() failed... ErrorCode = 1060",
                            L"!!! : [ERROR] QX service was not started... 0xe0fe0424"));
}

TEST_F(OldReadinessTest, ModeOneReportsAManagerThatRefusesAndNeverRelaunches)
{
    const ImportPatch manager(nullptr, "OpenSCManagerW", &DeniedManager);
    const ImportPatch shell(nullptr, "ShellExecuteW", &NoteLaunch);
    EXPECT_EQ(Check(L"1"), Status::FromBits(0xE0FE0005));
    EXPECT_EQ(g_launches, 0);
    EXPECT_THAT(Lines(),
                ElementsAre(L"!!! : [ERROR] VzCommon::Service::Base::Connect() failed... ErrorCode = 5",
                            L"!!! : [ERROR] VzCommon::Service::Base::Connect() failed... ErrorCode = 5",
                            L"!!! : [ERROR] QX service was not started... 0xe0fe0005"));
}

class OtherModesTest : public ServiceReadinessTest,
                       public ::testing::WithParamInterface<std::tuple<Windows, std::string>>
{
protected:
    OtherModesTest() : ServiceReadinessTest(std::get<Windows>(GetParam())) {}

    AgentStatus CheckInMode()
    {
        const std::string& mode = std::get<std::string>(GetParam());
        return Check({mode.begin(), mode.end()});
    }
};

INSTANTIATE_TEST_SUITE_P(Modes, OtherModesTest,
                         ::testing::Combine(::testing::Values(windows7, windows8, windows10),
                                            ::testing::Values("0", "2", "5", "", "-1", "tray")));

TEST_P(OtherModesTest, AskTheWatchdogWithoutWaitingFirst)
{
    Install(L"slow-start 100");
    PlayWatchdog();
    EXPECT_EQ(CheckInMode(), Status::Success);
    EXPECT_EQ(requests, 1);
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_RUNNING));
    EXPECT_THAT(Texts(), ElementsAre(L"[INFO],[], ==> CStartHelper::CheckQxSvc",
                                     L"[INFO],[], <== CStartHelper::CheckQxSvc"));
}

TEST_P(OtherModesTest, StartTheServiceThemselvesWithoutAWatchdog)
{
    Install(L"slow-start 100");
    EXPECT_EQ(CheckInMode(), Status::Success);
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_RUNNING));
    EXPECT_THAT(Lines(), ElementsAre());
}

TEST_P(AnyReadinessTest, OtherModesAskTheWatchdogEvenForARunningService)
{
    InstallRunning();
    MakeEvent();
    EXPECT_EQ(Check(L"5"), Status::Success);
    EXPECT_TRUE(IsAsked());
    EXPECT_EQ(seconds.Count(), 0U);
}

TEST_P(AnyReadinessTest, OtherModesAreContentWithARunningServiceAndNoWatchdog)
{
    InstallRunning();
    EXPECT_EQ(Check(L"5"), Status::Success);
    EXPECT_THAT(Lines(), ElementsAre(L"@@@ Service is already running..."));
}

TEST_P(AnyReadinessTest, OtherModesReportAWatchdogThatDoesNotBringTheServiceUp)
{
    Install(L"normal");
    MakeEvent();
    seconds.LetLast(0);
    EXPECT_EQ(Check(L"5"), Status::FromBits(0xE0FE05B4));
    EXPECT_EQ(seconds.Count(), 120U);
    EXPECT_THAT(Lines(), ElementsAre(watchTimedOut, L"!!! : [ERROR] Start service failed with 0xe0fe05b4"));
}

TEST_P(AnyReadinessTest, OtherModesRelaunchWhenTheyMayNotStartTheService)
{
    const ImportPatch manager(nullptr, "OpenServiceW", &DeniedService);
    const ImportPatch shell(nullptr, "ShellExecuteW", &NoteLaunch);
    EXPECT_EQ(Check(L"5"), Status::FromBits(0xE0FE0005));
    EXPECT_EQ(g_launches, 1);
    EXPECT_EQ(seconds.Count(), 0U);
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::Open() failed: 0x00000005"));
}

TEST_P(AnyReadinessTest, OtherModesRelaunchWhenOnlyTheStartItselfIsDenied)
{
    Install(L"normal");
    const ImportPatch start(nullptr, "StartServiceW", &DeniedStart);
    const ImportPatch shell(nullptr, "ShellExecuteW", &NoteLaunch);
    EXPECT_EQ(Check(L"5"), Status::FromBits(0xE0FE0005));
    EXPECT_EQ(g_launches, 1);
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::Start() failed: 0x00000005"));
}

TEST_P(AnyReadinessTest, OtherModesDoNotRelaunchForAnotherFailure)
{
    const ImportPatch shell(nullptr, "ShellExecuteW", &NoteLaunch);
    EXPECT_EQ(Check(L"5"), Status::FromBits(0xE0FE0424));
    EXPECT_EQ(g_launches, 0);
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::Open() failed: 0x00000424"));
}

TEST_P(AnyReadinessTest, OtherModesDoNotRelaunchWhenTheyMayNotAskTheWatchdog)
{
    seconds.LetLast(0);
    const ImportPatch event(nullptr, "OpenEventW", &DeniedEvent);
    const ImportPatch shell(nullptr, "ShellExecuteW", &NoteLaunch);
    EXPECT_EQ(Check(L"5"), Status::FromBits(0xE0FE0005));
    EXPECT_EQ(g_launches, 0);
    EXPECT_EQ(seconds.Count(), 120U);
    EXPECT_THAT(Lines(), ElementsAre(L"!!! OpenEvent for WATCHDOG_EVENT_START_SERVICE failed: 0x00000005",
                                     L"!!! : [ERROR] Start service failed with 0xe0fe0005"));
}

TEST_P(AnyReadinessTest, OtherModesAwaitAStopThatIsUnderWayAndStartOneSecondLater)
{
    Install(L"slow-stop 300");
    service->Start();
    ASSERT_TRUE(service->Reaches(SERVICE_RUNNING));
    service->Stop();
    std::vector<DWORD> states;
    seconds.InEach([&] { states.push_back(service->State()); });
    EXPECT_EQ(Check(L"5"), Status::Success);
    ASSERT_GE(states.size(), 2U);
    EXPECT_EQ(states.front(), static_cast<DWORD>(SERVICE_STOP_PENDING));
    EXPECT_THAT(states, ::testing::Contains(static_cast<DWORD>(SERVICE_STOPPED)));
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_RUNNING));
}

TEST_P(AnyReadinessTest, WithoutAWatchdogAStopDoesNotLookAtTheService)
{
    InstallRunning();
    {
        const ImportPatch manager(nullptr, "OpenSCManagerW", &ForbiddenManager);
        EXPECT_EQ(QxCommon::StopServiceByWatchdog(true, 120), Status::Success);
    }
    EXPECT_EQ(seconds.Count(), 0U);
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_RUNNING));
}
