#include "ProcessCounts.h"

#include <vector>

#include <winternl.h>

#include <tlhelp32.h>

namespace
{
// By trying the numbers one by one. The system's list of all handles makes Wine's server fail when a process
// is just starting or ending.
std::size_t CountHandles(HANDLE process)
{
    constexpr unsigned widestGap = 1024; // a number that was freed is the first to be given out again
    std::size_t count = 0;
    unsigned gap = 0;
    for (ULONG_PTR handle = 4; gap < widestGap; handle += 4)
    {
        HANDLE copy = nullptr;
        const bool isOpen = DuplicateHandle(process, reinterpret_cast<HANDLE>(handle), GetCurrentProcess(),
                                            &copy, 0, FALSE, DUPLICATE_SAME_ACCESS) != FALSE;
        count += isOpen ? 1U : 0U;
        gap = isOpen ? 0 : gap + 1;
        if (copy != nullptr)
        {
            CloseHandle(copy);
        }
    }
    return count;
}

// One entry of the table of GDI objects that every process has mapped.
struct GdiTableEntry
{
    ULONG64 object;
    ULONG owner;
    USHORT unique;
    UCHAR type; // 0 marks a free entry
    UCHAR flags;
    ULONG64 userPointer;
};

std::size_t CountGdi(HANDLE process)
{
    constexpr std::size_t tableOffset = 0xF8; // of the process environment block
    constexpr std::size_t tableLength = 0x4000;
    PROCESS_BASIC_INFORMATION basic = {};
    NtQueryInformationProcess(process, ProcessBasicInformation, &basic, sizeof(basic), nullptr);
    const auto* block = reinterpret_cast<const char*>(basic.PebBaseAddress);
    const void* table = nullptr;
    std::vector<GdiTableEntry> entries(tableLength);
    if (!ReadProcessMemory(process, block + tableOffset, &table, sizeof(table), nullptr) ||
        table == nullptr ||
        !ReadProcessMemory(process, table, entries.data(), entries.size() * sizeof(entries[0]), nullptr))
    {
        return 0;
    }
    std::size_t count = 0;
    for (const GdiTableEntry& entry : entries)
    {
        count += entry.type != 0 ? 1U : 0U;
    }
    return count;
}

std::size_t CountMemory(HANDLE process)
{
    std::size_t bytes = 0;
    MEMORY_BASIC_INFORMATION region = {};
    for (const char* address = nullptr; VirtualQueryEx(process, address, &region, sizeof(region)) != 0;
         address = static_cast<const char*>(region.BaseAddress) + region.RegionSize)
    {
        bytes += region.State == MEM_COMMIT && region.Type == MEM_PRIVATE ? region.RegionSize : 0U;
    }
    return bytes;
}

struct WindowCounter
{
    DWORD process;
    std::size_t count;
};

BOOL CALLBACK CountWindow(HWND window, LPARAM argument)
{
    auto* counter = reinterpret_cast<WindowCounter*>(argument);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    counter->count += process == counter->process ? 1U : 0U;
    EnumChildWindows(
        window,
        [](HWND child, LPARAM inner)
        {
            auto* children = reinterpret_cast<WindowCounter*>(inner);
            DWORD owner = 0;
            GetWindowThreadProcessId(child, &owner);
            children->count += owner == children->process ? 1U : 0U;
            return TRUE;
        },
        argument);
    return TRUE;
}

std::size_t CountWindows(DWORD process)
{
    WindowCounter counter = {process, 0};
    EnumWindows(CountWindow, reinterpret_cast<LPARAM>(&counter));
    for (HWND window = nullptr; (window = FindWindowExW(HWND_MESSAGE, window, nullptr, nullptr)) != nullptr;)
    {
        CountWindow(window, reinterpret_cast<LPARAM>(&counter));
    }
    return counter.count;
}

std::size_t CountThreads(DWORD process)
{
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    std::size_t count = 0;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
    {
        count += entry.th32OwnerProcessID == process ? 1U : 0U;
    }
    CloseHandle(snapshot);
    return count;
}
} // namespace

ProcessCounts CountObjectsOf(DWORD process)
{
    ProcessCounts counts;
    counts.windows = CountWindows(process);
    counts.threads = CountThreads(process);
    HANDLE opened =
        OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ | PROCESS_DUP_HANDLE, FALSE, process);
    if (opened != nullptr)
    {
        counts.handles = CountHandles(opened);
        counts.gdi = CountGdi(opened);
        counts.memory = CountMemory(opened);
        CloseHandle(opened);
    }
    return counts;
}
