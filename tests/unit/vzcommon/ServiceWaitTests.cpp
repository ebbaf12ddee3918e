// The client of the service manager against a manager that the test plays: arguments, order of the checks and
// the waiting, without a moment of real time.
#include "VzComn_Service.h"

#include "ImportPatch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{

using TestSupport::ImportPatch;
using VzCommon::Service::Base;

const auto fakeManager = reinterpret_cast<SC_HANDLE>(0x1000);
const auto fakeService = reinterpret_cast<SC_HANDLE>(0x2000);

// The played manager.
struct Manager
{
    std::vector<DWORD> states; // the answers in turn; the last one stays
    DWORD queryError = 0;      // fails the query behind the last answer
    size_t queries = 0;
    std::vector<DWORD> sleeps;
    std::vector<SC_HANDLE> closed;
    DWORD managerAccess = 0;
    DWORD serviceAccess = 0;
    std::wstring serviceName;
} g_manager;

SC_HANDLE WINAPI FakeOpenManager(const wchar_t* machine, const wchar_t* database, DWORD access)
{
    EXPECT_EQ(machine, nullptr);
    EXPECT_EQ(database, nullptr);
    g_manager.managerAccess = access;
    return fakeManager;
}

SC_HANDLE WINAPI FakeOpenService(SC_HANDLE manager, const wchar_t* name, DWORD access)
{
    EXPECT_EQ(manager, fakeManager);
    g_manager.serviceName = name;
    g_manager.serviceAccess = access;
    return fakeService;
}

BOOL WINAPI FakeClose(SC_HANDLE handle)
{
    g_manager.closed.push_back(handle);
    return TRUE;
}

BOOL WINAPI FakeQuery(SC_HANDLE service, SERVICE_STATUS* status)
{
    EXPECT_EQ(service, fakeService);
    if (g_manager.queryError != 0 && g_manager.queries >= g_manager.states.size())
    {
        SetLastError(g_manager.queryError);
        return FALSE;
    }
    const size_t index = std::min(g_manager.queries, g_manager.states.size() - 1);
    *status = {1, g_manager.states[index], 3, 4, 5, 6, 7};
    ++g_manager.queries;
    return TRUE;
}

void WINAPI FakeSleep(DWORD milliseconds)
{
    g_manager.sleeps.push_back(milliseconds);
}

class ServiceWaitTest : public testing::Test
{
protected:
    void Open()
    {
        ASSERT_TRUE(service.Connect(0, nullptr));
        ASSERT_TRUE(service.Open(L"Melvio Host Service", GENERIC_READ, nullptr));
    }

    ImportPatch openManager{nullptr, "OpenSCManagerW", &FakeOpenManager};
    ImportPatch openService{nullptr, "OpenServiceW", &FakeOpenService};
    ImportPatch close{nullptr, "CloseServiceHandle", &FakeClose};
    ImportPatch query{nullptr, "QueryServiceStatus", &FakeQuery};
    ImportPatch sleep{nullptr, "Sleep", &FakeSleep};
    Base service;
    std::uint32_t error = 4711;
    SERVICE_STATUS status{};
};

using Sleeps = std::vector<DWORD>;

} // namespace

TEST_F(ServiceWaitTest, FindsTheStateAtTheFirstQuery)
{
    Open();
    g_manager.states = {SERVICE_RUNNING};
    EXPECT_TRUE(service.WaitStatus(SERVICE_RUNNING, 3, 1000, &status, &error));
    EXPECT_EQ(error, 0U);
    EXPECT_EQ(g_manager.queries, 1U);
    EXPECT_EQ(g_manager.sleeps, Sleeps{});
}

TEST_F(ServiceWaitTest, CopiesAllSevenFields)
{
    Open();
    g_manager.states = {SERVICE_RUNNING};
    ASSERT_TRUE(service.WaitStatus(SERVICE_RUNNING, 1, 1000, &status, nullptr));
    const SERVICE_STATUS expected = {1, SERVICE_RUNNING, 3, 4, 5, 6, 7};
    EXPECT_EQ(std::memcmp(&status, &expected, sizeof(status)), 0);
}

TEST_F(ServiceWaitTest, SleepsBetweenTheQueries)
{
    Open();
    g_manager.states = {SERVICE_START_PENDING, SERVICE_START_PENDING, SERVICE_RUNNING};
    EXPECT_TRUE(service.WaitStatus(SERVICE_RUNNING, 10, 250, nullptr, &error));
    EXPECT_EQ(error, 0U);
    EXPECT_EQ(g_manager.queries, 3U);
    EXPECT_EQ(g_manager.sleeps, (Sleeps{250, 250}));
}

TEST_F(ServiceWaitTest, FindsTheStateAtTheLastQuery)
{
    Open();
    g_manager.states = {SERVICE_START_PENDING, SERVICE_START_PENDING, SERVICE_RUNNING};
    EXPECT_TRUE(service.WaitStatus(SERVICE_RUNNING, 3, 1000, nullptr, &error));
    EXPECT_EQ(g_manager.sleeps.size(), 2U);
}

TEST_F(ServiceWaitTest, TimesOutAfterAsManySleepsAsQueries)
{
    Open();
    g_manager.states = {SERVICE_STOPPED};
    status.dwCurrentState = 99;
    EXPECT_FALSE(service.WaitStatus(SERVICE_RUNNING, 3, 1000, &status, &error));
    EXPECT_EQ(error, 1460U);
    EXPECT_EQ(g_manager.queries, 3U);
    EXPECT_EQ(g_manager.sleeps, (Sleeps{1000, 1000, 1000}));
    EXPECT_EQ(status.dwCurrentState, 99U);
}

