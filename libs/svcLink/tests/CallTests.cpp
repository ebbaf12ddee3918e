#include "LinkTest.h"

#include "RpcMsgBuffer.h"
#include "VzComn_AgentStatus.h"
#include "WaitUntil.h"

#include <boost/weak_ptr.hpp>

#include <algorithm>
#include <atomic>
#include <latch>
#include <stdexcept>
#include <thread>

using TestSupport::WaitUntil;

namespace
{

constexpr std::size_t largest = std::size_t{16} << 20;

} // namespace

TEST_F(LinkTest, AMessageOfEachSizeComesBackWhole)
{
    StartServer();
    const Manager manager = Connect();
    for (const std::size_t size : {std::size_t{0}, std::size_t{12}, std::size_t{1024}, std::size_t{4024},
                                   std::size_t{4025}, std::size_t{65536}, std::size_t{4} << 20, largest})
    {
        const Bytes message = size == 0 ? Bytes() : MessageOf(size);
        const Outcome outcome = Execute(*manager, 0x2051, message);
        EXPECT_EQ(outcome.status, success) << size;
        EXPECT_TRUE(outcome.message == message) << size;
    }
}

TEST_F(LinkTest, AMessageBeyondTheLimitIsRefusedAndTheConnectionLives)
{
    StartServer();
    const Manager manager = Connect();
    EXPECT_EQ(Execute(*manager, 0x2051, MessageOf(largest + 1)).status, tooLarge);
    EXPECT_EQ(Execute(*manager, 0x2051, MessageOf(100)).status, success);
    EXPECT_EQ(handler.Connected().size(), 1U);
}

TEST_F(LinkTest, AnAnswerBeyondTheLimitIsRefusedAndTheConnectionLives)
{
    handler.onCall = [](const auto&, const SvcLink::Call& call) {
        return SvcLink::Answer{success, MessageOf(call.commandId == 1 ? largest + 1 : largest)};
    };
    StartServer();
    const Manager manager = Connect();
    EXPECT_EQ(Execute(*manager, 1, {}).status, tooLarge);
    EXPECT_EQ(Execute(*manager, 2, {}).message.size(), largest);
    EXPECT_EQ(handler.Connected().size(), 1U);
}

TEST_F(LinkTest, TheServiceGetsTheFieldsOfTheCommand)
{
    SvcLink::Call seen;
    Bytes message;
    handler.onCall = [&](const auto&, const SvcLink::Call& call)
    {
        seen = call;
        message.assign(call.message.begin(), call.message.end());
        return SvcLink::Answer{success, {}};
    };
    StartServer();
    const Manager manager = Connect();
    const std::string trackingId(36, 'x');
    EXPECT_EQ(Execute(*manager, 0x2051, MessageOf(64), nullptr, trackingId).status, success);
    EXPECT_EQ(seen.commandId, 0x2051U);
    EXPECT_EQ(seen.second, 1U);
    EXPECT_EQ(seen.trackingId, trackingId);
    EXPECT_TRUE(message == MessageOf(64));
}

TEST_F(LinkTest, AFailureOfTheServiceComesWithoutAMessage)
{
    handler.onCall = [](const auto&, const auto&) { return SvcLink::Answer{-5, MessageOf(100)}; };
    StartServer();
    const Manager manager = Connect();
    const Outcome outcome = Execute(*manager, 0x2051, {});
    EXPECT_EQ(outcome.status, -5);
    EXPECT_TRUE(outcome.message.empty());
}

TEST_F(LinkTest, TheResultNamesStatusAndMessage)
{
    StartServer();
    const Manager manager = Connect();
    CRpcCommand command{};
    command.uCommandId = 0x2051;
    PutMessage(command.data, MessageOf(100));
    CRpcCommandResult result{};
    EXPECT_EQ(manager->ExecuteCommand(command, nullptr, result), success);
    EXPECT_EQ(result.iStatus, success);
    EXPECT_EQ(result.uMessageId, 0x10014U);
    EXPECT_EQ(result.data.uMessageId, 0x10014U);
    EXPECT_EQ(manager->DestroyDataHandle(&result.data), success);
    EXPECT_EQ(result.data.pMessage, nullptr);
    EXPECT_EQ(manager->DestroyDataHandle(&result.data), success);
    EXPECT_EQ(manager->DestroyDataHandle(nullptr), success);
    manager->DestroyDataHandle(&command.data);
}

