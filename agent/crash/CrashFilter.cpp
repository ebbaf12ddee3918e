#include "CrashFilter.h"

#include <boost/thread/lock_types.hpp>

#include <iterator>

#include "CrashDump.h"
#include "CrashLimit.h"
#include "CrashRoutes.h"
#include "CrashState.h"
#include "DbghelpTable.h"
#include "FaultInfo.h"
#include "FaultReport.h"
#include "PsapiTable.h"
#include "VzComn_Handle.h"
#include "VzComn_LogChannel.h"
#include "VzComn_LogFront.h"

namespace
{
// One thread's way through the handling. A step that crashes itself brings the thread into the filter again:
// the way then goes on behind that step, still with the exception that began it.
struct Course
{
    EXCEPTION_POINTERS* exception;
    std::size_t next = 0; // step
    VzCommon::KernelHandle process;
    VzCommon::KernelHandle crashEvent; // empty if nobody is to be told
};

using Step = void (*)(Course& course);

DWORD s_courseSlot = TLS_OUT_OF_INDEXES; // holds the course of each thread that is on one

// Set by the owner behind its last step, which is behind the end of the process unless that is refused.
constinit std::atomic<bool> s_ownerIsThrough{false};

void TellEvent(Course& /*course*/)
{
    LOG_EVENT << L":  " << L"Crash catched!";
}

void TellFeedbackError(Course& /*course*/)
{
    LOG_FEEDBACK_ERROR << L"[Crash]:  " << s_applicationName;
}

void OpenOwnProcess(Course& course)
{
    constexpr DWORD allAccess = 0x001FFFFF;
    course.process.Reset(OpenProcess(allAccess, FALSE, GetCurrentProcessId()));
}

bool ClaimCrash()
{
    if (s_crashThreadId != 0)
    {
        return false;
    }
    const boost::unique_lock<boost::shared_mutex> lock(s_crashMutex);
    if (s_crashThreadId != 0)
    {
        return false;
    }
    s_crashThreadId = GetCurrentThreadId();
    return true;
}

// A thread that returns takes the process with it. So the owner, once it is done, is left the moment that it
// needs to tell the watchdog.
void WaitForOwner()
{
    const ULONGLONG end = GetTickCount64() + crashTimeLimit;
    WaitForSingleObject(s_hCrashDoneEvent.Get(), crashTimeLimit);
    while (!s_ownerIsThrough && GetTickCount64() < end)
    {
        Sleep(1);
    }
}

bool IsOwner()
{
    return s_crashThreadId == GetCurrentThreadId();
}

bool IsHandledElsewhere()
{
    return s_crashThreadId != 0 && !IsOwner();
}

// A dump that takes longer than that wait, and grows, is not cut off by the end of a thread that waited.
void LeaveEndToOwner()
{
    while (IsHandledElsewhere() && !s_ownerIsThrough && IsDumpUnderWay())
    {
        Sleep(10);
    }
}

bool CanWriteDump()
{
    return s_bDbghelpLoaded && s_bPsapiLoaded;
}

// A step of its own: a log that crashes does not take the dump with it.
void TellDump(Course& /*course*/)
{
    if (CanWriteDump())
    {
        LOG_ERROR << L" [Crash] start to write dump by Crash Handler request.";
    }
}

void WriteDump(Course& course)
{
    if (CanWriteDump())
    {
        WriteCrashDump(course.process.Get(), GetCurrentProcessId(), 0, course.exception, 0, s_dumpFolder);
    }
}

void TellFault(Course& course)
{
    if (course.exception != nullptr)
    {
        LogFaultInfo(course.exception);
    }
}

void ReportFault(Course& course)
{
    if (course.exception != nullptr && s_bSilentDump && s_bReportToSystem)
    {
        ReportToSystem(course.exception, s_applicationName);
    }
}

void TellOtherThreads(Course& /*course*/)
{
    SetEvent(s_hCrashDoneEvent.Get());
}

void TellSignal(Course& course)
{
    course.crashEvent = OpenCrashEvent();
    if (course.crashEvent)
    {
        LOG_INFO << L"Set crash event...";
    }
}

// A step of its own, as the dump is.
void TellWatchdog(Course& course)
{
    if (course.crashEvent)
    {
        SetEvent(course.crashEvent.Get());
    }
    course.crashEvent.Reset();
}

// The end of the process does not wait for lines that the log still gathers.
void FinishLog(Course& /*course*/)
{
    VzCommon::FinishDebugLog();
}

void EndProcess(Course& course)
{
    constexpr UINT exitCode = 1;
    TerminateProcess(course.process.Get(), exitCode);
    course.process.Reset();
}

void ClaimOrWait(Course& course);

constexpr Step steps[] = {TellEvent,    TellFeedbackError, OpenOwnProcess, ClaimOrWait,      TellDump,
                          WriteDump,    TellFault,         ReportFault,    TellOtherThreads, TellSignal,
                          TellWatchdog, FinishLog,         EndProcess};

void ClaimOrWait(Course& course)
{
    if (ClaimCrash())
    {
        return;
    }
    course.next = std::size(steps);
    WaitForOwner();
    course.process.Reset();
}

void Run(Step step, Course& course) noexcept
{
    try
    {
        step(course);
    }
    catch (...) // no step keeps the next ones from being taken
    {
        return;
    }
}

void Pursue(Course& course)
{
    while (course.next < std::size(steps))
    {
        const Step step = steps[course.next];
        ++course.next;
        if (IsOwner())
        {
            AllowTimeForDump(nullptr); // a dump writer that crashed has not taken it back
        }
        Run(step, course);
    }
    if (IsOwner())
    {
        s_ownerIsThrough = true;
    }
}

void TellStackOverflow()
{
    OutputDebugStringW(L"!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!\n");
    OutputDebugStringW(L"EXCEPTION_STACK_OVERFLOW occurred\n");
    OutputDebugStringW(L"!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!\n");
}

bool IsCode(CrashFilterFunction function)
{
    return function != nullptr && !IsBadCodePtr(reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function)));
}
} // namespace

