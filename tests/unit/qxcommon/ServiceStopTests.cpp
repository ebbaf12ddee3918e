// Stopping the host service, and starting this program again with more rights.
#include "ServiceScene.h"

#include "ObjectCounts.h"
#include "QxCommon_utility.h"

#include <shellapi.h>

using QxCommon::GetServiceName;
using QxCommon::GetStopRequestEventName;
using QxCommon::RelaunchElevated;
using QxCommon::StopServiceByWatchdog;
using QxCommon::StopServiceDirect;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::ImportPatch;

namespace
{

class ServiceStopTest : public ServiceScene
{
protected:
    AgentStatus StopDirect(std::uint32_t limitSeconds = 120)
    {
        return StopServiceDirect(GetServiceName(), limitSeconds);
    }

    void MakeEvent()
    {
        ASSERT_TRUE(event.CreateGlobal(GetStopRequestEventName(), false, false, false, nullptr));
    }
};

int g_calls = 0;

SC_HANDLE WINAPI CountedManager(const wchar_t* /*machine*/, const wchar_t* /*database*/, DWORD /*access*/)
{
    ++g_calls;
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

BOOL WINAPI CountedControl(SC_HANDLE /*service*/, DWORD /*control*/, SERVICE_STATUS* /*status*/)
{
    ++g_calls;
    return FALSE;
}

HANDLE WINAPI NoEvent(DWORD access, BOOL /*inherit*/, const wchar_t* /*name*/)
{
    EXPECT_EQ(access, 2U);
    SetLastError(ERROR_BAD_EXE_FORMAT);
    return nullptr;
}

BOOL WINAPI NoQuery(SC_HANDLE /*service*/, SERVICE_STATUS* /*status*/)
{
    SetLastError(RPC_S_SERVER_UNAVAILABLE);
    return FALSE;
}

// What the shell is asked for; its answer is a failure.
struct Launch
{
    std::wstring verb;
    std::wstring file;
    bool plain = false;
    int show = -1;
    int count = 0;
} g_launch;

HINSTANCE WINAPI NoteLaunch(HWND window, const wchar_t* verb, const wchar_t* file, const wchar_t* parameters,
                            const wchar_t* folder, int show)
{
    const bool plain = window == nullptr && parameters == nullptr && folder == nullptr;
    g_launch = {verb, file, plain, show, g_launch.count + 1};
    return reinterpret_cast<HINSTANCE>(SE_ERR_ACCESSDENIED);
}

DWORD WINAPI NoModule(HMODULE /*module*/, wchar_t* /*path*/, DWORD size)
{
    EXPECT_EQ(size, 259U);
    SetLastError(ERROR_NOACCESS);
    return 0;
}

DWORD WINAPI LongModule(HMODULE /*module*/, wchar_t* path, DWORD size)
{
    std::fill_n(path, size, L'x');
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return size;
}

} // namespace

TEST_F(ServiceStopTest, AsksTheWatchdogAndWaitsForTheStop)
{
    InstallRunning(L"slow-stop 200");
    PlayWatchdog(GetStopRequestEventName(), [this] { service->Stop(); });
    EXPECT_EQ(StopServiceByWatchdog(true, 120), Status::Success);
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(ServiceStopTest, AsksTheWatchdogEvenForAStoppedService)
{
    Install(L"normal");
    MakeEvent();
    EXPECT_EQ(StopServiceByWatchdog(false, 120), Status::Success);
    EXPECT_TRUE(IsSignalled());
    EXPECT_EQ(seconds.Count(), 0U);
}

TEST_F(ServiceStopTest, IsContentWithoutAWatchdogAndDoesNotLookAtTheService)
{
    g_calls = 0;
    const ImportPatch patch(nullptr, "OpenSCManagerW", &CountedManager);
    EXPECT_EQ(StopServiceByWatchdog(true, 120), Status::Success);
    EXPECT_EQ(g_calls, 0);
    EXPECT_EQ(seconds.Count(), 0U);
    EXPECT_THAT(Lines(), ElementsAre(L"@@@ QxWatchDog is already exit..."));
}

TEST_F(ServiceStopTest, ReportsAnEventThatItMayNotSignal)
{
    ForbidToSignal(GetStopRequestEventName());
    EXPECT_EQ(StopServiceByWatchdog(true, 120), Failed(0xE0FE0005));
    EXPECT_EQ(seconds.Count(), 0U);
    EXPECT_THAT(Lines(), ElementsAre(L"!!! OpenEvent for WATCHDOG_EVENT_STOP_SERVICE failed: 0x00000005"));
}

TEST_F(ServiceStopTest, WritesTheErrorOfTheStopEventInSmallLetters)
{
    const ImportPatch patch(nullptr, "OpenEventW", &NoEvent);
    EXPECT_EQ(StopServiceByWatchdog(true, 120), Failed(0xE0FE00C1));
    EXPECT_THAT(Lines(), ElementsAre(L"!!! OpenEvent for WATCHDOG_EVENT_STOP_SERVICE failed: 0x000000c1"));
}

TEST_F(ServiceStopTest, ReportsAServiceThatTheWatchdogDoesNotStopAndNeverForcesIt)
{
    InstallRunning(L"normal");
    seconds.LetLast(0);
    MakeEvent();
    g_calls = 0;
    const ImportPatch patch(nullptr, "ControlService", &CountedControl);
    EXPECT_EQ(StopServiceByWatchdog(true, 120), Failed(0xE0FE05B4));
    EXPECT_EQ(seconds.Count(), 120U);
    EXPECT_EQ(g_calls, 0);
    EXPECT_TRUE(IsSignalled());
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::WaitStatus() failed: 0x000005B4"));
}

TEST_F(ServiceStopTest, ReportsAServiceOrAManagerThatCannotBeOpened)
{
    MakeEvent();
    EXPECT_EQ(StopServiceByWatchdog(true, 120), Failed(0xE0FE0424));
    EXPECT_TRUE(IsSignalled());
    const ImportPatch patch(nullptr, "OpenSCManagerW", &CountedManager);
    EXPECT_EQ(StopServiceByWatchdog(true, 120), Failed(0xE0FE0005));
    EXPECT_EQ(StopDirect(), Failed(0xE0FE0005));
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::Open() failed: 0x00000424",
                                     L"!!! VzCommon::Service::Base::Connect() failed: 0x00000005",
                                     L"!!! VzCommon::Service::Base::Connect() failed: 0x00000005"));
}

