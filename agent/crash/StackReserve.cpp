#include "StackReserve.h"

#include <windows.h>

namespace
{
// The system calls this for each thread that begins, before the thread's own code.
void NTAPI OnThread(PVOID /*module*/, DWORD reason, PVOID /*reserved*/)
{
    if (reason == DLL_THREAD_ATTACH)
    {
        ReserveStack();
    }
}

// The linker gathers such callbacks by the name of their section.
[[gnu::section(".CRT$XLQ"), gnu::used]] const PIMAGE_TLS_CALLBACK s_onThread = &OnThread;
} // namespace

void ReserveStack()
{
    constexpr ULONG handlingTakes = 128 * 1024;
    ULONG size = handlingTakes;
    SetThreadStackGuarantee(&size);
}
