// Starting the host service: by way of the watchdog, and directly.
#include "ServiceScene.h"

#include "ObjectCounts.h"

using QxCommon::GetServiceName;
using QxCommon::GetStartRequestEventName;
using QxCommon::StartServiceByWatchdog;
using QxCommon::StartServiceDirect;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::ImportPatch;

namespace
{

class ServiceStartTest : public ServiceScene
{
protected:
    AgentStatus StartDirect(bool waitRunning = true, std::uint32_t limitSeconds = 120)
    {
        return StartServiceDirect(GetServiceName(), waitRunning, limitSeconds);
    }
};

struct Asked
{
    DWORD event = 0;
    DWORD manager = 0;
    DWORD service = 0;
} g_asked;

const ImportPatch* g_openEvent = nullptr;
const ImportPatch* g_openManager = nullptr;
const ImportPatch* g_openService = nullptr;

HANDLE WINAPI NoteOpenEvent(DWORD access, BOOL inherit, const wchar_t* name)
{
    g_asked.event = access;
    return g_openEvent->Original<HANDLE WINAPI(DWORD, BOOL, const wchar_t*)>()(access, inherit, name);
}

SC_HANDLE WINAPI NoteOpenManager(const wchar_t* machine, const wchar_t* database, DWORD access)
{
    EXPECT_EQ(machine, nullptr);
    g_asked.manager = access;
    return g_openManager->Original<SC_HANDLE WINAPI(const wchar_t*, const wchar_t*, DWORD)>()(
        machine, database, access);
}

SC_HANDLE WINAPI NoteOpenService(SC_HANDLE manager, const wchar_t* name, DWORD access)
{
    g_asked.service = access;
    return g_openService->Original<SC_HANDLE WINAPI(SC_HANDLE, const wchar_t*, DWORD)>()(manager, name,
                                                                                         access);
}

// Notes the rights that are asked for, for the length of a scope.
class RightsNote
{
public:
    RightsNote()
    {
        g_asked = {};
        g_openEvent = &m_event;
        g_openManager = &m_manager;
        g_openService = &m_service;
    }

private:
    ImportPatch m_event{nullptr, "OpenEventW", &NoteOpenEvent};
    ImportPatch m_manager{nullptr, "OpenSCManagerW", &NoteOpenManager};
    ImportPatch m_service{nullptr, "OpenServiceW", &NoteOpenService};
};

SC_HANDLE WINAPI NoManager(const wchar_t* /*machine*/, const wchar_t* /*database*/, DWORD /*access*/)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

SC_HANDLE WINAPI DeniedService(SC_HANDLE /*manager*/, const wchar_t* /*name*/, DWORD /*access*/)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

BOOL WINAPI DeniedStart(SC_HANDLE /*service*/, DWORD /*count*/, const wchar_t** /*arguments*/)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

BOOL WINAPI NoQuery(SC_HANDLE /*service*/, SERVICE_STATUS* /*status*/)
{
    SetLastError(RPC_S_SERVER_UNAVAILABLE);
    return FALSE;
}

HANDLE WINAPI NoEvent(DWORD /*access*/, BOOL /*inherit*/, const wchar_t* /*name*/)
{
    SetLastError(ERROR_BAD_EXE_FORMAT);
    return nullptr;
}

} // namespace

TEST(ServiceNamesTest, BelongToTheProduct)
{
    EXPECT_EQ(GetServiceName(), L"Oravex Host Service");
    EXPECT_EQ(GetStartRequestEventName(), L"Global\\WATCHDOG_EVENT_START_SERVICEOravex");
    EXPECT_EQ(QxCommon::GetStopRequestEventName(), L"Global\\WATCHDOG_EVENT_STOP_SERVICEOravex");
}

TEST_F(ServiceStartTest, AsksTheWatchdogAndWaitsForTheService)
{
    Install(L"slow-start 200");
    PlayWatchdog(GetStartRequestEventName(), [this] { service->Start(); });
    const RightsNote note;
    EXPECT_EQ(StartServiceByWatchdog(120), Status::Success);
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_RUNNING));
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_EQ(g_asked.event, 2U);
    EXPECT_EQ(g_asked.manager, GENERIC_READ);
    EXPECT_EQ(g_asked.service, GENERIC_READ);
}

