#include <atomic>
#include <functional>
#include <thread>

#include "CrashFilter.h"
#include "CrashScene.h"
#include "CrashState.h"
#include "WaitUntil.h"
#include "util_CrashHandler.h"

using ::testing::ElementsAre;
using TestSupport::ImportPatch;

namespace
{
// One thread handles a crash, and others leave it to that.
class CrashOwnerTest : public CrashScene
{
};
} // namespace

TEST_F(CrashOwnerTest, ASecondThreadWritesNoSecondDump)
{
    Arm();
    std::vector<std::jthread> threads;
    duringDump = [&]
    {
        for (int i = 0; i < 3; ++i)
        {
            threads.emplace_back([this] { EXPECT_EQ(CrashFilter(&exception), 1); });
        }
        EXPECT_TRUE(TestSupport::WaitUntil([] { return CountOf(eventLine) == 4; }));
    };
    EXPECT_EQ(CrashFilter(&exception), 1);
    threads.clear();
    EXPECT_EQ(dump.count, 1);
    EXPECT_EQ(CountOf(L"end 1"), 1);
    EXPECT_EQ(CountOf(feedbackLine), 4) << "the channels are told of each crash";
    EXPECT_EQ(s_crashThreadId, GetCurrentThreadId());
}

namespace
{
HANDLE g_awaited = nullptr;
DWORD g_patience = 0;

// Of the threads that wait for the owner.
DWORD WINAPI RecordWait(HANDLE handle, DWORD milliseconds)
{
    if (handle != s_hCrashDoneEvent.Get())
    {
        return WaitForSingleObjectEx(handle, milliseconds, FALSE);
    }
    g_awaited = handle;
    g_patience = milliseconds;
    return WAIT_TIMEOUT;
}

ULONGLONG g_tick = 0;

ULONGLONG WINAPI FastTick()
{
    return g_tick += 20000;
}
} // namespace

TEST_F(CrashOwnerTest, AThreadWaitsAMinuteForTheOwnerAndReturns)
{
    Arm();
    s_crashThreadId = 1;
    const ImportPatch wait(nullptr, "WaitForSingleObject", &RecordWait);
    const ImportPatch tick(nullptr, "GetTickCount64", &FastTick);
    EXPECT_EQ(CrashFilter(&exception), 1);
    EXPECT_EQ(g_awaited, s_hCrashDoneEvent.Get());
    EXPECT_EQ(g_patience, 60000U);
    EXPECT_THAT(Steps(), ElementsAre(eventLine, feedbackLine));
    EXPECT_EQ(s_crashThreadId, 1U);
}

TEST_F(CrashOwnerTest, TheEndOfTheProgramWaitsForACrash)
{
    Arm();
    s_crashThreadId = 1;
    const ImportPatch wait(nullptr, "WaitForSingleObject", &RecordWait);
    const ImportPatch tick(nullptr, "GetTickCount64", &FastTick);
    UninitCrashHandler();
    EXPECT_EQ(g_awaited, s_hCrashDoneEvent.Get());
    EXPECT_TRUE(s_bDbghelpLoaded);
}

namespace
{
std::atomic<ULONGLONG> g_now{1};
std::atomic<DWORD> g_waiter{0}; // has waited in vain
std::atomic<bool> g_stays{false};

// The minute is over at once.
DWORD WINAPI WaitInVain(HANDLE handle, DWORD milliseconds)
{
    if (handle != s_hCrashDoneEvent.Get())
    {
        return WaitForSingleObjectEx(handle, milliseconds, FALSE);
    }
    g_now += milliseconds;
    g_waiter = GetCurrentThreadId();
    return WAIT_TIMEOUT;
}

ULONGLONG WINAPI Now()
{
    return g_now;
}

void WINAPI NoteSleep(DWORD milliseconds)
{
    g_stays = g_stays || GetCurrentThreadId() == g_waiter;
    SleepEx(milliseconds, FALSE);
}

void WINAPI PassTenSeconds(DWORD milliseconds)
{
    const bool isTurnGivenUp = milliseconds == 0; // by the runtime of threads
    if (GetCurrentThreadId() == g_waiter && !isTurnGivenUp)
    {
        g_now += 10000;
    }
    SleepEx(milliseconds, FALSE);
}

// A dump that takes longer than the minute for which another thread waits.
class LongDumpTest : public CrashOwnerTest
{
protected:
    // Crashes, and has another thread come to that while the dump is written, which goes on until the other
    // is back or is found to stay.
    void CrashBeside(const std::function<void()>& other)
    {
        Arm();
        std::jthread thread;
        duringDump = [&]
        {
            thread = std::jthread(
                [&]
                {
                    other();
                    isBack = true;
                });
            EXPECT_TRUE(TestSupport::WaitUntil([&] { return isBack || g_stays; }));
        };
        EXPECT_EQ(CrashFilter(&exception), 1);
        thread.join();
        EXPECT_EQ(dump.count, 1);
    }

    static void ExpectEnd() { EXPECT_EQ(CountOf(L"end 1"), 1) << "the end of the process comes first"; }

    std::atomic<bool> isBack{false};
    ImportPatch wait{nullptr, "WaitForSingleObject", &WaitInVain};
    ImportPatch tick{nullptr, "GetTickCount64", &Now};
};
} // namespace

TEST_F(LongDumpTest, IsNotCutOffByAThreadThatHasWaited)
{
    const ImportPatch sleep(nullptr, "Sleep", &NoteSleep);
    CrashBeside(
        [&]
        {
            EXPECT_EQ(TopLevelFilter(&exception), 1);
            ExpectEnd();
        });
}

TEST_F(LongDumpTest, IsNotCutOffByTheEndOfTheProgram)
{
    const ImportPatch sleep(nullptr, "Sleep", &NoteSleep);
    CrashBeside(
        []
        {
            WaitForCrash();
            ExpectEnd();
        });
}

TEST_F(LongDumpTest, IsLeftAMinuteAfterItHasStoppedGrowing)
{
    const ImportPatch sleep(nullptr, "Sleep", &PassTenSeconds);
    CrashBeside(
        [&]
        {
            EXPECT_EQ(TopLevelFilter(&exception), 1);
            EXPECT_EQ(g_now, 1U + 60000U + 60000U);
            EXPECT_EQ(CountOf(L"end 1"), 0) << "the dump is still written";
        });
}
