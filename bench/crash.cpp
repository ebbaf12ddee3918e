// From a fault in the running agent to the end of its process, with a full dump: idle, and with 200 MB more
// in use. The peer is the same agent in the same state, whose filter is replaced by one that calls
// MiniDumpWriteDump with the same flags and ends the process (BareDump.cpp). Memory, peer and fault come from
// outside: the fault is a new thread that begins where no code is. The four take turns; the median counts.
#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "DumpFolder.h"
#include "RunningAgent.h"
#include "Stopwatch.h"
#include "VzComn_Handle.h"

namespace
{
namespace fs = std::filesystem;

constexpr int rounds = 3;
constexpr DWORD limit = 300000; // milliseconds
constexpr DWORD settle = 1000;  // milliseconds, for what the start of the agent leaves behind
constexpr SIZE_T inUse = 200U << 20U;
constexpr wchar_t bareLibrary[] = L"bare_dump.dll";

struct Kind
{
    const char* name;
    SIZE_T more; // bytes in use
    bool isBare;
    std::vector<double> times;
};

VzCommon::KernelHandle OpenAgent(HWND frame)
{
    DWORD processId = 0;
    GetWindowThreadProcessId(frame, &processId);
    return VzCommon::KernelHandle(OpenProcess(PROCESS_ALL_ACCESS, FALSE, processId));
}

// Null if it fails.
void* Store(HANDLE process, const void* bytes, SIZE_T size)
{
    void* const place = VirtualAllocEx(process, nullptr, size, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    return place != nullptr && WriteProcessMemory(process, place, bytes, size, nullptr) ? place : nullptr;
}

VzCommon::KernelHandle StartThread(HANDLE process, void* begin, void* argument)
{
    return VzCommon::KernelHandle(CreateRemoteThread(
        process, nullptr, 0, reinterpret_cast<LPTHREAD_START_ROUTINE>(begin), argument, 0, nullptr));
}

bool Use(HANDLE process, SIZE_T size)
{
    const std::vector<char> bytes(size, 'x');
    return size == 0 || Store(process, bytes.data(), size) != nullptr;
}

// System libraries lie at the same place in all processes.
bool Load(HANDLE process, const std::wstring& library)
{
    void* const path = Store(process, library.c_str(), (library.size() + 1) * sizeof(wchar_t));
    const FARPROC load = GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "LoadLibraryW");
    const VzCommon::KernelHandle thread = StartThread(process, reinterpret_cast<void*>(load), path);
    DWORD result = 0;
    return WaitForSingleObject(thread.Get(), limit) == WAIT_OBJECT_0 &&
           GetExitCodeThread(thread.Get(), &result) && result != 0;
}

// Milliseconds; negative if the process goes on.
double Fault(HANDLE process)
{
    const LARGE_INTEGER begin = Now();
    const VzCommon::KernelHandle thread = StartThread(process, reinterpret_cast<void*>(16), nullptr);
    const bool isOver = thread && WaitForSingleObject(process, limit) == WAIT_OBJECT_0;
    return isOver ? Milliseconds(begin, Now()) : -1;
}

// The only one, whole and by the one that was to write it.
bool IsDumpThere(const fs::path& folder, const Kind& kind)
{
    int good = 0;
    for (const auto& entry : fs::directory_iterator(folder))
    {
        const bool isBare = entry.path().filename().wstring().starts_with(bareLibrary);
        good += entry.path().extension() == L".dmp" && isBare == kind.isBare &&
                        entry.file_size() > kind.more + (10U << 20U)
                    ? 1
                    : 0;
    }
    return good == 1;
}

bool Crash(Kind& kind, const fs::path& folder)
{
    Empty(folder);
    RunningAgent agent(QX_STAGE);
    const VzCommon::KernelHandle process = OpenAgent(agent.Frame());
    if (!agent.IsReady() || !process || !Use(process.Get(), kind.more))
    {
        std::printf("service and agent do not come up\n");
        return false;
    }
    if (kind.isBare)
    {
        fs::copy_file(OwnFolder() + bareLibrary, folder / bareLibrary);
        if (!Load(process.Get(), folder / bareLibrary))
        {
            std::printf("the agent does not load the peer\n");
            return false;
        }
    }
    Sleep(settle);
    kind.times.push_back(Fault(process.Get()));
    if (kind.times.back() < 0 || !IsDumpThere(folder, kind))
    {
        std::printf("no dump of the agent: %s\n", kind.name);
        return false;
    }
    return true;
}

void Print(const char* what, const Kind& agent, const Kind& bare)
{
    const double ours = Median(agent.times);
    const double peer = Median(bare.times);
    std::printf("%s: agent %.0f ms, bare dump %.0f ms, ratio %.2f\n", what, ours, peer, ours / peer);
}
} // namespace

int main()
{
    Kind kinds[] = {{"idle", 0, false, {}},
                    {"idle, bare", 0, true, {}},
                    {"200 MB", inUse, false, {}},
                    {"200 MB, bare", inUse, true, {}}};
    const fs::path folder = MakeDumpFolder();
    for (int round = 0; round < rounds; ++round)
    {
        for (std::size_t i = 0; i < std::size(kinds); ++i)
        {
            // Each of a pair is the first one in every other round.
            if (!Crash(kinds[round % 2 == 0 ? i : i ^ 1U], folder))
            {
                return 1;
            }
        }
    }
    Empty(folder);
    Print("full dump of the idle agent", kinds[0], kinds[1]);
    Print("full dump with 200 MB in use", kinds[2], kinds[3]);
    return 0;
}