TEST_F(ServiceStartTest, AsksTheWatchdogEvenForARunningService)
{
    InstallRunning(L"normal");
    ASSERT_TRUE(event.CreateGlobal(GetStartRequestEventName(), false, false, false, nullptr));
    EXPECT_EQ(StartServiceByWatchdog(120), Status::Success);
    EXPECT_TRUE(IsSignalled());
    EXPECT_EQ(seconds.Count(), 0U);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(ServiceStartTest, GivesAWatchdogThatIsJustStartingTheTimeForItsEvent)
{
    InstallRunning(L"normal");
    seconds.InEach(
        [this]
        {
            if (seconds.Count() == 3)
            {
                EXPECT_TRUE(event.CreateGlobal(GetStartRequestEventName(), false, false, false, nullptr));
            }
        });
    EXPECT_EQ(StartServiceByWatchdog(120), Status::Success);
    EXPECT_EQ(seconds.Count(), 3U);
    EXPECT_TRUE(IsSignalled());
}

TEST_F(ServiceStartTest, TriesOnceASecondForAWatchdogThatNeverComes)
{
    seconds.LetLast(0);
    EXPECT_EQ(StartServiceByWatchdog(120), Failed(0xE0FE0002));
    EXPECT_EQ(seconds.Count(), 120U);
    EXPECT_THAT(Lines(), ElementsAre(L"!!! OpenEvent for WATCHDOG_EVENT_START_SERVICE failed: 0x00000002"));
}

TEST_F(ServiceStartTest, FailsAfterAllTriesWhenItMayNotSignalTheWatchdog)
{
    seconds.LetLast(0);
    ForbidToSignal(GetStartRequestEventName());
    EXPECT_EQ(StartServiceByWatchdog(120), Failed(0xE0FE0005));
    EXPECT_EQ(seconds.Count(), 120U);
    EXPECT_THAT(Lines(), ElementsAre(L"!!! OpenEvent for WATCHDOG_EVENT_START_SERVICE failed: 0x00000005"));
}

TEST_F(ServiceStartTest, WritesTheErrorOfTheStartEventInCapitals)
{
    const ImportPatch patch(nullptr, "OpenEventW", &NoEvent);
    EXPECT_EQ(StartServiceByWatchdog(1), Failed(0xE0FE00C1));
    EXPECT_THAT(Lines(), ElementsAre(L"!!! OpenEvent for WATCHDOG_EVENT_START_SERVICE failed: 0x000000C1"));
}

TEST_F(ServiceStartTest, ReportsAServiceThatTheWatchdogDoesNotBringUp)
{
    Install(L"stuck-start");
    seconds.LetLast(1);
    PlayWatchdog(GetStartRequestEventName(), [this] { service->Start(); });
    EXPECT_EQ(StartServiceByWatchdog(120), Failed(0xE0FE05B4));
    EXPECT_EQ(seconds.Count(), 120U);
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::WaitStatus() failed: 0x000005B4"));
}

TEST_F(ServiceStartTest, ReportsAServiceThatIsNotInstalledThoughTheWatchdogIsAsked)
{
    ASSERT_TRUE(event.CreateGlobal(GetStartRequestEventName(), false, false, false, nullptr));
    EXPECT_EQ(StartServiceByWatchdog(120), Failed(0xE0FE0424));
    EXPECT_EQ(seconds.Count(), 0U);
    EXPECT_TRUE(IsSignalled());
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::Open() failed: 0x00000424"));
}

TEST_F(ServiceStartTest, ReportsAManagerThatRefusesOnBothWays)
{
    const ImportPatch patch(nullptr, "OpenSCManagerW", &NoManager);
    ASSERT_TRUE(event.CreateGlobal(GetStartRequestEventName(), false, false, false, nullptr));
    EXPECT_EQ(StartServiceByWatchdog(120), Failed(0xE0FE0005));
    EXPECT_EQ(StartDirect(), Failed(0xE0FE0005));
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::Connect() failed: 0x00000005",
                                     L"!!! VzCommon::Service::Base::Connect() failed: 0x00000005"));
}

TEST_F(ServiceStartTest, StartsDirectlyAndWaits)
{
    Install(L"slow-start 200");
    const RightsNote note;
    EXPECT_EQ(StartDirect(), Status::Success);
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_RUNNING));
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_EQ(g_asked.manager, GENERIC_EXECUTE);
    EXPECT_EQ(g_asked.service, 0xA0000000U);
    EXPECT_EQ(g_asked.event, 0U);
}

TEST_F(ServiceStartTest, StartsDirectlyWithoutWaiting)
{
    Install(L"stuck-start");
    EXPECT_EQ(StartDirect(false), Status::Success);
    EXPECT_EQ(seconds.Count(), 0U);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_TRUE(service->Reaches(SERVICE_START_PENDING));
}

TEST_F(ServiceStartTest, LeavesARunningServiceAlone)
{
    InstallRunning(L"normal");
    const DWORD processId = service->ProcessId();
    EXPECT_EQ(StartDirect(), Status::Success);
    EXPECT_EQ(seconds.Count(), 0U);
    EXPECT_EQ(service->ProcessId(), processId);
    EXPECT_THAT(Lines(), ElementsAre(L"@@@ Service is already running..."));
}

