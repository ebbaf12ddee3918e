#include "VzComn_ThreadBase.h"

#include "ImportPatch.h"
#include "Thrown.h"
#include "WaitUntil.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>

namespace
{

using TestSupport::ImportPatch;
using TestSupport::Thrown;
using VzCommon::AccessControl::SecurityAttributes;
using VzCommon::Thread::Base;
using VzCommon::Thread::Exception;

unsigned __stdcall Count(void* argument)
{
    ++*static_cast<std::atomic<int>*>(argument);
    return 7;
}

unsigned __stdcall WaitForSignal(void* event)
{
    WaitForSingleObject(event, INFINITE);
    return 0;
}

struct SelfWaiter
{
    Base thread;
    std::atomic<bool> returned{false};
};

unsigned __stdcall WaitForMyself(void* argument)
{
    auto* waiter = static_cast<SelfWaiter*>(argument);
    waiter->thread.Wait();
    waiter->returned = true;
    return 0;
}

// What the runtime was given.
struct Begun
{
    void* attributes;
    DWORD length;
    unsigned stack;
    unsigned flags;
} g_begun;

uintptr_t __cdecl RefuseToBegin(void* attributes, unsigned stack, unsigned(__stdcall*)(void*),
                                void* /*argument*/, unsigned flags, unsigned* /*id*/)
{
    const auto* given = static_cast<SECURITY_ATTRIBUTES*>(attributes);
    g_begun = {attributes, given != nullptr ? given->nLength : 0, stack, flags};
    return 0;
}

DWORD g_waitResult = 0;

DWORD WINAPI FakeWait(HANDLE /*handle*/, DWORD /*timeout*/)
{
    SetLastError(4711);
    return g_waitResult;
}

DWORD WINAPI RefuseToResume(HANDLE /*thread*/)
{
    SetLastError(4712);
    return static_cast<DWORD>(-1);
}

class ThreadBaseTest : public testing::Test
{
protected:
    ~ThreadBaseTest() override
    {
        SetEvent(signal);
        CloseHandle(signal);
    }

    // The code that was thrown.
    template <typename Operation>
    static std::uint32_t CodeOf(Operation operation)
    {
        const auto thrown = Thrown<Exception>(operation);
        EXPECT_NE(thrown, nullptr);
        return thrown ? thrown->code : 0;
    }

    SecurityAttributes attributes{VzCommon::AccessControl::Kind::Thread, false};
    std::atomic<int> runs{0};
    HANDLE signal = CreateEventW(nullptr, TRUE, FALSE, nullptr);
};

} // namespace

TEST_F(ThreadBaseTest, IsCreatedSuspended)
{
    Base thread;
    thread.Create(attributes, &Count, &runs);
    ASSERT_NE(thread.Handle(), nullptr);
    EXPECT_NE(thread.GetThreadId(), 0U);
    EXPECT_EQ(SuspendThread(thread.Handle()), 1U);
    EXPECT_EQ(ResumeThread(thread.Handle()), 2U);
    EXPECT_EQ(runs, 0);
}

TEST_F(ThreadBaseTest, RunsItsProcedureOnce)
{
    Base thread;
    thread.Create(attributes, &Count, &runs);
    thread.Run(0);
    thread.Wait();
    EXPECT_EQ(runs, 1);
    DWORD exitCode = 0;
    EXPECT_TRUE(GetExitCodeThread(thread.Handle(), &exitCode));
    EXPECT_EQ(exitCode, 7U);
}

TEST_F(ThreadBaseTest, RunAndWaitReturnsAfterTheEnd)
{
    Base thread;
    thread.Create(attributes, &Count, &runs);
    thread.RunAndWait(true, 0);
    EXPECT_EQ(runs, 1);
}

