#include "LinkTest.h"

#include "WaitUntil.h"

#include <atomic>
#include <latch>
#include <thread>

using std::chrono::seconds;
using TestSupport::WaitUntil;

namespace
{

constexpr std::uint32_t refused = 5; // a command
constexpr auto gone = static_cast<std::int32_t>(0xE0FE04CF);
constexpr auto timedOut = static_cast<std::int32_t>(0xE0FE05B4);
constexpr auto notFound = static_cast<std::int32_t>(0xE0FE0490);

// What the callbacks below share with their test.
struct Shared
{
    std::atomic<int> inside = 0;
    std::atomic<bool> release = false;
    CRpcClientManager* manager = nullptr;
    std::string trackingId;
} g_shared;

std::int32_t Echo(const char* trackingId, const CRpcCommandResult& in, CRpcCommandResult& out)
{
    g_shared.trackingId = trackingId;
    PutMessage(out.data, BytesBehind(in.data));
    return 7;
}

std::int32_t Wait(const char* /*trackingId*/, const CRpcCommandResult& /*in*/, CRpcCommandResult& out)
{
    ++g_shared.inside;
    EXPECT_TRUE(WaitUntil([] { return g_shared.release.load(); }));
    PutMessage(out.data, MessageOf(50));
    --g_shared.inside;
    return 9;
}

std::int32_t CallTheService(const char* /*trackingId*/, const CRpcCommandResult& in, CRpcCommandResult& out)
{
    const Outcome outcome = Execute(*g_shared.manager, 0x2051, BytesBehind(in.data));
    PutMessage(out.data, outcome.message);
    return outcome.status;
}

std::int32_t Throw(const char* /*trackingId*/, const CRpcCommandResult& /*in*/, CRpcCommandResult& /*out*/)
{
    throw 1;
}

std::int32_t ReplyTooMuch(const char* /*trackingId*/, const CRpcCommandResult& /*in*/, CRpcCommandResult& out)
{
    PutMessage(out.data, MessageOf((std::size_t{16} << 20) + 1));
    return success;
}

class CallbackTest : public LinkTest
{
protected:
    CallbackTest()
    {
        g_shared.inside = 0;
        g_shared.release = false;
        handler.onCall = [](const auto&, const SvcLink::Call& call) {
            return call.commandId == refused ? SvcLink::Answer{-5, {}} : EchoOf(call);
        };
        StartServer();
        manager = Connect();
        g_shared.manager = manager.get();
    }

    ~CallbackTest() override { g_shared.release = true; }

    void Register(CRpcClientManager::Callback callback)
    {
        EXPECT_EQ(Execute(*manager, 0x2051, {}, callback, id).status, success);
    }

    SvcLink::Answer CallBack(const Bytes& message, std::chrono::milliseconds limit = seconds(60))
    {
        EXPECT_TRUE(WaitUntil([&] { return !handler.Connected().empty(); }));
        return server.CallBack(handler.Connected().at(0).id, id, message, limit);
    }

    Manager manager;
    const std::string id = std::string(35, 'c') + "1";
};

} // namespace

TEST_F(CallbackTest, TheReplyCarriesStatusAndMessageOfTheCallback)
{
    Register(&Echo);
    for (const std::size_t size : {std::size_t{12}, std::size_t{100000}, std::size_t{16} << 20})
    {
        const SvcLink::Answer answer = CallBack(MessageOf(size));
        EXPECT_EQ(answer.status, 7);
        EXPECT_TRUE(answer.message == MessageOf(size)) << size;
        EXPECT_EQ(g_shared.trackingId, id);
    }
    EXPECT_TRUE(CallBack({}).message.empty());
}

TEST_F(CallbackTest, AnUnknownTrackingIdIsAnswered)
{
    EXPECT_EQ(CallBack(MessageOf(12)).status, notFound);
}

TEST_F(CallbackTest, ACallbackIsForgottenWithItsTrackingId)
{
    Register(&Echo);
    manager->DestroyTrackingID(id.c_str());
    EXPECT_EQ(CallBack({}).status, notFound);

    Register(&Echo);
    EXPECT_EQ(CallBack({}).status, 7);
    EXPECT_EQ(Execute(*manager, 0, {}, nullptr, id).status, success);
    EXPECT_EQ(CallBack({}).status, notFound);
}

TEST_F(CallbackTest, ARefusedRegistrationLeavesTheCallbackThatWasThere)
{
    EXPECT_EQ(Execute(*manager, refused, {}, &Throw, id).status, -5);
    EXPECT_EQ(CallBack({}).status, notFound);
    Register(&Echo);
    EXPECT_EQ(Execute(*manager, refused, {}, &Throw, id).status, -5);
    EXPECT_EQ(CallBack({}).status, 7);
}