TEST_F(ServiceStartTest, AwaitsAStartThatIsUnderWayEvenWithoutWaiting)
{
    Install(L"slow-start 300");
    service->Start();
    ASSERT_TRUE(service->Reaches(SERVICE_START_PENDING));
    EXPECT_EQ(StartDirect(false), Status::Success);
    EXPECT_EQ(service->State(), static_cast<DWORD>(SERVICE_RUNNING));
    EXPECT_GE(seconds.Count(), 1U);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(ServiceStartTest, ReportsAStartUnderWayThatDoesNotEnd)
{
    Install(L"stuck-start");
    service->Start();
    ASSERT_TRUE(service->Reaches(SERVICE_START_PENDING));
    EXPECT_EQ(StartDirect(false, 3), Failed(0xE0FE05B4));
    EXPECT_EQ(seconds.Count(), 3U);
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::WaitStatus() failed: 0x000005B4"));
}

TEST_F(ServiceStartTest, AwaitsAStopThatIsUnderWayAndStartsOneSecondLater)
{
    InstallStopPending();
    std::vector<DWORD> states;
    seconds.InEach([&] { states.push_back(service->State()); });
    EXPECT_EQ(StartDirect(false), Status::Success);
    ASSERT_GE(states.size(), 2U);
    EXPECT_EQ(states.front(), static_cast<DWORD>(SERVICE_STOP_PENDING));
    EXPECT_EQ(states.back(), static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_TRUE(service->Reaches(SERVICE_RUNNING));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(ServiceStartTest, ReportsAStopUnderWayThatDoesNotEnd)
{
    InstallRunning(L"slow-stop 60000");
    service->Stop();
    EXPECT_EQ(StartDirect(true, 3), Failed(0xE0FE05B4));
    EXPECT_EQ(seconds.Count(), 3U);
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::WaitStatus() failed: 0x000005B4"));
}

TEST_F(ServiceStartTest, ReportsAStartedServiceThatDoesNotComeUp)
{
    Install(L"stuck-start");
    seconds.LetLast(1);
    EXPECT_EQ(StartDirect(), Failed(0xE0FE05B4));
    EXPECT_EQ(seconds.Count(), 120U);
    EXPECT_THAT(Lines(),
                ElementsAre(L"!!! VzCommon::Service::Base::WaitStatus(SERVICE_RUNNING) failed: 0x000005B4"));
}

TEST_F(ServiceStartTest, ReportsAMissingRightToOpen)
{
    const ImportPatch patch(nullptr, "OpenServiceW", &DeniedService);
    EXPECT_EQ(StartDirect(), Failed(0xE0FE0005));
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::Open() failed: 0x00000005"));
}

TEST_F(ServiceStartTest, ReportsAMissingRightToStart)
{
    Install(L"normal");
    const ImportPatch patch(nullptr, "StartServiceW", &DeniedStart);
    EXPECT_EQ(StartDirect(), Failed(0xE0FE0005));
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::Start() failed: 0x00000005"));
}

TEST_F(ServiceStartTest, ReportsADisabledService)
{
    Install(L"normal", SERVICE_DISABLED);
    EXPECT_EQ(StartDirect(), Failed(0xE0FE0422));
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::Start() failed: 0x00000422"));
}

TEST_F(ServiceStartTest, ReportsAServiceThatIsNotInstalled)
{
    EXPECT_EQ(StartDirect(), Failed(0xE0FE0424));
    EXPECT_EQ(StartServiceDirect(L"", true, 120), Failed(0xE0FE00A0));
    EXPECT_EQ(seconds.Count(), 0U);
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::Open() failed: 0x00000424",
                                     L"!!! VzCommon::Service::Base::Open() failed: 0x000000A0"));
}

TEST_F(ServiceStartTest, ReportsAStateThatCannotBeHad)
{
    Install(L"normal");
    const ImportPatch patch(nullptr, "QueryServiceStatus", &NoQuery);
    EXPECT_EQ(StartDirect(), Failed(0xE0FE06BA));
    EXPECT_THAT(Lines(), ElementsAre(L"!!! VzCommon::Service::Base::QueryStatus() failed: 0x000006BA"));
}

TEST_F(ServiceStartTest, LeavesNothingBehind)
{
    InstallRunning(L"normal");
    ASSERT_TRUE(event.CreateGlobal(GetStartRequestEventName(), false, false, false, nullptr));
    EXPECT_EQ(TestSupport::GrowthOf(
                  [this]
                  {
                      EXPECT_EQ(StartServiceByWatchdog(1), Status::Success);
                      EXPECT_EQ(StartDirect(), Status::Success);
                      EXPECT_EQ(StartServiceDirect(L"no such service", true, 1), Failed(0xE0FE0424));
                  }),
              "");
}
