// What a hostile client may write to the pipe itself.
#include "RawPipe.h"

#include "ImportPatch.h"
#include "LastingGrowth.h"
#include "MessagePipe.h"
#include "Processes.h"
#include "ServerLimits.h"
#include "WaitUntil.h"

#include <windows.h>

#include <set>
#include <thread>

using SvcLink::FrameHeader;
using SvcLink::FrameKind;
using TestSupport::WaitUntil;

namespace
{

class RawTest : public LinkTest
{
protected:
    RawTest()
    {
        StartServer();
        bystander = Connect();
    }

    // The bytes end the connection that sent them, and no other.
    void ExpectEnds(const Bytes& bytes, bool introduced)
    {
        const RawPipe pipe;
        if (introduced)
        {
            pipe.Introduce();
        }
        // The service may have ended the connection before it had taken all of a large one.
        EXPECT_TRUE(pipe.Write(bytes) || bytes.size() > SvcLink::PipeBufferSize);
        FrameHeader answer;
        EXPECT_FALSE(pipe.Read(answer));
        EXPECT_EQ(Execute(*bystander, 0x2051, MessageOf(100)).status, success);
    }

    Manager bystander;
};

DWORD(WINAPI* s_trueWait)(HANDLE, DWORD) = nullptr;

// A tenth of the time that a client has to take a frame.
DWORD WINAPI WaitForLessLong(HANDLE handle, DWORD milliseconds)
{
    return s_trueWait(handle, milliseconds == SvcLink::WriteLimit.count() ? 1000 : milliseconds);
}

} // namespace

TEST_F(RawTest, AMalformedFrameEndsItsConnection)
{
    FrameHeader wrongMagic = Of(FrameKind::Call);
    wrongMagic.magic ^= 1;
    FrameHeader wrongVersion = Of(FrameKind::Call);
    wrongVersion.version = 2;
    FrameHeader reservedUsed = Of(FrameKind::Call);
    reservedUsed.reserved = 1;
    for (const bool introduced : {false, true})
    {
        ExpectEnds({}, introduced);
        ExpectEnds(Bytes(1, 0), introduced);
        ExpectEnds(Bytes(4096, 0xCC), introduced);
        ExpectEnds(Bytes(1 << 20, 0xCC), introduced);
        ExpectEnds(BytesOfFrame(wrongMagic), introduced);
        ExpectEnds(BytesOfFrame(wrongVersion), introduced);
        ExpectEnds(BytesOfFrame(reservedUsed), introduced);
        ExpectEnds(BytesOfFrame(Of(static_cast<FrameKind>(0))), introduced);
        ExpectEnds(BytesOfFrame(Of(static_cast<FrameKind>(7))), introduced);
    }
    EXPECT_EQ(handler.Connected().size(), 1U + 9U);
}

TEST_F(RawTest, EveryTruncatedHeaderEndsItsConnection)
{
    const Bytes whole = BytesOfFrame(Of(FrameKind::Call));
    for (std::size_t size = 1; size < whole.size(); ++size)
    {
        ExpectEnds(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)), true);
    }
}

TEST_F(RawTest, ALengthThatIsNotTheFramesEndsItsConnectionAndTakesNoMemory)
{
    const std::size_t before = TestSupport::PrivateBytes();
    for (const std::uint32_t length : {1U, 99U, 101U, 16U << 20, (16U << 20) + 1, 0x7FFFFFFFU, 0xFFFFFFFFU})
    {
        ExpectEnds(BytesOfFrame(Of(FrameKind::Call, length), 100), true);
    }
    EXPECT_LT(TestSupport::PrivateBytes(), before + (8U << 20));
}

TEST_F(RawTest, AFrameBeyondTheLimitEndsItsConnection)
{
    const std::uint32_t limit = 16U << 20;
    ExpectEnds(BytesOfFrame(Of(FrameKind::Call, limit + 1), limit + 1), true);
    ExpectEnds(BytesOfFrame(Of(FrameKind::Call, limit), limit + 1), true);

    const RawPipe pipe;
    pipe.Introduce();
    FrameHeader answer;
    EXPECT_TRUE(pipe.Write(BytesOfFrame(Of(FrameKind::Call, limit), limit)));
    EXPECT_TRUE(pipe.Read(answer));
    EXPECT_EQ(answer.length, limit);
}

TEST_F(RawTest, FramesOutOfTurnEndTheirConnection)
{
    ExpectEnds(BytesOfFrame(Of(FrameKind::Call)), false);
    ExpectEnds(BytesOfFrame(Of(FrameKind::Reply)), false);
    ExpectEnds(BytesOfFrame(Introduction()), true);
    ExpectEnds(BytesOfFrame(Of(FrameKind::Welcome)), true);
    ExpectEnds(BytesOfFrame(Of(FrameKind::Answer)), true);
    ExpectEnds(BytesOfFrame(Of(FrameKind::CallBack)), true);
    FrameHeader neither = Introduction();
    neither.second = 2;
    ExpectEnds(BytesOfFrame(neither), false);
    FrameHeader withMessage = Introduction();
    withMessage.length = 100;
    ExpectEnds(BytesOfFrame(withMessage, 100), false);
    FrameHeader nameless = Introduction();
    nameless.SetTrackingId("short");
    ExpectEnds(BytesOfFrame(nameless), false);
}

