// The client of the service manager against real services.
#include "VzComn_Service.h"

#include "InstalledService.h"
#include "ObjectCounts.h"
#include "UniqueName.h"
#include "WaitUntil.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <winsvc.h>

#include <optional>
#include <string>

namespace
{

using TestSupport::InstalledService;
using VzCommon::Service::Base;

constexpr std::uint32_t rounds = 2000;
constexpr std::uint32_t intervalMs = 5;

// Installs the test service under a name of its own.
class ServiceTest : public testing::Test
{
protected:
    void Install(const std::wstring& mode, DWORD startType = SERVICE_DEMAND_START)
    {
        m_installed.emplace(name, mode, startType);
    }

    void InstallCommand(const std::wstring& command, DWORD startType)
    {
        m_installed.emplace(name, InstalledService::Command{command}, startType);
    }

    void ConnectAndOpen()
    {
        ASSERT_TRUE(service.Connect(VzCommon::Service::ConnectMode::All, &error)) << error;
        ASSERT_TRUE(service.Open(name, SERVICE_ALL_ACCESS, &error)) << error;
    }

    bool WaitFor(std::uint32_t state)
    {
        return service.WaitStatus(state, rounds, intervalMs, nullptr, &error);
    }

    DWORD State()
    {
        SERVICE_STATUS status{};
        EXPECT_TRUE(service.QueryStatus(status, nullptr));
        return status.dwCurrentState;
    }

    const std::wstring name = TestSupport::UniqueName(L"QxTestService");
    Base service;
    std::uint32_t error = 4711;

private:
    std::optional<InstalledService> m_installed;
};

} // namespace

