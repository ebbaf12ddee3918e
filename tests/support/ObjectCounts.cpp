#include "ObjectCounts.h"

#include "WaitUntil.h"

#include <windows.h>
#include <winternl.h>

#include <tlhelp32.h>

#include <vector>

namespace TestSupport
{

namespace
{

// The system's list of all handles, in its 64-bit form.
struct SystemHandle
{
    void* object;
    ULONG_PTR processId;
    ULONG_PTR handle;
    ULONG access;
    USHORT creator;
    USHORT type;
    ULONG attributes;
    ULONG reserved;
};

struct SystemHandleList
{
    ULONG_PTR count;
    ULONG_PTR reserved;
    SystemHandle handles[1];
};

constexpr ULONG systemExtendedHandleInformation = 64; // beyond what the header's own type can hold
constexpr NTSTATUS lengthMismatch = static_cast<NTSTATUS>(0xC0000004);

std::size_t CountListedHandles()
{
    using Query = NTSTATUS(WINAPI*)(ULONG, void*, ULONG, ULONG*);
    static const auto query = reinterpret_cast<Query>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));

    std::vector<ULONG_PTR> buffer(1 << 14);
    NTSTATUS status = lengthMismatch;
    while (status == lengthMismatch)
    {
        buffer.resize(buffer.size() * 2);
        status = query(systemExtendedHandleInformation, buffer.data(),
                       static_cast<ULONG>(buffer.size() * sizeof(ULONG_PTR)), nullptr);
    }
    const auto* list = reinterpret_cast<const SystemHandleList*>(buffer.data());
    std::size_t own = 0;
    for (ULONG_PTR i = 0; status == 0 && i < list->count; ++i)
    {
        own += list->handles[i].processId == GetCurrentProcessId() ? 1U : 0U;
    }
    return own;
}

// Some systems answer these two counts with 0; then the objects are looked for one by one.
std::size_t CountHandles()
{
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return count != 0 ? count : CountListedHandles();
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

std::string Describe(const char* what, std::size_t before, std::size_t after)
{
    if (after <= before)
    {
        return {};
    }
    return std::string(what) + ": " + std::to_string(before) + " -> " + std::to_string(after) + "; ";
}

} // namespace

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

} // namespace TestSupport
