#include "CrashRoutes.h"

#include <csignal>
#include <cstdlib>
#include <exception>

#include "CrashFilter.h"
#include "LibraryAborts.h"

namespace
{
constexpr DWORD terminateCode = 0x20474343; // that of every exception of this compiler
constexpr DWORD heapCorruption = 0xC0000374;

void OnTerminate()
{
    CrashWith(terminateCode);
}

// The library forgets the handler before it calls it, but another thread may abort meanwhile.
void OnAbort(int /*signal*/)
{
    std::signal(SIGABRT, &OnAbort);
    CrashWith(abortCode);
}

// The system reports a corrupted heap to its own error reporting, past the filter.
LONG CALLBACK OnException(EXCEPTION_POINTERS* pointers)
{
    return pointers->ExceptionRecord->ExceptionCode == heapCorruption ? TopLevelFilter(pointers)
                                                                      : EXCEPTION_CONTINUE_SEARCH;
}

// Without this, the system drops what a window procedure throws.
void LetExceptionsPassThroughWindows()
{
    using GetPolicy = BOOL(WINAPI*)(DWORD * flags);
    using SetPolicy = BOOL(WINAPI*)(DWORD flags);
    constexpr DWORD dropsExceptions = 1; // PROCESS_CALLBACK_FILTER_ENABLED
    const HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    const FARPROC get = GetProcAddress(kernel, "GetProcessUserModeExceptionPolicy");
    const FARPROC set = GetProcAddress(kernel, "SetProcessUserModeExceptionPolicy");
    DWORD flags = 0;
    if (get != nullptr && set != nullptr &&
        reinterpret_cast<GetPolicy>(reinterpret_cast<void*>(get))(&flags) != FALSE)
    {
        reinterpret_cast<SetPolicy>(reinterpret_cast<void*>(set))(flags & ~dropsExceptions);
    }
}

// Nor what a timer's callback throws.
void LetExceptionsPassThroughTimers()
{
    constexpr int dropsExceptions = 7; // UOI_TIMERPROC_EXCEPTION_SUPPRESSION
    BOOL value = FALSE;
    SetUserObjectInformationW(GetCurrentProcess(), dropsExceptions, &value, sizeof(value));
}
} // namespace

void RouteCrashes()
{
    std::set_terminate(&OnTerminate);
    std::signal(SIGABRT, &OnAbort);
    _set_error_mode(_OUT_TO_STDERR); // no message box before the signal
    AddVectoredExceptionHandler(1, &OnException);
    LetExceptionsPassThroughWindows();
    LetExceptionsPassThroughTimers();
    RouteLibraryAborts();
}

// Not by raising an exception: a frame on the way to the filter might take it.
void CrashWith(DWORD code)
{
    CONTEXT context{};
    RtlCaptureContext(&context);
    EXCEPTION_RECORD record{};
    record.ExceptionCode = code;
    record.ExceptionFlags = EXCEPTION_NONCONTINUABLE;
    record.ExceptionAddress = reinterpret_cast<void*>(context.Rip);
    EXCEPTION_POINTERS pointers{&record, &context};
    TopLevelFilter(&pointers);
    TerminateProcess(GetCurrentProcess(), code);
    __builtin_unreachable();
}
