#include "LinkTest.h"

#include "ImportPatch.h"
#include "LastingGrowth.h"
#include "RpcMsgBuffer.h"
#include "WaitUntil.h"

#include <boost/weak_ptr.hpp>

#include <atomic>
#include <cstdlib>
#include <latch>
#include <thread>

using TestSupport::LastingGrowthOf;
using TestSupport::WaitUntil;

namespace
{

constexpr auto noEndpoint = static_cast<std::int32_t>(0xE0FE0002);

std::int32_t DoNothing(const char* /*trackingId*/, const CRpcCommandResult& /*in*/,
                       CRpcCommandResult& /*out*/)
{
    return success;
}

decltype(&std::malloc) trueMalloc = nullptr;
DWORD shortThread = 0;
int successes = -1; // allocations until the one that fails; below 0 none does

void* FailingMalloc(std::size_t size)
{
    return GetCurrentThreadId() == shortThread && successes-- == 0 ? nullptr : trueMalloc(size);
}

} // namespace

TEST_F(LinkTest, WithoutAServiceACommandFailsAtOnceAndALaterOneConnects)
{
    const Manager manager = Connect();
    EXPECT_EQ(Execute(*manager, 0x2051, {}).status, noEndpoint);
    StartServer();
    EXPECT_EQ(Execute(*manager, 0x2051, {}).status, success);
}

TEST_F(LinkTest, AfterARestartOfTheServiceAManagerIsUnknownAndANewOneWorks)
{
    StartServer();
    const Manager manager = Connect();
    EXPECT_EQ(Execute(*manager, 0x2051, {}).status, success);
    server.Stop();
    EXPECT_LT(Execute(*manager, 0x2051, {}).status, 0);
    EXPECT_TRUE(WaitUntil([&] { return Execute(*manager, 0x2051, {}).status == noEndpoint; }));
    StartServer();
    EXPECT_EQ(Execute(*manager, 0x2051, {}).status, unknownClient);
    EXPECT_EQ(Execute(*manager, 0x2052, {}).status, unknownClient);
    EXPECT_EQ(Execute(*Connect(), 0x2051, {}).status, success);
    EXPECT_EQ(Execute(*manager, 0x2051, {}).status, unknownClient);
}

TEST_F(LinkTest, AManagerThatWasCutOffIsUnknown)
{
    StartServer();
    const Manager manager = Connect();
    ASSERT_TRUE(WaitUntil([&] { return handler.Connected().size() == 1; }));
    server.Disconnect(handler.Connected().at(0).id);
    EXPECT_TRUE(WaitUntil([&] { return handler.Disconnected().size() == 1; }));
    EXPECT_TRUE(WaitUntil([&] { return Execute(*manager, 0x2051, {}).status == unknownClient; }));
    EXPECT_EQ(handler.Connected().size(), 1U);
}

TEST_F(LinkTest, AServiceThatEndsFailsAllCallersAtOnce)
{
    std::latch release(1);
    std::atomic<int> inside = 0;
    handler.onCall = [&](const auto&, const auto&)
    {
        ++inside;
        release.wait();
        return SvcLink::Answer{success, {}};
    };
    StartServer();
    const Manager manager = Connect();
    std::atomic<int> failed = 0;
    std::vector<std::jthread> callers;
    for (int i = 0; i < 4; ++i)
    {
        callers.emplace_back([&] { failed += Execute(*manager, 0x2051, {}).status < 0 ? 1 : 0; });
    }
    EXPECT_TRUE(WaitUntil([&] { return inside == 4; }));
    std::jthread stopper([&] { server.Stop(); });
    EXPECT_TRUE(WaitUntil([&] { return failed == 4; }));
    release.count_down();
}

TEST_F(LinkTest, SixtyFourClientsAreServedAtOnce)
{
    StartServer();
    std::vector<Manager> managers;
    for (int i = 0; i < 64; ++i)
    {
        managers.push_back(Connect());
        EXPECT_EQ(Execute(*managers.back(), 0x2051, {}, &DoNothing, "me").status, success);
    }
    std::atomic<int> right = 0;
    std::vector<std::jthread> threads;
    for (const Manager& manager : managers)
    {
        threads.emplace_back(
            [&right, &manager]
            { right += Execute(*manager, 0x2051, MessageOf(2000)).message.size() == 2000 ? 1 : 0; });
    }
    for (const SvcLink::Client& client : handler.Connected())
    {
        EXPECT_EQ(server.CallBack(client.id, "me", {}, std::chrono::seconds(60)).status, success);
    }
    threads.clear();
    EXPECT_EQ(right, 64);
    managers.clear();
    EXPECT_TRUE(WaitUntil([&] { return handler.Disconnected().size() == 64; }));
}

TEST_F(LinkTest, AHundredConnectionsLeaveNothingBehind)
{
    StartServer();
    EXPECT_EQ(LastingGrowthOf(
                  [&]
                  {
                      const Manager manager = Connect();
                      EXPECT_EQ(Execute(*manager, 0x2052, MessageOf(5000), &DoNothing, "me").status, success);
                      const auto id = handler.Connected().back().id;
                      EXPECT_EQ(server.CallBack(id, "me", {}, std::chrono::seconds(60)).status, success);
                  }),
              "");
}

TEST_F(LinkTest, AHundredRestartsOfTheServiceLeaveNothingBehind)
{
    EXPECT_EQ(LastingGrowthOf(
                  [&]
                  {
                      StartServer();
                      const Manager manager = Connect();
                      EXPECT_EQ(Execute(*manager, 0x2052, MessageOf(5000), &DoNothing, "me").status, success);
                      server.Stop();
                      EXPECT_LT(Execute(*manager, 0x2051, {}).status, 0);
                  }),
              "");
}

TEST_F(LinkTest, AServerThatNeverStartedStops)
{
    server.Stop();
    server.Disconnect(1);
    EXPECT_LT(server.CallBack(1, "me", {}, std::chrono::seconds(1)).status, 0);
}

TEST_F(LinkTest, WhatItTakesOverIsReleasedWhateverMemoryLacks)
{
    StartServer();
    const TestSupport::ImportPatch patch(nullptr, "malloc", &FailingMalloc, GetModuleHandleW(L"svcLink.dll"));
    trueMalloc = patch.Original<decltype(std::malloc)>();
    int refused = 0;
    bool hasFailed = true;
    for (int allowed = 0; hasFailed; ++allowed)
    {
        Manager manager = Connect();
        CRpcCommand command{};
        command.uCommandId = 0x2052;
        PutMessage(command.data, MessageOf(100));
        const boost::weak_ptr<CRpcMsgBuffer> message = *command.data.pMessage;
        CRpcCommandResult result{};
        shortThread = GetCurrentThreadId();
        successes = allowed;
        refused += manager->ExecuteCommand(command, &DoNothing, result) < 0 ? 1 : 0;
        hasFailed = successes < 0;
        shortThread = 0;
        const boost::weak_ptr<CRpcMsgBuffer> answer =
            result.data.pMessage != nullptr ? *result.data.pMessage : boost::shared_ptr<CRpcMsgBuffer>();
        manager.reset();
        EXPECT_TRUE(message.expired()) << allowed;
        EXPECT_TRUE(answer.expired()) << allowed;
    }
    EXPECT_GT(refused, 3);
}
