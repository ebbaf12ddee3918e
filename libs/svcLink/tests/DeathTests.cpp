// Either end is killed while the other is busy with it.
#include "LinkTest.h"

#include "LastingGrowth.h"
#include "Names.h"
#include "Processes.h"
#include "QxCommon_utility.h"
#include "VzComn_Handle.h"
#include "WaitUntil.h"
#include "programs/HostCommands.h"

#include <windows.h>

#include <atomic>
#include <cstring>
#include <optional>
#include <thread>

using TestSupport::LastingGrowthOf;
using TestSupport::WaitUntil;

namespace
{

std::atomic<int> g_inside = 0;
std::atomic<bool> g_release = false;

std::int32_t WaitForRelease(const char* /*trackingId*/, const CRpcCommandResult& /*in*/,
                            CRpcCommandResult& /*out*/)
{
    ++g_inside;
    EXPECT_TRUE(WaitUntil([] { return g_release.load(); }));
    --g_inside;
    return success;
}

// A manager that the host has answered.
Manager ConnectToHost()
{
    Manager manager;
    EXPECT_TRUE(WaitUntil(
        [&]
        {
            manager = Connect();
            return Execute(*manager, 0x2051, {}).status == success;
        }));
    return manager;
}

int CallsUnderWay(CRpcClientManager& manager)
{
    return Execute(manager, HostCommand::Count, {}).status - success - 1;
}

class DeathTest : public testing::Test
{
protected:
    DeathTest()
    {
        g_inside = 0;
        g_release = false;
        host.emplace(Beside(L"LinkHost.exe"));
    }

    ~DeathTest() override
    {
        g_release = true;
        host.reset();
        // What the killed host could not remove.
        for (const wchar_t* value : {SvcLink::ConsoleHostValue, SvcLink::ConsoleHostTimeValue})
        {
            RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, QxCommon::GetProductRegistryKey().c_str(), value);
        }
    }

    void KillDuringCallback()
    {
        g_release = false;
        Manager manager = ConnectToHost();
        std::jthread caller(
            [&]
            { EXPECT_LT(Execute(*manager, HostCommand::CallBack, {}, &WaitForRelease, "me").status, 0); });
        EXPECT_TRUE(WaitUntil([] { return g_inside == 1; }));
        host->Kill();
        caller.join();
        manager.reset();
        g_release = true;
        EXPECT_TRUE(WaitUntil([] { return g_inside == 0; }));
    }

    std::optional<Process> host;
};

} // namespace

TEST_F(DeathTest, AHostKilledWhileIdleIsNoticedByTheNextCall)
{
    const Manager manager = ConnectToHost();
    host->Kill();
    EXPECT_LT(Execute(*manager, 0x2051, {}).status, 0);
    host.emplace(Beside(L"LinkHost.exe"));
    EXPECT_TRUE(WaitUntil([&] { return Execute(*manager, 0x2051, {}).status == unknownClient; }));
    EXPECT_EQ(Execute(*Connect(), 0x2051, {}).status, success);
}

TEST_F(DeathTest, AHostKilledDuringCallsFailsAllOfThem)
{
    const Manager manager = ConnectToHost();
    std::vector<std::jthread> callers;
    for (int i = 0; i < 3; ++i)
    {
        callers.emplace_back([&] { EXPECT_LT(Execute(*manager, HostCommand::Hang, {}).status, 0); });
    }
    EXPECT_TRUE(WaitUntil([&] { return CallsUnderWay(*manager) == 3; }));
    host->Kill();
}

TEST_F(DeathTest, AHostKilledDuringACallbackLeavesTheClientInOrder)
{
    KillDuringCallback();
}

TEST_F(DeathTest, AManagerOfAHungHostIsDestroyedAtOnce)
{
    Manager manager = ConnectToHost();
    host->Suspend();
    manager.reset();
    const ULONGLONG start = GetTickCount64();
    manager = Connect(); // a hung host has clients wait, but not for ever
    EXPECT_LT(Execute(*manager, 0x2051, {}).status, 0);
    EXPECT_LT(GetTickCount64() - start, 20000U);
    manager.reset();
    host->Resume();
    EXPECT_EQ(Execute(*ConnectToHost(), 0x2051, {}).status, success);
}

TEST_F(DeathTest, AClientKilledDuringItsCallbackLeavesTheHostInOrder)
{
    const Manager manager = ConnectToHost();
    for (int round = 0; round < 3; ++round)
    {
        Process client(Beside(L"LinkClient.exe"));
        EXPECT_TRUE(WaitUntil([&] { return CallsUnderWay(*manager) == 1; }));
        client.Kill();
        EXPECT_TRUE(WaitUntil([&] { return CallsUnderWay(*manager) == 0; }));
    }
    EXPECT_EQ(Execute(*manager, 0x2051, MessageOf(500)).message.size(), 500U);
}

