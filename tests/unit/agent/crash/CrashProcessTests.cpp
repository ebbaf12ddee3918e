#include <gmock/gmock.h>

#include <windows.h>

#include <filesystem>
#include <optional>

#include "DumpFile.h"
#include "TempDir.h"
#include "TestProgram.h"
#include "UniqueName.h"
#include "VzComn_Handle.h"

// Programs that really crash (tests/programs/Crashing), each with a watchdog's event to signal.
namespace
{
constexpr DWORD gccException = 0x20474343;
constexpr DWORD aborted = 0x40000015;
constexpr DWORD stackSmashed = 0xC0000409;
constexpr wchar_t ofTheSystem[] = L"small";

struct Crash
{
    const char* title;
    const wchar_t* place;
    const wchar_t* death;
    DWORD code;                // in the dump
    const wchar_t* dump = L""; // a brief one
};

void PrintTo(const Crash& crash, std::ostream* stream)
{
    *stream << crash.title;
}

class CrashProcess : public ::testing::Test
{
protected:
    CrashProcess() { std::filesystem::create_directories(folder.Path(L"Norvane Soft\\Melvio")); }

    // To its end, which comes within the time that the handler allows.
    DWORD Run(const std::wstring& place, const std::wstring& death, const std::wstring& more = L"")
    {
        std::wstring command = L"\"" + TestSupport::TestProgram(L"Crashing", L"Crashing_M.exe") + L"\" \"" +
                               folder.Path() + L"\" " + eventName + L" " + place + L" " + death + L" " + more;
        STARTUPINFOW startup{};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION process{};
        EXPECT_TRUE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                   &startup, &process));
        const VzCommon::KernelHandle thread(process.hThread);
        const VzCommon::KernelHandle handle(process.hProcess);
        constexpr DWORD allowed = 75000;
        DWORD code = STILL_ACTIVE;
        if (WaitForSingleObject(process.hProcess, allowed) != WAIT_OBJECT_0)
        {
            TerminateProcess(process.hProcess, code);
            ADD_FAILURE() << "the program does not end";
        }
        GetExitCodeProcess(process.hProcess, &code);
        return code;
    }

    [[nodiscard]] bool IsWatchdogTold() const { return WaitForSingleObject(event.Get(), 0) == WAIT_OBJECT_0; }

    [[nodiscard]] std::vector<std::wstring> Dumps() const
    {
        std::vector<std::wstring> paths;
        for (const auto& entry :
             std::filesystem::directory_iterator(folder.Path(L"Norvane Soft\\Melvio\\dump")))
        {
            paths.push_back(entry.path().wstring());
        }
        return paths;
    }

    // The one dump of a crash that went the whole way.
    void ExpectDump(DWORD exceptionCode, const std::wstring& kind = L"")
    {
        EXPECT_TRUE(IsWatchdogTold());
        const std::vector<std::wstring> paths = Dumps();
        ASSERT_EQ(paths.size(), 1U);
        const DumpFile dump(paths[0]);
        EXPECT_EQ(dump.isWhole, kind == ofTheSystem);
        EXPECT_EQ(dump.exceptionCode, exceptionCode);
        EXPECT_NE(dump.threadId, 0U);
    }

    TestSupport::TempDir folder;
    std::wstring eventName = TestSupport::UniqueName(L"Restart");
    VzCommon::KernelHandle event{CreateEventW(nullptr, TRUE, FALSE, eventName.c_str())};
};

class FailingHandlingTest : public CrashProcess, public ::testing::WithParamInterface<Crash>
{
};

class CrashProcessTest : public CrashProcess, public ::testing::WithParamInterface<Crash>
{
};
} // namespace

TEST_P(CrashProcessTest, LeavesADumpAndTellsTheWatchdog)
{
    const Crash& crash = GetParam();
    EXPECT_EQ(Run(crash.place, crash.death, crash.dump), 1U);
    ExpectDump(crash.code, crash.dump);
}

// The system's writer needs much of the thread: its stack, the loader, and the heap.
INSTANTIATE_TEST_SUITE_P(
    OfTheSystem, CrashProcessTest,
    ::testing::Values(Crash{"Read", L"main", L"read", EXCEPTION_ACCESS_VIOLATION, ofTheSystem},
                      Crash{"Overflow", L"main", L"overflow", EXCEPTION_STACK_OVERFLOW, ofTheSystem},
                      Crash{"ThreadOverflow", L"thread", L"overflow", EXCEPTION_STACK_OVERFLOW, ofTheSystem},
                      Crash{"SmallThreadOverflow", L"small-thread", L"overflow", EXCEPTION_STACK_OVERFLOW,
                            ofTheSystem},
                      Crash{"ThreadThrow", L"thread", L"throw", gccException, ofTheSystem},
                      Crash{"ManyAbort", L"many-threads", L"abort", aborted, ofTheSystem}),
    [](const auto& crash) { return crash.param.title; });