TEST_F(LinkTest, CallsOfManyThreadsEachGetTheirOwnAnswer)
{
    StartServer();
    const Manager manager = Connect();
    std::atomic<int> wrong = 0;
    std::vector<std::jthread> threads;
    for (std::size_t thread = 0; thread < 12; ++thread)
    {
        threads.emplace_back(
            [&, thread]
            {
                for (std::size_t round = 0; round < 60; ++round)
                {
                    const Bytes message = MessageOf(24 + thread * 3000 + round * 17);
                    wrong += Execute(*manager, 0x2051, message).message == message ? 0 : 1;
                }
            });
    }
    threads.clear();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(handler.Connected().size(), 1U);
}

TEST_F(LinkTest, ASlowCallHoldsNoOtherUp)
{
    std::latch release(1);
    std::atomic<bool> inside = false;
    handler.onCall = [&](const auto&, const SvcLink::Call& call)
    {
        if (call.commandId == 1)
        {
            inside = true;
            release.wait();
        }
        return SvcLink::Answer{success, {}};
    };
    StartServer();
    const Manager manager = Connect();
    const Manager other = Connect();
    std::jthread slow([&] { EXPECT_EQ(Execute(*manager, 1, {}).status, success); });
    EXPECT_TRUE(WaitUntil([&] { return inside.load(); }));
    for (int round = 0; round < 20; ++round)
    {
        EXPECT_EQ(Execute(*manager, 2, {}).status, success);
        EXPECT_EQ(Execute(*other, 2, {}).status, success);
    }
    release.count_down();
}

TEST_F(LinkTest, TheServiceKnowsWhoCalls)
{
    StartServer();
    DWORD session = 99;
    ProcessIdToSessionId(GetCurrentProcessId(), &session);
    {
        const Manager manager = Connect();
        ASSERT_TRUE(WaitUntil([&] { return handler.Connected().size() == 1; }));
        EXPECT_EQ(handler.Connected()[0].processId, GetCurrentProcessId());
        EXPECT_EQ(handler.Connected()[0].sessionId, session);
    }
    EXPECT_TRUE(WaitUntil([&] { return handler.Disconnected().size() == 1; }));
}

TEST_F(LinkTest, AClientIsGoneOnlyWhenItsLastCallHasReturned)
{
    std::latch release(1);
    std::atomic<bool> inside = false;
    std::atomic<bool> done = false;
    handler.onCall = [&](const auto&, const auto&)
    {
        inside = true;
        release.wait();
        done = true;
        return SvcLink::Answer{success, {}};
    };
    StartServer();
    const Manager manager = Connect();
    std::jthread caller([&] { EXPECT_LT(Execute(*manager, 1, {}).status, 0); });
    EXPECT_TRUE(WaitUntil([&] { return inside.load(); }));
    server.Disconnect(handler.Connected()[0].id);
    caller.join();
    EXPECT_TRUE(handler.Disconnected().empty());
    release.count_down();
    EXPECT_TRUE(WaitUntil([&] { return handler.Disconnected().size() == 1; }));
    EXPECT_TRUE(done);
}

TEST_F(LinkTest, ManagersHaveIdsOfTheirOwnAndMakeOthers)
{
    const Manager first = Connect(0);
    const Manager second = Connect(0);
    char made[RpcUuidSize] = {};
    EXPECT_EQ(first->CreateUUID(made, sizeof made), success);
    EXPECT_EQ(std::string(made).size(), 36U);
    EXPECT_EQ(std::string(first->m_szTrackingId).size(), 36U);
    EXPECT_STRNE(first->m_szTrackingId, second->m_szTrackingId);
    EXPECT_STRNE(first->m_szTrackingId, made);
    EXPECT_LT(first->CreateUUID(made, sizeof made - 1), 0);
    EXPECT_LT(first->CreateUUID(nullptr, sizeof made), 0);
    EXPECT_LT(first->DestroyTrackingID(nullptr), 0);
    EXPECT_EQ(first->DestroyTrackingID(made), success);
    EXPECT_EQ(first->DestroyContext(CRpcContext{}), success);
}