TEST_F(DeathTest, TheHostSeesTheProcessOfEachClient)
{
    const Manager manager = ConnectToHost();
    const Outcome outcome = Execute(*manager, HostCommand::WhoCalls, {});
    ASSERT_EQ(outcome.message.size(), 12U);
    std::uint32_t processId = 0;
    std::memcpy(&processId, outcome.message.data(), sizeof processId);
    EXPECT_EQ(processId, GetCurrentProcessId());
}

TEST_F(DeathTest, AHundredDeathsOfTheHostLeaveNothingBehind)
{
    EXPECT_EQ(LastingGrowthOf(
                  [&]
                  {
                      const Manager manager = ConnectToHost();
                      EXPECT_EQ(Execute(*manager, 0x2052, {}, &WaitForRelease, "me").status, success);
                      host.emplace(Beside(L"LinkHost.exe"));
                      EXPECT_LT(Execute(*manager, 0x2051, {}).status, 0);
                  }),
              "");
}

TEST_F(DeathTest, AHundredHostsKilledDuringCallsLeaveNothingBehind)
{
    EXPECT_EQ(LastingGrowthOf(
                  [&]
                  {
                      const Manager manager = ConnectToHost();
                      std::vector<std::jthread> callers;
                      for (int i = 0; i < 2; ++i)
                      {
                          callers.emplace_back(
                              [&] { EXPECT_LT(Execute(*manager, HostCommand::Hang, {}).status, 0); });
                      }
                      EXPECT_TRUE(WaitUntil([&] { return CallsUnderWay(*manager) == 2; }));
                      host->Kill();
                      callers.clear();
                      host.emplace(Beside(L"LinkHost.exe"));
                  }),
              "");
}

TEST_F(DeathTest, AHundredHostsKilledDuringACallbackLeaveNothingBehind)
{
    EXPECT_EQ(LastingGrowthOf(
                  [&]
                  {
                      KillDuringCallback();
                      host.emplace(Beside(L"LinkHost.exe"));
                  }),
              "");
}

// This process is the host: the one that stays.
TEST(ClientDeathTest, AHundredClientsKilledDuringACallbackLeaveNothingBehind)
{
    std::atomic<int> inside = 0;
    ScriptedHandler handler;
    SvcLink::Server server(handler);
    handler.onCall = [&](const SvcLink::Client& client, const SvcLink::Call& call)
    {
        ++inside;
        SvcLink::Answer answer = server.CallBack(client.id, call.trackingId, {}, std::chrono::seconds(60));
        EXPECT_LT(answer.status, 0);
        --inside;
        return answer;
    };
    SvcLink::ConsoleHostMark mark;
    std::uint32_t error = 0;
    ASSERT_TRUE(mark.Set(error) && server.Start(error)) << error;
    EXPECT_EQ(LastingGrowthOf(
                  [&]
                  {
                      Process client(Beside(L"LinkClient.exe"));
                      EXPECT_TRUE(WaitUntil([&] { return inside == 1; }));
                      client.Kill();
                      EXPECT_TRUE(WaitUntil([&] { return inside == 0; }));
                  }),
              "");
}

// The way of a product: nobody but the service control manager says who the host is.
TEST(InstalledServiceTest, TheProcessThatTheManagerNamesIsAccepted)
{
    const VzCommon::ServiceHandle scm(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    const VzCommon::ServiceHandle service(CreateServiceW(
        scm.Get(), SvcLink::HostServiceName().c_str(), nullptr, SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS,
        SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, (Beside(L"LinkHost.exe") + L" service").c_str(), nullptr,
        nullptr, nullptr, nullptr, nullptr));
    ASSERT_TRUE(service) << GetLastError();
    ASSERT_TRUE(StartServiceW(service.Get(), 0, nullptr)) << GetLastError();
    EXPECT_EQ(Execute(*ConnectToHost(), 0x2051, MessageOf(100)).message.size(), 100U);
    SERVICE_STATUS status{};
    EXPECT_TRUE(ControlService(service.Get(), SERVICE_CONTROL_STOP, &status) || GetLastError() != 0);
    EXPECT_TRUE(WaitUntil([] { return Execute(*Connect(0), 0x2051, {}).status < 0; }));
    EXPECT_TRUE(DeleteService(service.Get()));
}