TEST_F(ServiceTest, StartsAndStops)
{
    Install(L"normal");
    ConnectAndOpen();
    EXPECT_EQ(State(), static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_TRUE(service.Start(0, nullptr, &error));
    EXPECT_EQ(error, 0U);
    EXPECT_TRUE(WaitFor(SERVICE_RUNNING));
    EXPECT_EQ(error, 0U);
    EXPECT_TRUE(service.Stop(&error));
    EXPECT_EQ(error, 0U);
    EXPECT_TRUE(WaitFor(SERVICE_STOPPED));
}

TEST_F(ServiceTest, StartsWithArguments)
{
    Install(L"normal");
    ConnectAndOpen();
    const wchar_t* arguments[] = {L"first", L"second"};
    EXPECT_TRUE(service.Start(2, arguments, &error));
    EXPECT_TRUE(WaitFor(SERVICE_RUNNING));
}

TEST_F(ServiceTest, ReportsStartAndStopInTheWrongState)
{
    Install(L"normal");
    ConnectAndOpen();
    EXPECT_FALSE(service.Stop(&error));
    EXPECT_EQ(error, 1062U);
    ASSERT_TRUE(service.Start(0, nullptr, nullptr));
    ASSERT_TRUE(WaitFor(SERVICE_RUNNING));
    EXPECT_FALSE(service.Start(0, nullptr, &error));
    EXPECT_EQ(error, 1056U);
}

TEST_F(ServiceTest, IsAwaitedWhileItStartsSlowly)
{
    Install(L"slow-start 300");
    ConnectAndOpen();
    ASSERT_TRUE(service.Start(0, nullptr, nullptr));
    DWORD checkpoint = 0;
    EXPECT_TRUE(TestSupport::WaitUntil(
        [&]
        {
            SERVICE_STATUS status{};
            EXPECT_TRUE(service.QueryStatus(status, nullptr));
            checkpoint = status.dwCheckPoint;
            return checkpoint > 1;
        }));
    EXPECT_EQ(State(), static_cast<DWORD>(SERVICE_START_PENDING));
    SERVICE_STATUS status{};
    EXPECT_TRUE(service.WaitStatus(SERVICE_RUNNING, rounds, intervalMs, &status, &error));
    EXPECT_EQ(status.dwCurrentState, static_cast<DWORD>(SERVICE_RUNNING));
}

TEST_F(ServiceTest, IsGivenUpWhenItStaysStartPending)
{
    Install(L"stuck-start");
    ConnectAndOpen();
    ASSERT_TRUE(service.Start(0, nullptr, nullptr));
    EXPECT_TRUE(WaitFor(SERVICE_START_PENDING));
    EXPECT_FALSE(service.WaitStatus(SERVICE_RUNNING, 3, intervalMs, nullptr, &error));
    EXPECT_EQ(error, 1460U);
}

TEST_F(ServiceTest, IsAwaitedWhileItStopsSlowly)
{
    Install(L"slow-stop 200");
    ConnectAndOpen();
    ASSERT_TRUE(service.Start(0, nullptr, nullptr));
    ASSERT_TRUE(WaitFor(SERVICE_RUNNING));
    ASSERT_TRUE(service.Stop(&error)) << error;
    EXPECT_EQ(State(), static_cast<DWORD>(SERVICE_STOP_PENDING));
    EXPECT_TRUE(WaitFor(SERVICE_STOPPED));
}

TEST_F(ServiceTest, ReportsARefusalToStop)
{
    Install(L"refuse-stop");
    ConnectAndOpen();
    ASSERT_TRUE(service.Start(0, nullptr, nullptr));
    ASSERT_TRUE(WaitFor(SERVICE_RUNNING));
    EXPECT_FALSE(service.Stop(&error));
    EXPECT_EQ(error, 1052U);
    EXPECT_EQ(State(), static_cast<DWORD>(SERVICE_RUNNING));
}

TEST_F(ServiceTest, ReportsAServiceThatIsNotInstalled)
{
    ASSERT_TRUE(service.Connect(0, &error));
    EXPECT_FALSE(service.Open(name, GENERIC_READ, &error));
    EXPECT_EQ(error, 1060U);
    EXPECT_FALSE(service.Open(name, GENERIC_READ, nullptr));
}

TEST_F(ServiceTest, ReportsADisabledService)
{
    Install(L"normal", SERVICE_DISABLED);
    ConnectAndOpen();
    EXPECT_FALSE(service.Start(0, nullptr, &error));
    EXPECT_EQ(error, 1058U);
}

TEST_F(ServiceTest, ReportsAMissingProgram)
{
    InstallCommand(L"C:\\no\\such\\program.exe", SERVICE_DEMAND_START);
    ConnectAndOpen();
    EXPECT_FALSE(service.Start(0, nullptr, &error));
    EXPECT_EQ(error, 2U);
}

TEST_F(ServiceTest, ReportsAMissingRight)
{
    Install(L"normal");
    ASSERT_TRUE(service.Connect(0, nullptr));
    ASSERT_TRUE(service.Open(name, SERVICE_QUERY_STATUS, nullptr));
    EXPECT_FALSE(service.Start(0, nullptr, &error));
    EXPECT_EQ(error, 5U);
    EXPECT_FALSE(service.Stop(&error));
    EXPECT_EQ(error, 5U);
}

TEST_F(ServiceTest, CanBeStartedThroughAReadingConnection)
{
    Install(L"normal");
    ASSERT_TRUE(service.Connect(0, nullptr));
    ASSERT_TRUE(service.Open(name, GENERIC_READ | GENERIC_EXECUTE, nullptr));
    EXPECT_TRUE(service.Start(0, nullptr, &error));
    EXPECT_TRUE(WaitFor(SERVICE_RUNNING));
}

TEST_F(ServiceTest, NeedsAnOpenService)
{
    SERVICE_STATUS status{};
    status.dwCurrentState = 99;
    EXPECT_FALSE(service.Start(0, nullptr, &error));
    EXPECT_EQ(error, 6U);
    error = 0;
    EXPECT_FALSE(service.Stop(&error));
    EXPECT_EQ(error, 6U);
    error = 0;
    EXPECT_FALSE(service.QueryStatus(status, &error));
    EXPECT_EQ(error, 6U);
    EXPECT_EQ(status.dwCurrentState, 0U);
}

TEST_F(ServiceTest, LeavesNothingBehind)
{
    Install(L"normal");
    EXPECT_EQ(TestSupport::GrowthOf(
                  [this]
                  {
                      Base client;
                      SERVICE_STATUS status{};
                      EXPECT_TRUE(client.Connect(0, nullptr));
                      EXPECT_FALSE(client.Open(name + L"x", GENERIC_READ, nullptr));
                      EXPECT_TRUE(client.Open(name, GENERIC_READ, nullptr));
                      EXPECT_TRUE(client.QueryStatus(status, nullptr));
                  }),
              "");
}
