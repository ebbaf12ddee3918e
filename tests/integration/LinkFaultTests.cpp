// The client helper over the real link, and the faults of either end a hundred times in a row: what stays
// behind in the process that lives on.
#include "HangingHostProcess.h"

#include "Commander.h"
#include "SmallHost.h"

#include "ConsoleHostMark.h"
#include "ImportPatch.h"
#include "LastingGrowth.h"
#include "Names.h"
#include "OuterClientHelper.h"
#include "QxCommon_utility.h"
#include "SvcLinkServer.h"
#include "WaitUntil.h"

#include <gtest/gtest.h>

#include <windows.h>
#include <winternl.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <thread>

using TestSupport::ImportPatch;
using TestSupport::LastingGrowthOf;
using TestSupport::WaitUntil;

namespace
{
constexpr std::chrono::seconds commandLimit{60};

std::atomic<int> g_inside = 0;
std::atomic<bool> g_release = false;

AgentStatus StayUntilReleased(QxCommon::JsonDb& command)
{
    ++g_inside;
    EXPECT_TRUE(WaitUntil([] { return g_release.load(); }));
    command[L"retCode"].SetInt(Status::Success);
    --g_inside;
    return Status::Success;
}

AgentStatus Answer(QxCommon::JsonDb& command)
{
    command[L"retCode"].SetInt(Status::Success);
    return Status::Success;
}

DWORD(WINAPI* g_waitForSeveral)(DWORD, const HANDLE*, BOOL, DWORD) = nullptr;
std::atomic<int> g_watches = 0;
std::atomic<int> g_stopped = 0;

bool IsProcess(HANDLE handle)
{
    struct
    {
        PUBLIC_OBJECT_TYPE_INFORMATION type;
        wchar_t name[64];
    } information{};

    return NtQueryObject(handle, ObjectTypeInformation, &information, sizeof information, nullptr) >= 0 &&
           std::wstring(information.type.TypeName.Buffer,
                        information.type.TypeName.Length / sizeof(wchar_t)) == L"Process";
}

// The watch of a registration waits for the service's process and to be stopped. Once stopped, it leaves the
// process handle open for good, and every count here would grow by that.
DWORD WINAPI WaitAndCloseWhatStays(DWORD count, const HANDLE* handles, BOOL all, DWORD milliseconds)
{
    if (count != 2 || !IsProcess(handles[0]))
    {
        return g_waitForSeveral(count, handles, all, milliseconds);
    }
    ++g_watches;
    const DWORD ended = g_waitForSeveral(count, handles, all, milliseconds);
    if (ended == WAIT_OBJECT_0 + 1)
    {
        const VzCommon::KernelHandle process(handles[0]);
        ++g_stopped;
    }
    return ended;
}

DWORD(WINAPI* g_wait)(HANDLE, DWORD) = nullptr;

// Tries to register again come in a shorter time.
DWORD WINAPI WaitWithShortPause(HANDLE handle, DWORD milliseconds)
{
    return g_wait(handle, milliseconds == 500 ? 20 : milliseconds);
}

// This process is the client, and lives on.
class LinkFaultTest : public testing::Test
{
protected:
    LinkFaultTest()
    {
        g_inside = 0;
        g_release = false;
        g_watches = 0;
        g_stopped = 0;
        g_waitForSeveral = m_several.Original<DWORD WINAPI(DWORD, const HANDLE*, BOOL, DWORD)>();
        g_wait = m_single.Original<DWORD WINAPI(HANDLE, DWORD)>();
    }

    ~LinkFaultTest() override
    {
        g_release = true;
        // What a killed host could not remove.
        for (const wchar_t* value : {SvcLink::ConsoleHostValue, SvcLink::ConsoleHostTimeValue})
        {
            RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, QxCommon::GetProductRegistryKey().c_str(), value);
        }
    }

    static std::unique_ptr<CVzRpcClientHelper> MakeHelper()
    {
        return std::make_unique<CVzRpcClientHelper>(0, RpcClientProduct);
    }