INSTANTIATE_TEST_SUITE_P(
    Kinds, CrashProcessTest,
    ::testing::Values(
        Crash{"Write", L"main", L"write", EXCEPTION_ACCESS_VIOLATION},
        Crash{"Execute", L"main", L"execute", EXCEPTION_ACCESS_VIOLATION},
        Crash{"Divide", L"main", L"divide", EXCEPTION_INT_DIVIDE_BY_ZERO},
        Crash{"Illegal", L"main", L"illegal", EXCEPTION_ILLEGAL_INSTRUCTION},
        Crash{"Privileged", L"main", L"privileged", EXCEPTION_PRIV_INSTRUCTION},
        Crash{"Breakpoint", L"main", L"breakpoint", EXCEPTION_BREAKPOINT},
        Crash{"Misaligned", L"main", L"misaligned", EXCEPTION_ACCESS_VIOLATION},
        Crash{"RaisedMisalignment", L"main", L"raise-misaligned", EXCEPTION_DATATYPE_MISALIGNMENT},
        Crash{"RaisedBounds", L"main", L"raise-bounds", EXCEPTION_ARRAY_BOUNDS_EXCEEDED},
        Crash{"RaisedOverflow", L"main", L"raise-overflow", EXCEPTION_INT_OVERFLOW},
        Crash{"RaisedHandle", L"main", L"raise-handle", EXCEPTION_INVALID_HANDLE},
        Crash{"HeapCorruption", L"main", L"raise-heap", 0xC0000374},
        Crash{"OwnCode", L"main", L"raise-own", 0xE0000042}, Crash{"Throw", L"main", L"throw", gccException},
        Crash{"ThrowPointer", L"main", L"throw-pointer", gccException},
        Crash{"ThrowThroughNoexcept", L"main", L"throw-noexcept", gccException},
        Crash{"Rethrow", L"main", L"rethrow", gccException},
        Crash{"Terminate", L"main", L"terminate", gccException}, Crash{"Abort", L"main", L"abort", aborted},
        Crash{"RaisedAbort", L"main", L"raise-abort", aborted},
        Crash{"PureCall", L"main", L"pure-call", gccException},
        Crash{"OutOfRange", L"main", L"assertion", gccException},
        Crash{"SmashedStack", L"main", L"smash", stackSmashed}),
    [](const auto& crash) { return crash.param.title; });

INSTANTIATE_TEST_SUITE_P(
    Places, CrashProcessTest,
    ::testing::Values(Crash{"ThreadWrite", L"thread", L"write", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"RuntimeThreadWrite", L"runtime-thread", L"write", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"RuntimeThreadDivide", L"runtime-thread", L"divide",
                            EXCEPTION_INT_DIVIDE_BY_ZERO},
                      Crash{"RuntimeThreadThrow", L"runtime-thread", L"throw", gccException},
                      Crash{"RuntimeThreadAbort", L"runtime-thread", L"abort", aborted},
                      Crash{"StandardThreadThrow", L"standard-thread", L"throw", gccException},
                      Crash{"StandardThreadWrite", L"standard-thread", L"write", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"PoolWrite", L"pool", L"write", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"PoolThrow", L"pool", L"throw", gccException},
                      Crash{"WindowWrite", L"window", L"write", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"WindowThrow", L"window", L"throw", gccException},
                      Crash{"ManyWrite", L"many-threads", L"write", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"ManyThrow", L"many-threads", L"throw", gccException},
                      Crash{"LogWrite", L"log", L"write", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"LogAbort", L"log", L"abort", aborted},
                      Crash{"FaultyLogWrite", L"faulty-log", L"write", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"FaultyLogAbort", L"faulty-log", L"abort", aborted},
                      Crash{"LogOfSignalWrite", L"log-of-signal", L"write", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"HeldLogWrite", L"held-log", L"write", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"MainEndsWrite", L"main-ends", L"write", EXCEPTION_ACCESS_VIOLATION}),
    [](const auto& crash) { return crash.param.title; });