TEST_F(ServiceWaitTest, DoesNotSeeAStateThatComesWithTheLastSleep)
{
    Open();
    g_manager.states = {SERVICE_START_PENDING, SERVICE_START_PENDING, SERVICE_RUNNING};
    EXPECT_FALSE(service.WaitStatus(SERVICE_RUNNING, 2, 1000, nullptr, &error));
    EXPECT_EQ(error, 1460U);
    EXPECT_EQ(g_manager.sleeps.size(), 2U);
}

TEST_F(ServiceWaitTest, WithoutRoundsDoesNotQueryAtAll)
{
    Open();
    g_manager.states = {SERVICE_RUNNING};
    EXPECT_FALSE(service.WaitStatus(SERVICE_RUNNING, 0, 1000, &status, &error));
    EXPECT_EQ(error, 1460U);
    EXPECT_EQ(g_manager.queries, 0U);
    EXPECT_EQ(g_manager.sleeps, Sleeps{});
}

TEST_F(ServiceWaitTest, EndsWithAFailedQuery)
{
    Open();
    g_manager.states = {SERVICE_START_PENDING};
    g_manager.queryError = 232;
    EXPECT_FALSE(service.WaitStatus(SERVICE_RUNNING, 5, 1000, &status, &error));
    EXPECT_EQ(error, 232U);
    EXPECT_EQ(g_manager.sleeps.size(), 1U);
    EXPECT_EQ(status.dwCurrentState, 0U);
}

TEST_F(ServiceWaitTest, NeedsAnOpenService)
{
    EXPECT_FALSE(service.WaitStatus(SERVICE_RUNNING, 5, 1000, &status, &error));
    EXPECT_EQ(error, 6U);
    ASSERT_TRUE(service.Connect(0, nullptr));
    EXPECT_FALSE(service.WaitStatus(SERVICE_RUNNING, 5, 1000, &status, nullptr));
}

TEST_F(ServiceWaitTest, QueryClearsTheStatusFirst)
{
    Open();
    g_manager.states = {};
    g_manager.queryError = 5;
    status.dwCurrentState = 99;
    EXPECT_FALSE(service.QueryStatus(status, &error));
    EXPECT_EQ(error, 5U);
    EXPECT_EQ(status.dwCurrentState, 0U);
}

TEST_F(ServiceWaitTest, ConnectsWithTheAccessOfItsMode)
{
    const DWORD accesses[] = {0x80000000U, 0x20000000U, 0xF003FU};
    for (std::uint32_t mode = 0; mode < 3; ++mode)
    {
        Base connection;
        EXPECT_TRUE(connection.Connect(mode, &error));
        EXPECT_EQ(error, 0U);
        EXPECT_EQ(g_manager.managerAccess, accesses[mode]);
    }
}

TEST_F(ServiceWaitTest, RefusesAnUnknownMode)
{
    EXPECT_FALSE(service.Connect(3, &error));
    EXPECT_EQ(error, 160U);
    EXPECT_FALSE(service.Connect(0xFFFFFFFFU, nullptr));
}

TEST_F(ServiceWaitTest, ConnectsOnce)
{
    ASSERT_TRUE(service.Connect(0, nullptr));
    EXPECT_FALSE(service.Connect(1, &error));
    EXPECT_EQ(error, 5010U);
    EXPECT_EQ(g_manager.managerAccess, 0x80000000U);
    EXPECT_TRUE(g_manager.closed.empty());
    EXPECT_FALSE(service.Connect(3, &error));
    EXPECT_EQ(error, 160U); // the mode is looked at before the state
}

TEST_F(ServiceWaitTest, OpensWithTheGivenNameAndAccess)
{
    ASSERT_TRUE(service.Connect(1, nullptr));
    EXPECT_TRUE(service.Open(std::wstring(L"Melvio Host Service"), 0xA0000000U, &error));
    EXPECT_EQ(error, 0U);
    EXPECT_EQ(g_manager.serviceName, L"Melvio Host Service");
    EXPECT_EQ(g_manager.serviceAccess, 0xA0000000U);
}

TEST_F(ServiceWaitTest, ChecksConnectionStateAndNameInThisOrder)
{
    EXPECT_FALSE(service.Open(L"", GENERIC_READ, &error));
    EXPECT_EQ(error, 6U);
    ASSERT_TRUE(service.Connect(0, nullptr));
    EXPECT_FALSE(service.Open(L"", GENERIC_READ, &error));
    EXPECT_EQ(error, 160U);
    EXPECT_FALSE(service.Open(nullptr, GENERIC_READ, &error));
    EXPECT_EQ(error, 160U);
    ASSERT_TRUE(service.Open(L"x", GENERIC_READ, nullptr));
    EXPECT_FALSE(service.Open(L"", GENERIC_READ, &error));
    EXPECT_EQ(error, 5010U);
}

TEST_F(ServiceWaitTest, ClosesTheServiceBeforeTheManager)
{
    {
        Base shortLived;
        ASSERT_TRUE(shortLived.Connect(0, nullptr));
        ASSERT_TRUE(shortLived.Open(L"x", GENERIC_READ, nullptr));
    }
    EXPECT_EQ(g_manager.closed, (std::vector<SC_HANDLE>{fakeService, fakeManager}));
}

TEST_F(ServiceWaitTest, ClosesOnlyWhatIsOpen)
{
    {
        Base never;
        Base connected;
        ASSERT_TRUE(connected.Connect(0, nullptr));
    }
    EXPECT_EQ(g_manager.closed, (std::vector<SC_HANDLE>{fakeManager}));
}
