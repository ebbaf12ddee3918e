#include "StackReserve.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>

namespace
{
constexpr ULONG handlingTakes = 128 * 1024;

// A system that commits stacks as a whole, as Wine does, has its guard page at the very end, behind the
// reserve. There the first page of the reserve gets a guard of its own: below what Wine clears of a stack
// when this callback has returned, so that threads with little stack keep less.
void GuardReserve()
{
    constexpr std::size_t pageSize = 4096;
    constexpr std::size_t cleared = 0xF2000;
    MEMORY_BASIC_INFORMATION here{};
    if (VirtualQuery(&here, &here, sizeof(here)) == 0)
    {
        return;
    }
    auto* const end = static_cast<char*>(here.AllocationBase);
    const auto size = static_cast<std::size_t>(static_cast<char*>(here.BaseAddress) + here.RegionSize - end);
    if (size < cleared + 2 * pageSize)
    {
        return;
    }
    char* const first = end + std::min<std::size_t>(handlingTakes, size - cleared);
    MEMORY_BASIC_INFORMATION page{};
    if (VirtualQuery(first, &page, sizeof(page)) != 0 && page.State == MEM_COMMIT &&
        page.Protect == PAGE_READWRITE)
    {
        DWORD before = 0;
        VirtualProtect(first, pageSize, PAGE_READWRITE | PAGE_GUARD, &before);
    }
}

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
    ULONG size = handlingTakes;
    if (SetThreadStackGuarantee(&size))
    {
        GuardReserve();
    }
}