INSTANTIATE_TEST_SUITE_P(
    RareKinds, CrashProcessTest,
    ::testing::Values(
        Crash{"SingleStep", L"main", L"single-step", EXCEPTION_SINGLE_STEP},
        Crash{"GuardPage", L"main", L"guard-page", EXCEPTION_GUARD_PAGE},
        Crash{"WriteReadOnly", L"main", L"write-read-only", EXCEPTION_ACCESS_VIOLATION},
        Crash{"ReadFreed", L"main", L"read-freed", EXCEPTION_ACCESS_VIOLATION},
        Crash{"ExecuteData", L"main", L"execute-data", EXCEPTION_ACCESS_VIOLATION},
        Crash{"JumpFar", L"main", L"jump-far", EXCEPTION_ACCESS_VIOLATION},
        Crash{"WriteBackward", L"main", L"write-backward", EXCEPTION_ACCESS_VIOLATION},
        Crash{"WriteUnderAlignmentCheck", L"main", L"write-aligned", EXCEPTION_ACCESS_VIOLATION},
        Crash{"DivideFloats", L"main", L"divide-floats", EXCEPTION_FLT_DIVIDE_BY_ZERO},
        Crash{"ThreadDivideFloats", L"thread", L"divide-floats", EXCEPTION_FLT_DIVIDE_BY_ZERO},
        Crash{"DivideOldFloats", L"main", L"divide-old-floats", EXCEPTION_FLT_DIVIDE_BY_ZERO},
        Crash{"WriteAtEndOfStack", L"main", L"write-at-end", EXCEPTION_ACCESS_VIOLATION},
        Crash{"ThreadWriteAtEndOfStack", L"thread", L"write-at-end", EXCEPTION_ACCESS_VIOLATION},
        Crash{"WriteOnOtherStack", L"main", L"write-on-other", EXCEPTION_ACCESS_VIOLATION},
        Crash{"RaisedInPage", L"main", L"raise-in-page", EXCEPTION_IN_PAGE_ERROR},
        Crash{"RaisedContinued", L"main", L"raise-continued", EXCEPTION_NONCONTINUABLE_EXCEPTION},
        Crash{"RaisedFloatStack", L"main", L"raise-float-stack", EXCEPTION_FLT_STACK_CHECK},
        Crash{"ThrowUnwinding", L"main", L"throw-unwinding", gccException},
        Crash{"FaultUnwinding", L"main", L"fault-unwinding", EXCEPTION_ACCESS_VIOLATION},
        Crash{"FaultBelowCatch", L"main", L"fault-below-catch", EXCEPTION_ACCESS_VIOLATION},
        Crash{"AbortOfEarlyLibrary", L"main", L"early-library-abort", aborted},
        Crash{"AbortOfLateLibrary", L"thread", L"late-library-abort", aborted},
        Crash{"NoMemory", L"main", L"no-memory", gccException},
        Crash{"ThreadNoMemory", L"standard-thread", L"no-memory", gccException}),
    [](const auto& crash) { return crash.param.title; });

INSTANTIATE_TEST_SUITE_P(
    RarePlaces, CrashProcessTest,
    ::testing::Values(Crash{"TinyThreadOverflow", L"tiny-thread", L"overflow", EXCEPTION_STACK_OVERFLOW},
                      Crash{"ProcedureCallWrite", L"procedure-call", L"write", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"ProcedureCallThrow", L"procedure-call", L"throw", gccException},
                      Crash{"TimerQueueWrite", L"timer-queue", L"write", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"PoolTimerThrow", L"pool-timer", L"throw", gccException},
                      Crash{"PoolWorkWrite", L"pool-work", L"write", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"PoolWaitThrow", L"pool-wait", L"throw", gccException},
                      Crash{"EnumerationThrow", L"enumeration", L"throw", gccException},
                      Crash{"DialogWrite", L"dialog", L"write", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"DialogThrow", L"dialog", L"throw", gccException},
                      Crash{"FiberWrite", L"fiber", L"write", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"VectoredHandlerWrite", L"vectored-handler", L"write",
                            EXCEPTION_ACCESS_VIOLATION},
                      Crash{"ComThread", L"com-thread", L"read", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"ComWindow", L"com-window", L"read", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"CatchThrow", L"catch", L"throw", gccException},
                      Crash{"CatchRethrow", L"catch", L"rethrow", aborted},
                      Crash{"ExitWrite", L"at-exit", L"write", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"ExitThrow", L"at-exit", L"throw", gccException},
                      Crash{"ThreadEndWrite", L"thread-end", L"write", EXCEPTION_ACCESS_VIOLATION},
                      Crash{"SuspendedMainThrow", L"suspended-main", L"throw", gccException}),
    [](const auto& crash) { return crash.param.title; });

TEST_P(FailingHandlingTest, EndsTheProgramAndTellsTheWatchdogAllTheSame)
{
    EXPECT_EQ(Run(GetParam().place, GetParam().death), 1U);
    EXPECT_TRUE(IsWatchdogTold());
}

INSTANTIATE_TEST_SUITE_P(Handlings, FailingHandlingTest,
                         ::testing::Values(Crash{"ThatCrashesInTheDumpWriter", L"dump-writer", L"write", 0},
                                           Crash{"ThatAbortsInTheDumpWriter", L"dump-writer", L"abort", 0},
                                           Crash{"ThatHangsInTheLog", L"hanging-log", L"write", 0},
                                           Crash{"WithoutTheLoader", L"held-loader", L"write", 0},
                                           Crash{"WithoutTheHeap", L"held-heap", L"write", 0},
                                           Crash{"ThatIsSuspended", L"suspended-owner", L"write", 0}),
                         [](const auto& crash) { return crash.param.title; });

TEST_F(CrashProcess, ACrashBehindTheShutdownTellsTheWatchdog)
{
    EXPECT_EQ(Run(L"after-uninit", L"write"), 1U);
    EXPECT_TRUE(IsWatchdogTold());
    EXPECT_TRUE(Dumps().empty());
}

TEST_F(CrashProcess, ACrashOfAStaticsEndLeavesADump)
{
    EXPECT_EQ(Run(L"statics", L"write"), 1U);
    ExpectDump(EXCEPTION_ACCESS_VIOLATION);
}

TEST_F(CrashProcess, WithoutAWatchdogTheProgramEndsAllTheSame)
{
    event.Reset();
    EXPECT_EQ(Run(L"main", L"write"), 1U);
    EXPECT_EQ(Dumps().size(), 1U);
}
