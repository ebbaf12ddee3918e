#include <gmock/gmock.h>

#include <windows.h>

#include <atomic>

#include "CrashLimit.h"
#include "CrashState.h"
#include "ImportPatch.h"
#include "UniqueName.h"
#include "VzComn_Handle.h"
#include "WaitUntil.h"

using TestSupport::ImportPatch;

// The limit begins to count once, so each of these cases wants a process of its own.
namespace
{
const DWORD g_testThread = GetCurrentThreadId();
std::atomic<DWORD> g_timePassed{0}; // in milliseconds
std::atomic<DWORD> g_dumpTakes{0};
std::atomic<int> g_endCode{-1};

void WINAPI PassTime(DWORD milliseconds)
{
    if (GetCurrentThreadId() == g_testThread)
    {
        SleepEx(milliseconds, FALSE);
        return;
    }
    g_timePassed += milliseconds;
    if (g_timePassed >= g_dumpTakes)
    {
        AllowTimeForDump(nullptr);
    }
}

BOOL WINAPI NoteEnd(HANDLE process, UINT code)
{
    EXPECT_EQ(process, GetCurrentProcess());
    g_endCode = static_cast<int>(code);
    return FALSE;
}

class CrashLimitTest : public ::testing::Test
{
protected:
    CrashLimitTest()
    {
        s_crashEventName = eventName;
        s_hCrashDoneEvent.Reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    }

    // A crash whose handling is not heard of again, but for a dump that takes so many milliseconds. Comes
    // back when the process is ended.
    static void Crash(DWORD dumpTakes)
    {
        g_dumpTakes = dumpTakes;
        StartCrashLimit();
        AllowTimeForDump(dumpTakes != 0 ? INVALID_HANDLE_VALUE : nullptr);
        BeginCrashLimit();
        ASSERT_TRUE(TestSupport::WaitUntil([] { return g_endCode != -1; }));
        EXPECT_EQ(g_endCode, 1);
    }

    std::wstring eventName = TestSupport::UniqueName(L"Restart");
    VzCommon::KernelHandle event{CreateEventW(nullptr, TRUE, FALSE, eventName.c_str())};
    ImportPatch sleep{nullptr, "Sleep", &PassTime};
    ImportPatch end{nullptr, "TerminateProcess", &NoteEnd};
};
} // namespace

TEST_F(CrashLimitTest, AHandlingHasAMinute)
{
    Crash(0);
    EXPECT_EQ(g_timePassed, 60000U);
}

TEST_F(CrashLimitTest, ADumpHasTenMinutes)
{
    Crash(MAXDWORD);
    EXPECT_EQ(g_timePassed, 600000U);
}

TEST_F(CrashLimitTest, ADumpThatIsWrittenEndsTheLongTime)
{
    constexpr DWORD dumpTakes = 150000;
    Crash(dumpTakes);
    EXPECT_GE(g_timePassed, dumpTakes);
    EXPECT_LE(g_timePassed, dumpTakes + 60000);
}

TEST_F(CrashLimitTest, GivesTheSignalsOfTheHandling)
{
    Crash(0);
    EXPECT_EQ(WaitForSingleObject(s_hCrashDoneEvent.Get(), 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_OBJECT_0);
}

TEST_F(CrashLimitTest, EndsTheProcessWithoutAWatchdogToo)
{
    event.Reset();
    Crash(0);
}