void InstallCrashFilter()
{
    if (s_courseSlot == TLS_OUT_OF_INDEXES)
    {
        s_courseSlot = TlsAlloc();
    }
    if (s_pfnPreviousFilter == nullptr && IsCode(&CrashFilter))
    {
        s_pfnCrashHandler = &CrashFilter;
        s_pfnPreviousFilter = SetUnhandledExceptionFilter(&TopLevelFilter);
        RouteCrashes();
    }
}

void WaitForCrash()
{
    if (IsHandledElsewhere())
    {
        WaitForOwner();
        LeaveEndToOwner();
    }
}

LONG WINAPI TopLevelFilter(EXCEPTION_POINTERS* pExceptionPointers)
{
    // Deliberate: nothing more is done about a stack overflow, the handling goes on on that stack.
    if (pExceptionPointers->ExceptionRecord->ExceptionCode == EXCEPTION_STACK_OVERFLOW)
    {
        TellStackOverflow();
    }
    const CrashFilterFunction handler = s_pfnCrashHandler;
    if (!IsCode(handler))
    {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    try
    {
        const LONG result = handler(pExceptionPointers);
        LeaveEndToOwner();
        return result;
    }
    catch (...)
    {
        return EXCEPTION_CONTINUE_SEARCH;
    }
}

LONG WINAPI CrashFilter(EXCEPTION_POINTERS* pExceptionPointers)
{
    BeginCrashLimit();
    VzCommon::EndLogWaits();
    auto* const begun = static_cast<Course*>(TlsGetValue(s_courseSlot));
    if (begun != nullptr)
    {
        Pursue(*begun);
    }
    else
    {
        Course course{pExceptionPointers, 0, {}, {}};
        TlsSetValue(s_courseSlot, &course);
        Pursue(course);
        TlsSetValue(s_courseSlot, nullptr);
    }
    return s_bSilentDump ? EXCEPTION_EXECUTE_HANDLER : EXCEPTION_CONTINUE_SEARCH;
}
