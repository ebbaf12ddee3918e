// No process can use up the service alone, and nobody holds a connection without saying who it is.
#include "RawPipe.h"

#include "IdlePools.h"
#include "ImportPatch.h"
#include "ObjectCounts.h"
#include "Processes.h"
#include "WaitUntil.h"
#include "programs/HostCommands.h"

#include <windows.h>

#include <atomic>
#include <latch>
#include <thread>

using SvcLink::FrameHeader;
using SvcLink::FrameKind;
using TestSupport::ImportPatch;
using TestSupport::WaitUntil;

namespace
{

constexpr auto busy = static_cast<std::int32_t>(0xE0FE00AA);

// A service whose calls from this process stay until they are released; those of others return at once.
class ShareTest : public testing::Test
{
protected:
    ShareTest()
    {
        handler.onCall = [this](const SvcLink::Client& client, const SvcLink::Call&)
        {
            if (client.processId == GetCurrentProcessId())
            {
                ++inside;
                release.wait();
            }
            else
            {
                ++others;
            }
            return SvcLink::Answer{success, {}};
        };
        // Not in a registry of its own: clients of other processes look for the mark as well.
        std::uint32_t error = 0;
        EXPECT_TRUE(mark.Set(error) && server.Start(error)) << error;
    }

    ~ShareTest() override
    {
        Release();
        server.Stop();
    }

    void Release()
    {
        if (!released.exchange(true))
        {
            release.count_down();
        }
    }

    void ExpectAnotherProcessIsServed()
    {
        const int before = others;
        const Process other(Beside(L"LinkClient.exe"));
        EXPECT_TRUE(WaitUntil([&] { return others > before; }));
    }

    ScriptedHandler handler;
    SvcLink::ConsoleHostMark mark;
    SvcLink::Server server{handler};
    std::latch release{1};
    std::atomic<bool> released = false;
    std::atomic<int> inside = 0;
    std::atomic<int> others = 0;
};

void WriteCalls(const RawPipe& pipe, int count)
{
    for (int i = 0; i < count; ++i)
    {
        EXPECT_TRUE(pipe.Write(BytesOfFrame(Of(FrameKind::Call))));
    }
}

std::int32_t StatusOfNext(const RawPipe& pipe)
{
    FrameHeader answer;
    EXPECT_TRUE(pipe.Read(answer));
    return answer.status;
}

} // namespace

TEST_F(ShareTest, AProcessHasItsShareOfTheConnections)
{
    std::vector<std::unique_ptr<RawPipe>> pipes;
    for (int i = 0; i < 128; ++i)
    {
        pipes.push_back(std::make_unique<RawPipe>());
        pipes.back()->Introduce();
    }
    FrameHeader welcome;
    {
        const RawPipe beyond;
        static_cast<void>(beyond.Write(BytesOfFrame(Introduction()))); // the service may have been faster
        EXPECT_FALSE(beyond.Read(welcome));
    }
    ExpectAnotherProcessIsServed();
    pipes.pop_back();
    EXPECT_TRUE(WaitUntil([&] { return !handler.Disconnected().empty(); }));
    RawPipe().Introduce();
    Release();
}

TEST_F(ShareTest, AProcessHasItsShareOfTheCalls)
{
    const std::vector<RawPipe> pipes(4);
    for (const RawPipe& pipe : pipes)
    {
        pipe.Introduce();
        WriteCalls(pipe, 64);
    }
    EXPECT_TRUE(WaitUntil([&] { return inside == 256; }));
    WriteCalls(pipes.front(), 1);
    EXPECT_EQ(StatusOfNext(pipes.front()), busy);
    ExpectAnotherProcessIsServed();
    Release();
    for (int i = 0; i < 64; ++i)
    {
        EXPECT_EQ(StatusOfNext(pipes.front()), success);
    }
}

TEST_F(ShareTest, AProcessHasItsShareOfTheMessagesBytes)
{
    constexpr std::uint32_t largest = 16U << 20;
    const std::vector<RawPipe> pipes(2);
    for (const RawPipe& pipe : pipes)
    {
        pipe.Introduce();
        for (int i = 0; i < 8; ++i)
        {
            EXPECT_TRUE(pipe.Write(BytesOfFrame(Of(FrameKind::Call, largest), largest)));
        }
    }
    EXPECT_TRUE(WaitUntil([&] { return inside == 16; }));
    EXPECT_TRUE(pipes.front().Write(BytesOfFrame(Of(FrameKind::Call, 100), 100)));
    EXPECT_EQ(StatusOfNext(pipes.front()), busy);
    Release();
    for (int i = 0; i < 8; ++i)
    {
        EXPECT_EQ(StatusOfNext(pipes.front()), success);
    }
    EXPECT_TRUE(pipes.front().Write(BytesOfFrame(Of(FrameKind::Call, 100), 100)));
    EXPECT_EQ(StatusOfNext(pipes.front()), success);
}

// Ten seconds, which is the limit for that.
TEST_F(ShareTest, AClientThatDoesNotSayWhoItIsIsCutOff)
{
    const RawPipe known;
    known.Introduce();
    const RawPipe refused;
    FrameHeader answer = Introduction();
    answer.second = 1;
    EXPECT_TRUE(refused.Write(BytesOfFrame(answer)));
    EXPECT_TRUE(refused.Read(answer));
    const RawPipe silent;
    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(silent.Read(answer));
    EXPECT_GE(GetTickCount64() - start, 8000U);
    EXPECT_LT(GetTickCount64() - start, 20000U);
    EXPECT_FALSE(refused.Read(answer));
    Release();
    WriteCalls(known, 1);
    EXPECT_EQ(StatusOfNext(known), success);
}

// A call that calls back could wait for ever if nobody is left to take the reply.
TEST_F(ShareTest, ACallForWhichNoThreadIsLeftIsRefused)
{
    const RawPipe pipe;
    pipe.Introduce();
    {
        const ImportPatch noThreads(nullptr, "CreateThread", &RefuseThread);
        WriteCalls(pipe, 16);
        EXPECT_EQ(StatusOfNext(pipe), busy);
    }
    Release();
    int done = 0;
    for (int i = 0; i < 15; ++i)
    {
        done += StatusOfNext(pipe) == success ? 1 : 0;
    }
    EXPECT_EQ(done, inside);
    WriteCalls(pipe, 1);
    EXPECT_EQ(StatusOfNext(pipe), success);
}

// Threads that many calls at once took end when they have had nothing to do for ten seconds.
TEST_F(ShareTest, ABurstOfCallsLeavesNothingBehind)
{
    TestSupport::IdlePools pools;
    const TestSupport::ObjectCounts before = TestSupport::CountObjects();
    {
        const RawPipe pipe;
        pipe.Introduce();
        WriteCalls(pipe, 64);
        EXPECT_TRUE(WaitUntil([&] { return inside == 64; }));
        Release();
        for (int i = 0; i < 64; ++i)
        {
            EXPECT_EQ(StatusOfNext(pipe), success);
        }
    }
    pools.End(true);
    // One or two threads stay at the port, and the system has things of its own for the first ones.
    TestSupport::ObjectCounts after;
    EXPECT_TRUE(WaitUntil(
        [&]
        {
            after = TestSupport::CountObjects();
            return after.handles <= before.handles + 8 && after.threads <= before.threads + 1;
        }))
        << before.handles << " -> " << after.handles << ", " << before.threads << " -> " << after.threads;
}
