#include "CrashLimit.h"

#include <windows.h>

#include <atomic>

#include "CrashState.h"
#include "VzComn_Handle.h"

namespace
{
VzCommon::KernelHandle& s_hBegun = *new VzCommon::KernelHandle;
VzCommon::KernelHandle& s_hLimitThread = *new VzCommon::KernelHandle;
constinit std::atomic<bool> s_isDumpWritten{false}; // at this moment

// Takes nothing from the heap.
void EndProcess()
{
    SetEvent(s_hCrashDoneEvent.Get());
    const VzCommon::KernelHandle event(OpenEventW(EVENT_MODIFY_STATE, FALSE, s_crashEventName.c_str()));
    if (event)
    {
        SetEvent(event.Get());
    }
    constexpr UINT exitCode = 1;
    TerminateProcess(GetCurrentProcess(), exitCode);
}

DWORD WINAPI LimitThread(void* /*argument*/)
{
    constexpr int roundsForDump = 10;
    WaitForSingleObject(s_hBegun.Get(), INFINITE);
    int rounds = 0;
    do
    {
        Sleep(crashTimeLimit);
        ++rounds;
    } while (s_isDumpWritten && rounds < roundsForDump);
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

void AllowTimeForDump(bool isWriting)
{
    s_isDumpWritten = isWriting;
}
