#include "ObjectCounts.h"

#include "WaitUntil.h"

#include <windows.h>
#include <winternl.h>

#include <tlhelp32.h>

namespace TestSupport
{

namespace
{

std::size_t CountHandlesOneByOne()
{
    constexpr unsigned widestGap = 1024; // a number that was freed is the first to be given out again
    std::size_t count = 0;
    unsigned gap = 0;
    for (ULONG_PTR handle = 4; gap < widestGap; handle += 4)
    {
        DWORD flags = 0;
        const bool isOpen = GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) != FALSE;
        count += isOpen ? 1U : 0U;
        gap = isOpen ? 0 : gap + 1;
    }
    return count;
}

// Some systems answer this count with 0; then the handles are tried one by one. Not by the system's list of
// all handles: it makes Wine's server fail when a process is just starting or ending.
std::size_t CountHandles()
{
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return count != 0 ? count : CountHandlesOneByOne();
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

std::size_t CountGdi()
{
    const DWORD count = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
    if (count != 0)
    {
        return count;
    }
    constexpr std::size_t tableOffset = 0xF8; // of the process environment block
    constexpr std::size_t tableLength = 0x4000;
    PROCESS_BASIC_INFORMATION process{};
    NtQueryInformationProcess(GetCurrentProcess(), ProcessBasicInformation, &process, sizeof(process),
                              nullptr);
    const auto* block = reinterpret_cast<const char*>(process.PebBaseAddress);
    const auto* table = *reinterpret_cast<const GdiTableEntry* const*>(block + tableOffset);
    std::size_t used = 0;
    for (std::size_t i = 0; table != nullptr && i < tableLength; ++i)
    {
        used += table[i].type != 0 ? 1U : 0U;
    }
    return used;
}

BOOL CALLBACK CountChild(HWND /*window*/, LPARAM counter)
{
    ++*reinterpret_cast<std::size_t*>(counter);
    return TRUE;
}

BOOL CALLBACK CountOwnTree(HWND window, LPARAM counter)
{
    DWORD processId = 0;
    if (GetWindowThreadProcessId(window, &processId) != 0 && processId == GetCurrentProcessId())
    {
        CountChild(window, counter);
        EnumChildWindows(window, &CountChild, counter);
    }
    return TRUE;
}

std::size_t CountWindows()
{
    std::size_t count = 0;
    EnumWindows(&CountOwnTree, reinterpret_cast<LPARAM>(&count));
    HWND window = nullptr;
    while ((window = FindWindowExW(HWND_MESSAGE, window, nullptr, nullptr)) != nullptr)
    {
        CountOwnTree(window, reinterpret_cast<LPARAM>(&count));
    }
    return count;
}

bool IsIcon(ULONG_PTR handle)
{
    ICONINFO info{};
    if (!GetIconInfo(reinterpret_cast<HICON>(handle), &info))
    {
        return false;
    }
    DeleteObject(info.hbmMask);
    DeleteObject(info.hbmColor);
    return true;
}

std::size_t CountUser()
{
    const DWORD count = GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS);
    if (count != 0)
    {
        return count;
    }
    std::size_t used = CountWindows();
    for (ULONG_PTR handle = 0x20; handle < 0xFFF0; handle += 2)
    {
        used += IsMenu(reinterpret_cast<HMENU>(handle)) || IsIcon(handle) ? 1U : 0U;
    }
    return used;
}

std::string Describe(const char* what, std::size_t before, std::size_t after)
{
    if (after <= before)
    {
        return {};
    }
    return std::string(what) + ": " + std::to_string(before) + " -> " + std::to_string(after) + "; ";
}

std::string GrowthOfSeries(const std::function<void()>& operation, int rounds,
                           std::chrono::milliseconds patience)
{
    const ObjectCounts before = CountObjects();
    for (int i = 0; i < rounds; ++i)
    {
        operation();
    }
    std::string growth;
    static_cast<void>(WaitUntil(
        [&]
        {
            growth = DescribeGrowth(before, CountObjects());
            return growth.empty();
        },
        patience));
    return growth;
}

} // namespace

std::size_t CountThreads()
{
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    std::size_t own = 0;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
    {
        own += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1U : 0U;
    }
    CloseHandle(snapshot);
    return own;
}

ObjectCounts CountObjects()
{
    ObjectCounts counts;
    counts.user = CountUser();
    counts.gdi = CountGdi();
    counts.handles = CountHandles();
    counts.threads = CountThreads();
    return counts;
}

std::string DescribeGrowth(const ObjectCounts& before, const ObjectCounts& after)
{
    return Describe("handles", before.handles, after.handles) + Describe("GDI", before.gdi, after.gdi) +
           Describe("USER", before.user, after.user) + Describe("threads", before.threads, after.threads);
}

std::string GrowthOf(const std::function<void()>& operation, int rounds, std::chrono::milliseconds patience)
{
    for (int i = 0; i < 3; ++i)
    {
        operation();
    }
    static_cast<void>(CountObjects()); // counting has its own first use
    std::string growth = GrowthOfSeries(operation, rounds, patience);
    for (int again = 0; again < 2 && !growth.empty(); ++again)
    {
        growth = GrowthOfSeries(operation, rounds, patience);
    }
    return growth;
}

} // namespace TestSupport
