#include "CrashLimit.h"

#include <windows.h>

#include <atomic>

#include "CrashState.h"
#include "VzComn_Handle.h"

namespace
{
VzCommon::KernelHandle& s_hBegun = *new VzCommon::KernelHandle;
VzCommon::KernelHandle& s_hLimitThread = *new VzCommon::KernelHandle;
constexpr int secondsForHandling = crashTimeLimit / 1000;
constexpr int secondsForDump = 10 * secondsForHandling;

constinit std::atomic<HANDLE> s_dumpFile{nullptr};  // while it is written
constinit std::atomic<LONGLONG> s_dumpSize{0};      // bytes
constinit std::atomic<ULONGLONG> s_dumpProgress{0}; // tick of its last; 0 before the dump
constinit std::atomic<int> s_secondsLeft{secondsForHandling};

// Takes nothing from the heap.
void EndProcess()
{
    SetEvent(s_hCrashDoneEvent.Get());
    const VzCommon::KernelHandle event = OpenCrashEvent();
    if (event)
    {
        SetEvent(event.Get());
    }
    constexpr UINT exitCode = 1;
    TerminateProcess(GetCurrentProcess(), exitCode);
}

// Second by second, so that the time in which a dump writer suspends this thread does not count.
DWORD WINAPI LimitThread(void* /*argument*/)
{
    constexpr DWORD second = 1000;
    WaitForSingleObject(s_hBegun.Get(), INFINITE);
    while (s_secondsLeft-- > 0)
    {
        Sleep(second);
    }
    EndProcess();
    return 0;
}
} // namespace

void StartCrashLimit()
{
    if (s_hLimitThread)
    {
        return;
    }
    constexpr SIZE_T stack = SIZE_T{256} * 1024;
    s_hBegun.Reset(CreateSemaphoreW(nullptr, 0, MAXLONG, nullptr));
    if (s_hBegun)
    {
        s_hLimitThread.Reset(
            CreateThread(nullptr, stack, &LimitThread, nullptr, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr));
    }
}

void BeginCrashLimit()
{
    ReleaseSemaphore(s_hBegun.Get(), 1, nullptr);
}

void AllowTimeForDump(HANDLE file)
{
    if (s_dumpFile != file)
    {
        s_secondsLeft = file != nullptr ? secondsForDump : secondsForHandling;
        s_dumpProgress = GetTickCount64();
        s_dumpFile = file;
    }
}

bool IsDumpUnderWay()
{
    LARGE_INTEGER size{};
    if (s_dumpFile != nullptr && GetFileSizeEx(s_dumpFile, &size) &&
        s_dumpSize.exchange(size.QuadPart) != size.QuadPart)
    {
        s_dumpProgress = GetTickCount64();
    }
    return s_dumpProgress != 0 && GetTickCount64() - s_dumpProgress < crashTimeLimit;
}