TEST_F(ServiceStopTest, StopsDirectlyAndWaits)
{
    InstallRunning(L"slow-stop 200");
    EXPECT_EQ(StopDirect(), Status::Success);
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(ServiceStopTest, IsContentWithoutAService)
{
    EXPECT_EQ(StopDirect(), Status::Success);
    EXPECT_THAT(Lines(), ElementsAre(L"!!! Service does not exist, so skip..."));
}

TEST_F(ServiceStopTest, IsContentWithAStoppedService)
{
    Install(L"normal");
    EXPECT_EQ(StopDirect(), Status::Success);
    EXPECT_EQ(seconds.Count(), 0U);
    EXPECT_THAT(Lines(), ElementsAre(L"@@@ Service is already stopped..."));
}

TEST_F(ServiceStopTest, AwaitsAStopThatIsUnderWay)
{
    InstallStopPending();
    EXPECT_EQ(StopDirect(), Status::Success);
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(ServiceStopTest, AwaitsAStartThatIsUnderWayAndStopsOneSecondLater)
{
    Install(L"slow-start 300");
    service->Start();
    ASSERT_TRUE(service->Reaches(SERVICE_START_PENDING));
    std::vector<DWORD> states;
    seconds.InEach([&] { states.push_back(service->State()); });
    EXPECT_EQ(StopDirect(), Status::Success);
    EXPECT_THAT(states, testing::IsSupersetOf({static_cast<DWORD>(SERVICE_START_PENDING),
                                               static_cast<DWORD>(SERVICE_RUNNING)}));
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(ServiceStopTest, ReportsAServiceThatRefuses)
{
    InstallRunning(L"refuse-stop");
    EXPECT_EQ(StopDirect(), Failed(0xE0FE041C));
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::Stop() failed: 0x0000041C"));
}

TEST_F(ServiceStopTest, ReportsAServiceThatDoesNotEnd)
{
    InstallRunning(L"slow-stop 60000");
    EXPECT_EQ(StopDirect(3), Failed(0xE0FE05B4));
    EXPECT_EQ(StopDirect(3), Failed(0xE0FE05B4)); // which is under way now
    EXPECT_EQ(seconds.Count(), 6U);
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::WaitStatus() failed: 0x000005B4",
                                     L"!!! VzCommon::Service::Base::WaitStatus() failed: 0x000005B4"));
}

TEST_F(ServiceStopTest, ReportsAStateThatCannotBeHadAndAnEmptyName)
{
    Install(L"normal");
    const ImportPatch patch(nullptr, "QueryServiceStatus", &NoQuery);
    EXPECT_EQ(StopDirect(), Failed(0xE0FE06BA));
    EXPECT_EQ(StopServiceDirect(L"", 120), Failed(0xE0FE00A0));
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::QueryStatus() failed: 0x000006BA",
                                     L"!!! VzCommon::Service::Base::Open() failed: 0x000000A0"));
}

TEST_F(ServiceStopTest, LeavesNothingBehind)
{
    Install(L"normal");
    MakeEvent();
    EXPECT_EQ(TestSupport::GrowthOf(
                  [this]
                  {
                      EXPECT_EQ(StopServiceByWatchdog(true, 1), Status::Success);
                      EXPECT_EQ(StopDirect(), Status::Success);
                  }),
              "");
}

TEST_F(ServiceStopTest, RelaunchesThisProgramWithoutArguments)
{
    g_launch = {};
    const ImportPatch patch(nullptr, "ShellExecuteW", &NoteLaunch);
    RelaunchElevated();
    EXPECT_EQ(g_launch.count, 1);
    EXPECT_EQ(g_launch.verb, L"runas");
    EXPECT_EQ(g_launch.file, QxCommon::GetModulePath());
    EXPECT_TRUE(g_launch.plain);
    EXPECT_EQ(g_launch.show, 1);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(ServiceStopTest, RelaunchesNothingWhenThePathCannotBeHad)
{
    g_launch = {};
    const ImportPatch shell(nullptr, "ShellExecuteW", &NoteLaunch);
    {
        const ImportPatch patch(nullptr, "GetModuleFileNameW", &NoModule);
        RelaunchElevated();
    }
    const ImportPatch patch(nullptr, "GetModuleFileNameW", &LongModule);
    RelaunchElevated();
    EXPECT_EQ(g_launch.count, 0);
    EXPECT_THAT(Lines(), ElementsAre(L".w. GetModuleFileNameW, GetLastError=0x000003E6",
                                     L".w. GetModuleFileNameW, GetLastError=0x0000007A"));
}