TEST_F(RawTest, AReplyThatNobodyWaitsForIsDropped)
{
    const RawPipe pipe;
    pipe.Introduce();
    FrameHeader answer;
    EXPECT_TRUE(pipe.Write(BytesOfFrame(Of(FrameKind::Reply, 100), 100)));
    EXPECT_TRUE(pipe.Write(BytesOfFrame(Of(FrameKind::Call, 100), 100)));
    EXPECT_TRUE(pipe.Read(answer));
    EXPECT_EQ(answer.kind, FrameKind::Answer);
}

TEST_F(RawTest, CallsThatAreWrittenAheadAreAllAnswered)
{
    constexpr std::uint64_t count = 50;
    const RawPipe pipe;
    pipe.Introduce();
    std::set<std::uint64_t> open;
    for (std::uint64_t id = 1; id <= count; ++id)
    {
        FrameHeader call = Of(FrameKind::Call);
        call.id = id;
        EXPECT_TRUE(pipe.Write(BytesOfFrame(call)));
        open.insert(id);
    }
    for (std::uint64_t i = 0; i < count; ++i)
    {
        FrameHeader answer;
        ASSERT_TRUE(pipe.Read(answer));
        EXPECT_EQ(open.erase(answer.id), 1U) << answer.id;
    }
}

TEST_F(RawTest, AClientThatWasKnownIsRefusedAndHasToGo)
{
    const RawPipe pipe;
    FrameHeader known = Introduction();
    known.second = 1;
    FrameHeader welcome;
    EXPECT_TRUE(pipe.Write(BytesOfFrame(known)));
    EXPECT_TRUE(pipe.Read(welcome));
    EXPECT_EQ(welcome.status, static_cast<std::int32_t>(0xE0010803));
    EXPECT_TRUE(pipe.Write(BytesOfFrame(Introduction())));
    EXPECT_FALSE(pipe.Read(welcome));
    EXPECT_EQ(Execute(*bystander, 0x2051, {}).status, success);
    EXPECT_EQ(handler.Connected().size(), 1U);
}

// It lies about itself in every field that it has; the system knows better.
TEST_F(RawTest, TheCallersProcessDoesNotComeFromItsFrames)
{
    const RawPipe pipe;
    FrameHeader lie = Introduction();
    lie.id = 4;
    lie.status = 4;
    lie.commandId = 4;
    FrameHeader welcome;
    EXPECT_TRUE(pipe.Write(BytesOfFrame(lie)));
    EXPECT_TRUE(pipe.Read(welcome));
    EXPECT_TRUE(WaitUntil([&] { return handler.Connected().size() == 2; }));
    EXPECT_EQ(handler.Connected().back().processId, GetCurrentProcessId());
}

TEST_F(RawTest, AHundredConnectionsTakeNoMemoryThatStays)
{
    const auto round = []
    {
        const RawPipe pipe;
        pipe.Introduce();
        FrameHeader answer;
        EXPECT_TRUE(pipe.Write(BytesOfFrame(Of(FrameKind::Call, 60000), 60000)));
        EXPECT_TRUE(pipe.Read(answer));
    };
    const auto rounds = [&](int count, std::size_t gone)
    {
        for (int i = 0; i < count; ++i)
        {
            round();
        }
        EXPECT_TRUE(WaitUntil([&] { return handler.Disconnected().size() == gone; }));
    };
    rounds(20, 20);
    const std::size_t before = TestSupport::PrivateBytes();
    rounds(100, 120);
    // Less than the frames; one more thread's stack may be among it.
    EXPECT_LT(TestSupport::PrivateBytes(), before + (4U << 20));
}

// Ten seconds, which is the limit for a frame, are one here.
TEST_F(RawTest, AClientThatDoesNotReadIsCutOff)
{
    const TestSupport::ImportPatch wait(nullptr, "WaitForSingleObject", &WaitForLessLong);
    s_trueWait = wait.Original<DWORD WINAPI(HANDLE, DWORD)>();
    const RawPipe pipe;
    pipe.Introduce();
    EXPECT_TRUE(pipe.Write(BytesOfFrame(Of(FrameKind::Call, 1U << 20), 1U << 20)));
    EXPECT_EQ(Execute(*bystander, 0x2051, MessageOf(100)).status, success);
    EXPECT_TRUE(WaitUntil([&] { return handler.Disconnected().size() == 1; }));
    EXPECT_EQ(Execute(*bystander, 0x2051, MessageOf(100)).status, success);
}

// Its frames are there before each read begins, so that no read is left to be cancelled.
TEST_F(RawTest, AClientThatWritesWithoutEndIsDisconnected)
{
    const RawPipe pipe;
    pipe.Introduce();
    EXPECT_TRUE(WaitUntil([&] { return handler.Connected().size() == 2; }));
    const std::jthread flood(
        [&]
        {
            while (pipe.Write(BytesOfFrame(Of(FrameKind::Call))))
            {
            }
        });
    FrameHeader answer;
    for (int i = 0; i < 1000; ++i)
    {
        EXPECT_TRUE(pipe.Read(answer));
    }
    server.Disconnect(handler.Connected().back().id);
    EXPECT_TRUE(WaitUntil([&] { return handler.Disconnected().size() == 1; }));
    EXPECT_EQ(Execute(*bystander, 0x2051, MessageOf(100)).status, success);
}
