#include <algorithm>
#include <stdexcept>

#include "CrashFilter.h"
#include "CrashScene.h"
#include "CrashState.h"
#include "DbghelpTable.h"
#include "InvalidParameter.h"
#include "PsapiTable.h"
#include "UniqueName.h"
#include "VzComn_LogFront.h"
#include "util_CrashHandler.h"

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;
using TestSupport::ImportPatch;

namespace
{
constexpr wchar_t dumpLine[] = L": [ERROR]  [Crash] start to write dump by Crash Handler request.";

class CrashFilterTest : public CrashScene
{
protected:
    VzCommon::KernelHandle CreateWatchdogEvent()
    {
        return VzCommon::KernelHandle(CreateEventW(nullptr, TRUE, FALSE, eventName.c_str()));
    }

    std::wstring eventName = TestSupport::UniqueName(L"Restart");
};

HANDLE WINAPI RefuseEvent(DWORD /*access*/, BOOL /*inherit*/, const wchar_t* /*name*/)
{
    ADD_FAILURE() << "an event is opened";
    return nullptr;
}

std::wstring g_openedEvent;

HANDLE WINAPI RecordOpening(DWORD access, BOOL inherit, const wchar_t* name)
{
    EXPECT_EQ(access, 2U);
    EXPECT_FALSE(inherit);
    g_openedEvent = name;
    return nullptr;
}

DWORD g_processAccess = 0;
DWORD g_inherit = 1;

HANDLE WINAPI RecordProcess(DWORD access, BOOL inherit, DWORD id)
{
    EXPECT_EQ(id, GetCurrentProcessId());
    g_processAccess = access;
    g_inherit = static_cast<DWORD>(inherit);
    HANDLE process = nullptr;
    DuplicateHandle(GetCurrentProcess(), GetCurrentProcess(), GetCurrentProcess(), &process, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
    return process;
}
} // namespace

TEST_F(CrashFilterTest, GoesThroughItsStepsInOrder)
{
    const VzCommon::KernelHandle event = CreateWatchdogEvent();
    Arm(eventName);
    EXPECT_EQ(CrashFilter(&exception), 1);
    EXPECT_THAT(Steps(),
                ElementsAre(eventLine, feedbackLine, dumpLine, L"dump",
                            StartsWith(L": [INFO] Crash dump generation succeed at path: " + DumpFolder()),
                            StartsWith(L": [INFO] Fault Module Name: "),
                            StartsWith(L": [INFO] Fault Module Version"),
                            L": [INFO] Exception Code: c0000005", StartsWith(L": [INFO] Exception Offset: "),
                            L"done", L": [INFO] Set crash event...", L"signal", L"end 1"));
    EXPECT_EQ(s_crashThreadId, GetCurrentThreadId());
}

TEST_F(CrashFilterTest, OpensItsOwnProcessWithAllRights)
{
    Arm();
    const ImportPatch open(nullptr, "OpenProcess", &RecordProcess);
    CrashFilter(&exception);
    EXPECT_EQ(g_processAccess, 0x1FFFFFU);
    EXPECT_EQ(g_inherit, 0U);
}

TEST_F(CrashFilterTest, ACrashThatIsNoExceptionHasADumpButNoFault)
{
    Arm();
    EXPECT_EQ(CrashFilter(nullptr), 1);
    EXPECT_THAT(Steps(), ElementsAre(eventLine, feedbackLine, dumpLine, L"dump",
                                     AllOf(StartsWith(L": [INFO] Crash dump generation succeed at path: "),
                                           EndsWith(L"_SE_CRT_Full.dmp")),
                                     L"done", L"end 1"));
    EXPECT_FALSE(dump.hasException);
}

TEST_F(CrashFilterTest, AMissingWatchdogIsNoError)
{
    Arm(eventName);
    CrashFilter(nullptr);
    EXPECT_THAT(Steps(), Not(Contains(L"signal")));
    EXPECT_THAT(Steps(), Not(Contains(HasSubstr(L"Set crash event"))));
    EXPECT_EQ(Steps().back(), L"end 1");
}

TEST_F(CrashFilterTest, AnObjectOfAnotherKindUnderTheEventsNameIsNoError)
{
    const VzCommon::KernelHandle stranger(CreateMutexW(nullptr, FALSE, eventName.c_str()));
    Arm(eventName);
    CrashFilter(nullptr);
    EXPECT_THAT(Steps(), Not(Contains(L"signal")));
    EXPECT_EQ(Steps().back(), L"end 1");
}

TEST_F(CrashFilterTest, AsksForNoRightBeyondTheSignal)
{
    Arm(eventName);
    const ImportPatch open(nullptr, "OpenEventW", &RecordOpening);
    CrashFilter(nullptr);
    EXPECT_EQ(g_openedEvent, eventName);
}

TEST_F(CrashFilterTest, NobodyIsToldWithoutAnEventsName)
{
    Arm();
    const ImportPatch open(nullptr, "OpenEventW", &RefuseEvent);
    CrashFilter(nullptr);
    EXPECT_EQ(Steps().back(), L"end 1");
}

TEST_F(CrashFilterTest, AfterUninitThereIsNoDumpButTheRest)
{
    const VzCommon::KernelHandle event = CreateWatchdogEvent();
    Arm(eventName);
    UninitCrashHandler();
    ForgetSteps();
    EXPECT_EQ(TopLevelFilter(&exception), 1) << "the filter stays";
    EXPECT_EQ(dump.count, 0);
    EXPECT_THAT(Files(), IsEmpty());
    EXPECT_THAT(Steps(), AllOf(Contains(eventLine), Contains(L"done"), Contains(L"signal"),
                               Contains(L": [INFO] Exception Code: c0000005")));
    EXPECT_EQ(Steps().back(), L"end 1");
}

TEST_F(CrashFilterTest, BothLibrariesAreNeededForADump)
{
    Arm();
    s_bPsapiLoaded = false;
    CrashFilter(&exception);
    EXPECT_EQ(dump.count, 0);
    EXPECT_THAT(Steps(), Not(Contains(dumpLine)));
    EXPECT_EQ(Steps().back(), L"end 1");
    s_bPsapiLoaded = true;
}

TEST_F(CrashFilterTest, TheWriterOfDumpsAloneIsMissed)
{
    Arm();
    s_bDbghelpLoaded = false;
    CrashFilter(&exception);
    EXPECT_THAT(Files(), IsEmpty());
    EXPECT_THAT(Steps(), Not(Contains(dumpLine)));
    EXPECT_EQ(Steps().back(), L"end 1");
    s_bDbghelpLoaded = true;
}

TEST_F(CrashFilterTest, WithoutTheMainLogTheChannelsWriteAllTheSame)
{
    Arm();
    VzCommon::DebugLog* const held = std::exchange(VzCommon::s_pDebugLog, nullptr);
    CrashFilter(nullptr);
    VzCommon::s_pDebugLog = held;
    EXPECT_THAT(Steps(), ElementsAre(eventLine, feedbackLine, L"dump", L"done", L"end 1"));
}

TEST_F(CrashFilterTest, ReportsToTheSystemIfBothFlagsSaySo)
{
    Arm();
    s_bReportToSystem = true;
    CrashFilter(&exception);
    const std::vector<std::wstring> steps = Steps();
    const auto report =
        std::find_if(steps.begin(), steps.end(),
                     [](const std::wstring& step) { return step.ends_with(L"to Microsoft."); });
    ASSERT_NE(report, steps.end());
    EXPECT_LT(report, std::find(steps.begin(), steps.end(), L"done"));
}

TEST_F(CrashFilterTest, DoesNotReportWhatIsNoException)
{
    Arm();
    s_bReportToSystem = true;
    CrashFilter(nullptr);
    EXPECT_THAT(Steps(), Not(Contains(EndsWith(L"to Microsoft."))));
}

TEST_F(CrashFilterTest, WithoutSilenceTheResultIsAnotherAndNothingIsReported)
{
    Arm();
    s_bSilentDump = false;
    s_bReportToSystem = true;
    EXPECT_EQ(CrashFilter(&exception), 0);
    EXPECT_THAT(Steps(), Not(Contains(EndsWith(L"to Microsoft."))));
    EXPECT_EQ(dump.count, 1);
}

TEST_F(CrashFilterTest, AStepThatThrowsEndsAlone)
{
    const VzCommon::KernelHandle event = CreateWatchdogEvent();
    Arm(eventName);
    duringDump = [] { throw std::runtime_error("no memory"); };
    EXPECT_EQ(CrashFilter(&exception), 1);
    EXPECT_THAT(Steps(), AllOf(Contains(L": [INFO] Exception Code: c0000005"), Contains(L"signal")));
    EXPECT_EQ(Steps().back(), L"end 1");
}

TEST_F(CrashFilterTest, ACrashOfAStepGoesOnBehindIt)
{
    const VzCommon::KernelHandle event = CreateWatchdogEvent();
    Arm(eventName);
    EXCEPTION_RECORD otherRecord{};
    otherRecord.ExceptionCode = EXCEPTION_STACK_OVERFLOW;
    EXCEPTION_POINTERS other{&otherRecord, &context};
    duringDump = [&other] { CrashFilter(&other); };
    EXPECT_EQ(CrashFilter(&exception), 1);
    EXPECT_EQ(dump.count, 1);
    EXPECT_EQ(CountOf(eventLine), 1);
    EXPECT_EQ(CountOf(L"end 1"), 1);
    EXPECT_EQ(CountOf(L"signal"), 1);
    EXPECT_EQ(CountOf(L": [INFO] Exception Code: c0000005"), 1) << "the first crash is told";
}

namespace
{
std::vector<std::wstring> g_debugLines;

void WINAPI RecordDebugLine(const wchar_t* line)
{
    g_debugLines.emplace_back(line);
}

LONG WINAPI GiveSeven(EXCEPTION_POINTERS* /*pointers*/)
{
    return 7;
}

LONG WINAPI Throwing(EXCEPTION_POINTERS* /*pointers*/)
{
    throw std::runtime_error("out of the handler");
}

class TopLevelFilterTest : public ::testing::Test
{
protected:
    EXCEPTION_RECORD record{};
    CONTEXT context{};
    EXCEPTION_POINTERS exception{&record, &context};
    ImportPatch debugger{nullptr, "OutputDebugStringW", &RecordDebugLine};
};
} // namespace

TEST_F(TopLevelFilterTest, GivesWhatTheHandlerGives)
{
    s_pfnCrashHandler = &GiveSeven;
    EXPECT_EQ(TopLevelFilter(&exception), 7);
    EXPECT_THAT(g_debugLines, IsEmpty());
}

TEST_F(TopLevelFilterTest, GivesNothingWithoutAHandler)
{
    s_pfnCrashHandler = nullptr;
    EXPECT_EQ(TopLevelFilter(&exception), 0);
}

TEST_F(TopLevelFilterTest, DoesNotCallWhatIsNoCode)
{
    s_pfnCrashHandler = reinterpret_cast<CrashFilterFunction>(std::uintptr_t{1});
    EXPECT_EQ(TopLevelFilter(&exception), 0);
}

TEST_F(TopLevelFilterTest, AHandlerThatThrowsGivesNothing)
{
    s_pfnCrashHandler = &Throwing;
    EXPECT_EQ(TopLevelFilter(&exception), 0);
}

TEST_F(TopLevelFilterTest, TellsTheDebuggerOfAStackOverflow)
{
    s_pfnCrashHandler = nullptr;
    record.ExceptionCode = 0xC00000FD;
    EXPECT_EQ(TopLevelFilter(&exception), 0);
    EXPECT_THAT(g_debugLines,
                ElementsAre(L"!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!\n", L"EXCEPTION_STACK_OVERFLOW occurred\n",
                            L"!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!\n"));
}

TEST_F(CrashFilterTest, AnInvalidParameterIsACrashIfTheFlagSaysSo)
{
    Arm();
    s_bDumpOnInvalidParameter = true;
    InvalidParameterHandler(nullptr, nullptr, nullptr, 0, 0);
    EXPECT_THAT(Files(), ElementsAre(EndsWith(L"_SE_CRT_Full.dmp")));
    EXPECT_THAT(Steps(), Not(Contains(StartsWith(L": [INFO] Exception Code"))));
    EXPECT_EQ(Steps().back(), L"end 1");
}
