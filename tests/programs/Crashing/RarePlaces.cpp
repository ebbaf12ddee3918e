#include "Places.h"

#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "BriefDump.h"
#include "ImportPatch.h"

namespace
{
// Callbacks of the system

DWORD WINAPI DieInWork(void* /*argument*/)
{
    Die();
    return 0;
}

void CALLBACK DieInTimer(void* /*argument*/, BOOLEAN /*isTimer*/)
{
    Die();
}

void InTinyThread()
{
    constexpr SIZE_T stack = 64 * 1024;
    WaitForSingleObject(
        CreateThread(nullptr, stack, &DieInWork, nullptr, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr),
        INFINITE);
}

void InProcedureCall()
{
    QueueUserAPC([](ULONG_PTR /*argument*/) { Die(); }, GetCurrentThread(), 0);
    SleepEx(INFINITE, TRUE);
}

void InTimerQueue()
{
    HANDLE timer = nullptr;
    CreateTimerQueueTimer(&timer, nullptr, &DieInTimer, nullptr, 0, 0, 0);
    Sleep(INFINITE);
}

void InPoolTimer()
{
    FILETIME now{};
    SetThreadpoolTimer(CreateThreadpoolTimer([](PTP_CALLBACK_INSTANCE /*instance*/, void* /*context*/,
                                                PTP_TIMER /*timer*/) { Die(); },
                                             nullptr, nullptr),
                       &now, 0, 0);
    Sleep(INFINITE);
}

void InPoolWork()
{
    QueueUserWorkItem(&DieInWork, nullptr, 0);
    Sleep(INFINITE);
}

void InPoolWait()
{
    HANDLE wait = nullptr;
    RegisterWaitForSingleObject(&wait, CreateEventW(nullptr, TRUE, TRUE, nullptr), &DieInTimer, nullptr,
                                INFINITE, 0);
    Sleep(INFINITE);
}

BOOL CALLBACK DieAtWindow(HWND /*window*/, LPARAM /*argument*/)
{
    Die();
    return TRUE;
}

void InEnumeration()
{
    EnumWindows(&DieAtWindow, 0);
}

INT_PTR CALLBACK DieInDialog(HWND /*dialog*/, UINT message, WPARAM /*wParam*/, LPARAM /*lParam*/)
{
    if (message == WM_INITDIALOG)
    {
        Die();
    }
    return FALSE;
}

void InDialog()
{
    struct
    {
        DLGTEMPLATE dialog;
        WORD rest[4];
    } description{};

    DialogBoxIndirectParamW(nullptr, &description.dialog, nullptr, &DieInDialog, 0);
}

void InFiber()
{
    ConvertThreadToFiber(nullptr);
    SwitchToFiber(CreateFiber(
        0, [](void* /*argument*/) { Die(); }, nullptr));
}

LONG CALLBACK DieAtException(EXCEPTION_POINTERS* pointers)
{
    if (pointers->ExceptionRecord->ExceptionCode == EXCEPTION_BREAKPOINT)
    {
        Die();
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

void InVectoredHandler()
{
    AddVectoredExceptionHandler(1, &DieAtException);
    DebugBreak();
}

// Moments

void InCatch()
{
    try
    {
        throw std::runtime_error("caught");
    }
    catch (const std::exception&)
    {
        Die();
    }
}

void AtExit()
{
    std::atexit(&Die);
}

struct AtThreadEnd
{
    AtThreadEnd() = default;

    ~AtThreadEnd() { Die(); } // NOLINT(bugprone-exception-escape)

    AtThreadEnd(const AtThreadEnd&) = delete;
    AtThreadEnd& operator=(const AtThreadEnd&) = delete;

    bool isUsed = false;
};

void AtEndOfThread()
{
    std::thread(
        []
        {
            static thread_local AtThreadEnd last;
            last.isUsed = true;
        })
        .join();
}

void WhileMainIsSuspended()
{
    HANDLE main = nullptr;
    DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &main, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
    std::thread(
        [main]
        {
            SuspendThread(main);
            Die();
        })
        .join();
}

// The minutes that the handling may take are shorter here: it ends by its limit if it comes to what is held.
void WINAPI SleepBriefly(DWORD milliseconds)
{
    SleepEx(milliseconds / 1000, FALSE);
}

void ShortenSleep()
{
    static const TestSupport::ImportPatch sleep(nullptr, "Sleep", &SleepBriefly);
}

// Another thread takes something and never gives it back.
template <typename Take>
void DieWhileTaken(Take take)
{
    ShortenSleep();
    std::atomic<bool> isTaken{false};
    std::thread thread(
        [&]
        {
            take();
            isTaken = true;
            SleepEx(INFINITE, FALSE);
        });
    while (!isTaken)
    {
        SwitchToThread();
    }
    Die();
    thread.join();
}

void WhileLoaderIsHeld()
{
    using Lock = LONG(NTAPI*)(ULONG flags, ULONG * result, ULONG_PTR * cookie);
    const auto lock = reinterpret_cast<Lock>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "LdrLockLoaderLock")));
    DieWhileTaken(
        [lock]
        {
            ULONG_PTR cookie = 0;
            lock(0, nullptr, &cookie);
        });
}

void WhileHeapIsHeld()
{
    DieWhileTaken([] { HeapLock(GetProcessHeap()); });
}

BOOL WINAPI StopInDumpWriter(HANDLE /*process*/, DWORD /*id*/, HANDLE /*file*/, MINIDUMP_TYPE /*type*/,
                             MINIDUMP_EXCEPTION_INFORMATION* /*exception*/,
                             MINIDUMP_USER_STREAM_INFORMATION* /*streams*/,
                             MINIDUMP_CALLBACK_INFORMATION* /*callback*/)
{
    SuspendThread(GetCurrentThread());
    return FALSE;
}

// As another program may do to the thread that handles the crash.
void WithSuspendedOwner()
{
    ShortenSleep();
    ReplaceDumpWriter(&StopInDumpWriter);
    Die();
}
} // namespace

const std::map<std::wstring, Place>& RarePlaces()
{
    static const std::map<std::wstring, Place> places{
        {L"tiny-thread", &InTinyThread},
        {L"procedure-call", &InProcedureCall},
        {L"timer-queue", &InTimerQueue},
        {L"pool-timer", &InPoolTimer},
        {L"pool-work", &InPoolWork},
        {L"pool-wait", &InPoolWait},
        {L"enumeration", &InEnumeration},
        {L"dialog", &InDialog},
        {L"fiber", &InFiber},
        {L"vectored-handler", &InVectoredHandler},
        {L"com-thread", &InComThread},
        {L"com-window", &InComWindow},
        {L"catch", &InCatch},
        {L"at-exit", &AtExit},
        {L"thread-end", &AtEndOfThread},
        {L"suspended-main", &WhileMainIsSuspended},
        {L"held-loader", &WhileLoaderIsHeld},
        {L"held-heap", &WhileHeapIsHeld},
        {L"suspended-owner", &WithSuspendedOwner},
    };
    return places;
}