TEST_F(ThreadBaseTest, RunDoesNotWait)
{
    Base thread;
    thread.Create(attributes, &WaitForSignal, signal);
    thread.Run(0);
    EXPECT_EQ(WaitForSingleObject(thread.Handle(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
    SetEvent(signal);
    thread.Wait();
}

TEST_F(ThreadBaseTest, WaitGivesUpAfterItsTime)
{
    Base thread(10);
    thread.Create(attributes, &WaitForSignal, signal);
    thread.Run(0);
    EXPECT_EQ(CodeOf([&] { thread.Wait(); }), 258U);
    EXPECT_EQ(CodeOf([&] { thread.RunAndWait(true, 0); }), 258U);
}

TEST_F(ThreadBaseTest, WaitReturnsAtOnceInsideTheThread)
{
    SelfWaiter waiter;
    waiter.thread.Create(attributes, &WaitForMyself, &waiter);
    waiter.thread.Run(0);
    EXPECT_TRUE(TestSupport::WaitUntil([&] { return waiter.returned.load(); }));
    waiter.thread.Wait();
}

TEST_F(ThreadBaseTest, WaitThrowsWhatTheSystemAnswers)
{
    Base thread;
    thread.Create(attributes, &Count, &runs);
    thread.RunAndWait(true, 0);

    const ImportPatch patch(nullptr, "WaitForSingleObject", &FakeWait);
    g_waitResult = WAIT_ABANDONED;
    EXPECT_EQ(CodeOf([&] { thread.Wait(); }), 128U);
    g_waitResult = WAIT_TIMEOUT;
    EXPECT_EQ(CodeOf([&] { thread.Wait(); }), 258U);
    g_waitResult = WAIT_FAILED;
    EXPECT_EQ(CodeOf([&] { thread.Wait(); }), 4711U);
    g_waitResult = WAIT_IO_COMPLETION;
    EXPECT_EQ(CodeOf([&] { thread.Wait(); }), 4711U);
    g_waitResult = WAIT_OBJECT_0;
    EXPECT_EQ(Thrown<Exception>([&] { thread.Wait(); }), nullptr);
}

TEST_F(ThreadBaseTest, RefusesANullProcedure)
{
    Base thread;
    const auto thrown = Thrown<Exception>([&] { thread.Create(attributes, nullptr, nullptr); });
    ASSERT_NE(thrown, nullptr);
    EXPECT_EQ(thrown->code, 160U);
    EXPECT_NE(thrown->line, 0U);
    EXPECT_EQ(thrown->sourceFile, "Common/VzCommon/VzComn_ThreadBase.cpp");
    EXPECT_EQ(thread.Handle(), nullptr);
}

TEST_F(ThreadBaseTest, CannotRunOrWaitBeforeCreate)
{
    Base thread;
    EXPECT_EQ(CodeOf([&] { thread.Run(0); }), 6U);
    EXPECT_EQ(CodeOf([&] { thread.RunAndWait(true, 0); }), 6U);
    EXPECT_EQ(CodeOf([&] { thread.Wait(); }), 6U);
}

TEST_F(ThreadBaseTest, ReportsThatThereIsNoThread)
{
    const ImportPatch patch(nullptr, "_beginthreadex", &RefuseToBegin);
    Base thread;
    EXPECT_EQ(CodeOf([&] { thread.Create(attributes, &Count, &runs); }), 1054U);
    EXPECT_EQ(thread.Handle(), nullptr);
    EXPECT_EQ(thread.GetThreadId(), 0U);
    EXPECT_EQ(g_begun.attributes, static_cast<SECURITY_ATTRIBUTES*>(&attributes));
    EXPECT_EQ(g_begun.length, 24U);
    EXPECT_EQ(g_begun.stack, 0U);
    EXPECT_EQ(g_begun.flags, 4U);
}

TEST_F(ThreadBaseTest, HandsOverAttributesOfEveryKindBut18)
{
    const ImportPatch patch(nullptr, "_beginthreadex", &RefuseToBegin);
    Base thread;
    SecurityAttributes none(18, false);
    EXPECT_EQ(CodeOf([&] { thread.Create(none, &Count, &runs); }), 1054U);
    EXPECT_EQ(g_begun.attributes, nullptr);

    SecurityAttributes unknown(3, false);
    EXPECT_EQ(CodeOf([&] { thread.Create(unknown, &Count, &runs); }), 1054U);
    EXPECT_EQ(g_begun.attributes, static_cast<SECURITY_ATTRIBUTES*>(&unknown));
    EXPECT_EQ(g_begun.length, 0U);
}

TEST_F(ThreadBaseTest, SetsThePriority)
{
    Base thread;
    thread.Create(attributes, &WaitForSignal, signal);
    thread.Run(THREAD_PRIORITY_BELOW_NORMAL);
    EXPECT_EQ(GetThreadPriority(thread.Handle()), THREAD_PRIORITY_BELOW_NORMAL);
}

TEST_F(ThreadBaseTest, RefusesAPriorityThatIsNone)
{
    Base thread;
    thread.Create(attributes, &Count, &runs);
    EXPECT_EQ(CodeOf([&] { thread.Run(99); }), 87U);
    EXPECT_EQ(SuspendThread(thread.Handle()), 1U); // still suspended
}

TEST_F(ThreadBaseTest, ReportsAThreadThatCannotBeResumed)
{
    Base thread;
    thread.Create(attributes, &Count, &runs);
    const ImportPatch patch(nullptr, "ResumeThread", &RefuseToResume);
    EXPECT_EQ(CodeOf([&] { thread.Run(0); }), 4712U);
}

TEST_F(ThreadBaseTest, LeavesThreadAndHandleBehind)
{
    HANDLE left = nullptr;
    {
        Base thread;
        thread.Create(attributes, &WaitForSignal, signal);
        thread.Run(0);
        left = thread.Handle();
    }
    EXPECT_EQ(WaitForSingleObject(left, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    SetEvent(signal);
    EXPECT_EQ(WaitForSingleObject(left, 30000), static_cast<DWORD>(WAIT_OBJECT_0));
    EXPECT_TRUE(CloseHandle(left));
}