TEST_F(LinkTest, AnAnswerOutlivesItsManagerAndMayBeWrittenTo)
{
    StartServer();
    for (const std::size_t size : {100U, 3000U, 60000U, 200000U})
    {
        Manager manager = Connect();
        CRpcCommand command{};
        PutMessage(command.data, MessageOf(size));
        CRpcCommandResult result{};
        EXPECT_EQ(manager->ExecuteCommand(command, nullptr, result), success);
        manager.reset();
        ASSERT_NE(result.data.pMessage, nullptr);
        EXPECT_TRUE(BytesBehind(result.data) == MessageOf(size)) << size;
        CRpcMsgBuffer& message = **result.data.pMessage;
        EXPECT_EQ(message.AddUInt(1, 77), Status::Success);
        std::uint32_t value = 0;
        EXPECT_EQ(message.GetUInt(1, value), Status::Success);
        EXPECT_EQ(value, 77U);
        EXPECT_EQ(message.Bytes().size(), size + 16);
        delete result.data.pMessage;
        delete command.data.pMessage;
    }
}

TEST_F(LinkTest, AnAnswerThatIsHeldStaysAsItCame)
{
    StartServer();
    const Manager manager = Connect();
    CRpcCommand command{};
    PutMessage(command.data, MessageOf(60000));
    CRpcCommandResult held{};
    EXPECT_EQ(manager->ExecuteCommand(command, nullptr, held), success);
    for (int i = 0; i < 5; ++i)
    {
        EXPECT_EQ(Execute(*manager, 0x2051, MessageOf(50000)).status, success);
    }
    EXPECT_TRUE(BytesBehind(held.data) == MessageOf(60000));
    manager->DestroyDataHandle(&held.data);
    manager->DestroyDataHandle(&command.data);
}

// What callers of the registration never release goes with the manager.
TEST_F(LinkTest, TheMessagesOfARegistrationLiveAsLongAsTheManager)
{
    StartServer();
    for (const std::uint32_t commandId : {0x2052U, 0x2053U})
    {
        Manager manager = Connect();
        CRpcCommand command{};
        command.uCommandId = commandId;
        PutMessage(command.data, MessageOf(100));
        CRpcCommandResult result{};
        EXPECT_EQ(manager->ExecuteCommand(command, nullptr, result), success);
        const boost::weak_ptr<CRpcMsgBuffer> sent(*command.data.pMessage);
        const boost::weak_ptr<CRpcMsgBuffer> received(*result.data.pMessage);
        EXPECT_FALSE(sent.expired() || received.expired());
        manager.reset();
        EXPECT_TRUE(sent.expired() && received.expired());
    }
}

TEST_F(LinkTest, TheMessageOfAnUnknownClientsRegistrationStaysTheCallers)
{
    handler.onCall = [](const auto&, const auto&) { return SvcLink::Answer{unknownClient, {}}; };
    StartServer();
    Manager manager = Connect();
    CRpcCommand command{};
    command.uCommandId = 0x2052;
    PutMessage(command.data, MessageOf(100));
    CRpcCommandResult result{};
    EXPECT_EQ(manager->ExecuteCommand(command, nullptr, result), unknownClient);
    const boost::weak_ptr<CRpcMsgBuffer> sent(*command.data.pMessage);
    manager.reset();
    EXPECT_FALSE(sent.expired());
    delete command.data.pMessage;
}

TEST_F(LinkTest, AKeptMessageThatIsReleasedAfterAllIsReleasedOnce)
{
    StartServer();
    const Manager manager = Connect();
    EXPECT_EQ(Execute(*manager, 0x2052, MessageOf(100)).status, success);
}

TEST_F(LinkTest, WhatAHandlerThrowsFailsItsCallAlone)
{
    handler.onCall = [](const auto&, const SvcLink::Call& call)
    {
        if (call.commandId == 1)
        {
            throw std::runtime_error("refused");
        }
        if (call.commandId == 2)
        {
            throw 2;
        }
        return SvcLink::Answer{success, {}};
    };
    StartServer();
    const Manager manager = Connect();
    EXPECT_EQ(Execute(*manager, 1, MessageOf(100)).status, static_cast<std::int32_t>(0xE0FF0001));
    EXPECT_EQ(Execute(*manager, 2, MessageOf(100)).status, static_cast<std::int32_t>(0xE0FF0001));
    EXPECT_EQ(Execute(*manager, 3, MessageOf(100)).status, success);
}