    static AgentStatus Register(CVzRpcClientHelper& helper,
                                CVzRpcClientHelper::CommandFunction function = &Answer)
    {
        return helper.RegisterProcess(L"QxSystemTray", function);
    }

    // Registers, and waits until the service is watched.
    static void RegisterAndWatch(CVzRpcClientHelper& helper,
                                 CVzRpcClientHelper::CommandFunction function = &Answer)
    {
        const int watches = g_watches;
        EXPECT_EQ(Register(helper, function), Status::Success);
        EXPECT_TRUE(WaitUntil([watches] { return g_watches == watches + 1; }));
    }

    // Until as many watches are stopped as were begun: with each, the thread is about to end.
    static bool AllAreStopped()
    {
        return WaitUntil([] { return g_stopped == g_watches; });
    }

private:
    ImportPatch m_several{nullptr, "WaitForMultipleObjects", &WaitAndCloseWhatStays};
    ImportPatch m_single{nullptr, "WaitForSingleObject", &WaitWithShortPause};
};

// The same with the service in this process as well: what either of them leaves behind shows.
class BothEndsTest : public LinkFaultTest
{
protected:
    BothEndsTest()
    {
        std::uint32_t error = 0;
        EXPECT_TRUE(m_mark.Set(error) && server.Start(error)) << error;
    }

    ~BothEndsTest() override
    {
        g_release = true;
        server.Stop();
    }

    // Sends a command to the only client.
    AgentStatus Send() { return commander.Send(0, L"{\"JD_COMMAND_ID\":4711}", commandLimit).status; }

    bool HasClients(std::size_t count)
    {
        return WaitUntil([&] { return host.clients.All().size() == count; });
    }

    SmallHost host;
    SvcLink::Server server{host.handler};
    SvcHost::Commander commander{host.clients, host.journal,
                                 [this](std::uint64_t client, const std::string& trackingId,
                                        std::span<const std::uint8_t> message,
                                        std::chrono::milliseconds limit)
                                 { return server.CallBack(client, trackingId, message, limit); }};

private:
    SvcLink::ConsoleHostMark m_mark;
};
} // namespace

TEST_F(LinkFaultTest, AHundredServicesKilledDuringARegistrationLeaveNothingBehind)
{
    EXPECT_EQ(LastingGrowthOf(
                  []
                  {
                      HangingHostProcess service(RpcCommandId::RegisterProcess);
                      EXPECT_TRUE(service.IsReady());
                      const auto helper = MakeHelper();
                      std::jthread caller([&] { EXPECT_LT(Register(*helper), 0); });
                      EXPECT_TRUE(service.Hangs());
                      service.Kill();
                      caller.join();
                      EXPECT_EQ(helper->UnregisterProcess(), Status::Success); // there is nothing to end
                  }),
              "");
    EXPECT_EQ(g_watches, 0);
}

TEST_F(LinkFaultTest, AHundredServicesKilledWhileTheClientRegistersAgainLeaveNothingBehind)
{
    auto service = std::make_unique<HangingHostProcess>();
    const auto helper = MakeHelper();
    RegisterAndWatch(*helper);
    EXPECT_EQ(LastingGrowthOf(
                  [&]
                  {
                      const int watches = g_watches;
                      service->Kill();
                      service = std::make_unique<HangingHostProcess>(RpcCommandId::RegisterProcess);
                      EXPECT_TRUE(service->Hangs());
                      service->Kill();
                      service = std::make_unique<HangingHostProcess>();
                      EXPECT_TRUE(WaitUntil([watches] { return g_watches == watches + 1; }));
                  }),
              "");
    EXPECT_EQ(helper->UnregisterProcess(), Status::Success);
    EXPECT_TRUE(WaitUntil([] { return g_stopped == 1; }));
}

TEST_F(LinkFaultTest, AHundredServicesKilledBeforeTheyGaveTheirHandleLeaveNothingBehind)
{
    EXPECT_EQ(LastingGrowthOf(
                  []
                  {
                      HangingHostProcess service(RpcCommandId::Mail);
                      EXPECT_TRUE(service.IsReady());
                      const auto helper = MakeHelper();
                      EXPECT_EQ(Register(*helper), Status::Success);
                      EXPECT_TRUE(service.Hangs());
                      service.Kill();
                      EXPECT_LT(helper->UnregisterProcess(), 0);
                  }),
              "");
}