TEST_F(CallbackTest, SeveralRunAtOnceWhileCallsGoOn)
{
    Register(&Wait);
    std::vector<std::jthread> callers;
    for (int i = 0; i < 5; ++i)
    {
        callers.emplace_back([&] { EXPECT_EQ(CallBack({}).status, 9); });
    }
    EXPECT_TRUE(WaitUntil([] { return g_shared.inside == 5; }));
    EXPECT_EQ(Execute(*manager, 0x2051, MessageOf(99)).message.size(), 99U);
    g_shared.release = true;
}

// More at once than there are threads for: the others take their turn.
TEST_F(CallbackTest, AHundredAtOnceAreAllAnswered)
{
    Register(&Wait);
    std::atomic<int> answered = 0;
    std::vector<std::jthread> callers;
    for (int i = 0; i < 100; ++i)
    {
        callers.emplace_back([&] { answered += CallBack({}).status == 9 ? 1 : 0; });
    }
    EXPECT_TRUE(WaitUntil([] { return g_shared.inside == 32; }));
    EXPECT_EQ(Execute(*manager, 0x2051, MessageOf(99)).status, success);
    g_shared.release = true;
    callers.clear();
    EXPECT_EQ(answered, 100);
}

TEST_F(CallbackTest, ACallbackMayCallTheService)
{
    Register(&CallTheService);
    EXPECT_TRUE(CallBack(MessageOf(300)).message == MessageOf(300));
}

TEST_F(CallbackTest, ACallMayWaitForACallbackOfItsOwnCaller)
{
    server.Stop();
    handler.onCall = [&](const SvcLink::Client& client, const SvcLink::Call& call)
    {
        return call.commandId == 1 ? server.CallBack(client.id, call.trackingId, call.message, seconds(60))
                                   : EchoOf(call);
    };
    StartServer();
    manager = Connect();
    g_shared.manager = manager.get();
    const Outcome outcome = Execute(*manager, 1, MessageOf(77), &CallTheService, id);
    EXPECT_EQ(outcome.status, success);
    EXPECT_TRUE(outcome.message == MessageOf(77));
}

TEST_F(CallbackTest, AnExceptionIsAFailureOfThatCallbackOnly)
{
    Register(&Throw);
    EXPECT_LT(CallBack({}).status, 0);
    EXPECT_EQ(Execute(*manager, 0x2051, MessageOf(99)).status, success);
}

TEST_F(CallbackTest, MessagesBeyondTheLimitAreRefusedBothWays)
{
    Register(&ReplyTooMuch);
    EXPECT_EQ(CallBack(MessageOf((std::size_t{16} << 20) + 1)).status, tooLarge);
    const SvcLink::Answer answer = CallBack({});
    EXPECT_EQ(answer.status, tooLarge);
    EXPECT_TRUE(answer.message.empty());
    EXPECT_EQ(Execute(*manager, 0x2051, {}).status, success);
}

TEST_F(CallbackTest, AReplyThatComesTooLateIsDropped)
{
    Register(&Wait);
    EXPECT_EQ(CallBack({}, std::chrono::milliseconds(50)).status, timedOut);
    g_shared.release = true;
    EXPECT_EQ(CallBack({}).status, 9);
}

TEST_F(CallbackTest, AClientThatIsGoneIsTold)
{
    Register(&Wait);
    std::jthread caller([&] { EXPECT_EQ(CallBack({}).status, gone); });
    EXPECT_TRUE(WaitUntil([] { return g_shared.inside == 1; }));
    manager.reset(); // does not wait for the callback
    caller.join();
    EXPECT_EQ(g_shared.inside, 1);
    EXPECT_TRUE(WaitUntil([&] { return handler.Disconnected().size() == 1; }));
    EXPECT_EQ(CallBack({}).status, gone);
    EXPECT_EQ(server.CallBack(4711, id, {}, seconds(60)).status, gone);
    g_shared.release = true;
    EXPECT_TRUE(WaitUntil([] { return g_shared.inside == 0; }));
}

TEST_F(CallbackTest, TheServiceMayStopDuringACallback)
{
    Register(&Wait);
    std::jthread caller([&] { EXPECT_EQ(CallBack({}).status, gone); });
    EXPECT_TRUE(WaitUntil([] { return g_shared.inside == 1; }));
    server.Stop();
    caller.join();
    g_shared.release = true;
    EXPECT_TRUE(WaitUntil([] { return g_shared.inside == 0; }));
}

TEST_F(CallbackTest, UnregisteringDuringACallbackDoesNotWaitForIt)
{
    Register(&Wait);
    std::jthread caller([&] { EXPECT_EQ(CallBack({}).status, 9); });
    EXPECT_TRUE(WaitUntil([] { return g_shared.inside == 1; }));
    EXPECT_EQ(Execute(*manager, 0x2053, {}).status, success);
    EXPECT_EQ(Execute(*manager, 0, {}, nullptr, id).status, success);
    g_shared.release = true;
}