TEST_F(LinkFaultTest, AHundredServicesThatHangInTheEndOfARegistrationLeaveNothingBehind)
{
    bool dies = false;
    EXPECT_EQ(LastingGrowthOf(
                  [&dies]
                  {
                      dies = !dies;
                      HangingHostProcess service(RpcCommandId::UnregisterProcess);
                      EXPECT_TRUE(service.IsReady());
                      auto helper = MakeHelper();
                      RegisterAndWatch(*helper);
                      std::atomic<bool> isBack = false;
                      std::jthread caller(
                          [&]
                          {
                              const AgentStatus status = helper->UnregisterProcess();
                              isBack = true;
                              EXPECT_EQ(Status::Failed(status), dies);
                          });
                      EXPECT_TRUE(service.Hangs());
                      service.Suspend();
                      EXPECT_TRUE(AllAreStopped());
                      EXPECT_FALSE(isBack);
                      if (dies)
                      {
                          service.Kill();
                      }
                      else
                      {
                          service.Resume();
                      }
                      caller.join();
                      helper.reset();
                  }),
              "");
}

TEST_F(BothEndsTest, AHundredEndsOfARegistrationDuringACommandLeaveNothingBehind)
{
    bool goes = false;
    EXPECT_EQ(LastingGrowthOf(
                  [&]
                  {
                      goes = !goes;
                      g_release = false;
                      auto helper = MakeHelper();
                      RegisterAndWatch(*helper, &StayUntilReleased);
                      // The answer comes over a connection that is still there, and over none.
                      std::jthread sender([&] { EXPECT_EQ(Status::Failed(Send()), goes); });
                      EXPECT_TRUE(WaitUntil([] { return g_inside == 1; }));
                      EXPECT_EQ(helper->UnregisterProcess(), Status::Success);
                      EXPECT_TRUE(HasClients(0));
                      if (goes)
                      {
                          helper.reset();
                          sender.join();
                      }
                      EXPECT_EQ(g_inside, 1);
                      g_release = true;
                      EXPECT_TRUE(WaitUntil([] { return g_inside == 0; }));
                      if (!goes)
                      {
                          sender.join();
                      }
                      EXPECT_TRUE(AllAreStopped());
                  }),
              "");
}

TEST_F(BothEndsTest, AHundredPairsOfHelpersLeaveNothingBehind)
{
    EXPECT_EQ(LastingGrowthOf(
                  [&]
                  {
                      auto first = MakeHelper();
                      auto second = MakeHelper();
                      RegisterAndWatch(*first);
                      EXPECT_EQ(Register(*second), Status::AlreadyDone); // it is one process
                      EXPECT_EQ(Send(), Status::Success);
                      EXPECT_EQ(first->UnregisterProcess(), Status::Success);
                      RegisterAndWatch(*second);
                      first.reset();
                      EXPECT_EQ(Send(), Status::Success); // over the connection that they share
                      EXPECT_EQ(second->UnregisterProcess(), Status::Success);
                      second.reset();
                      EXPECT_TRUE(HasClients(0));
                      EXPECT_TRUE(AllAreStopped());
                  }),
              "");
}

TEST_F(BothEndsTest, AHundredClientsKilledDuringACommandLeaveNothingBehind)
{
    EXPECT_EQ(LastingGrowthOf(
                  [&]
                  {
                      Process client(Beside(L"StayingClient.exe"));
                      EXPECT_TRUE(HasClients(1));
                      std::jthread sender([&] { EXPECT_LT(Send(), 0); });
                      const auto inside = TestSupport::PeerEvent(L"inside", client.Id());
                      EXPECT_TRUE(TestSupport::IsSignalledInTime(inside));
                      client.Kill();
                      sender.join();
                      EXPECT_TRUE(HasClients(0));
                  }),
              "");
}
