// What the crash handler adds to the start of the agent, with 60 dumps in the folder: InitCrashHandler
// with the log on, once set to keep all and once to keep three, beside an empty function, and beside the bare
// listing of that folder and the deletion of as many files. Each is measured in a process of its own, for a
// handler is installed once; they take turns, and the median counts.
//
//     bench_crash_handler_M.exe           all of it
//     bench_crash_handler_M.exe <task>    one of the processes, which ends with the microseconds
#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "DumpFolder.h"
#include "HostService.h"
#include "LogLine.h"
#include "Stopwatch.h"
#include "VzComn_Handle.h"
#include "VzComn_LogFront.h"
#include "util_CrashHandler.h"

namespace
{
namespace fs = std::filesystem;

constexpr int rounds = 20;
constexpr int dumps = 60;
constexpr std::size_t listed = 50; // by one sweep
constexpr DWORD kept = 3;
constexpr DWORD limit = 30000; // milliseconds
constexpr DWORD failure = 0xFFFFFFFF;

void Install()
{
    InitCrashHandler(0, L"Global\\bench_crash_handler", L"");
}

std::vector<std::wstring> ListNames(const fs::path& folder)
{
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW found{};
    const VzCommon::FindHandle search(FindFirstFileW((folder.wstring() + L"\\*.*").c_str(), &found));
    do
    {
        names.emplace_back(found.cFileName);
    } while (names.size() < listed + 2 && FindNextFileW(search.Get(), &found)); // and the two dots
    return names;
}

void List(const fs::path& folder)
{
    static_cast<void>(ListNames(folder));
}

void Sweep(const fs::path& folder)
{
    const std::vector<std::wstring> names = ListNames(folder);
    for (std::size_t i = kept + 2; i < names.size(); ++i)
    {
        DeleteFileW((folder / names[i]).c_str());
    }
}

// The two that the handler loads.
void LoadLibraries(const fs::path& /*folder*/)
{
    LoadLibraryW(L"Dbghelp.dll");
    LoadLibraryW(L"PSAPI.DLL");
}

struct Task
{
    const wchar_t* name;
    void (*run)(const fs::path& folder);
    DWORD keeps; // dumps, by the product's setting
    std::vector<double> times;
};

Task g_tasks[] = {
    {L"install", [](const fs::path& /*folder*/) { Install(); }, kept, {}},
    {L"install-and-keep", [](const fs::path& /*folder*/) { Install(); }, dumps, {}},
    {L"nothing", [](const fs::path& /*folder*/) { DoNothing(); }, dumps, {}},
    {L"list", &List, dumps, {}},
    {L"sweep", &Sweep, kept, {}},
    {L"load", &LoadLibraries, dumps, {}},
};

DWORD RunTask(const std::wstring& name)
{
    const fs::path folder = MakeDumpFolder();
    const TemporaryFolder logFolder;
    const ProductLog log(logFolder.Path(), true);
    VzCommon::s_pDebugLog = &log.Get();
    for (const Task& task : g_tasks)
    {
        if (task.name == name)
        {
            const LARGE_INTEGER begin = Now();
            task.run(folder);
            return static_cast<DWORD>(Milliseconds(begin, Now()) * 1000);
        }
    }
    return failure;
}

void WriteDumps(const fs::path& folder)
{
    Empty(folder);
    for (int i = 0; i < dumps; ++i)
    {
        std::ofstream(folder / (L"Melvio20260101_0000" + std::to_wstring(10 + i) + L"Full.dmp")) << "MDMP";
    }
}

std::size_t Count(const fs::path& folder)
{
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator{}));
}

bool SetLimit(DWORD limitOfDumps)
{
    return RegSetKeyValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\NorvaneSoft\\Melvio", L"DumpNumberLimit",
                           REG_DWORD, &limitOfDumps, sizeof(limitOfDumps)) == ERROR_SUCCESS;
}

bool Measure(Task& task, const fs::path& folder)
{
    WriteDumps(folder);
    SetLimit(task.keeps);
    const VzCommon::KernelHandle process =
        StartProgram(OwnFolder() + L"bench_crash_handler_M.exe", task.name);
    DWORD microseconds = failure;
    WaitForSingleObject(process.Get(), limit);
    GetExitCodeProcess(process.Get(), &microseconds);
    task.times.push_back(static_cast<double>(microseconds) / 1000);
    return microseconds < limit * 1000 &&
           Count(folder) == (task.keeps == kept ? dumps - (listed - kept) : dumps);
}

bool MeasureAll()
{
    const fs::path folder = MakeDumpFolder();
    for (int round = 0; round < rounds; ++round)
    {
        for (Task& task : g_tasks)
        {
            if (!Measure(task, folder))
            {
                std::printf("%ls does not do its work\n", task.name);
                return false;
            }
        }
    }
    Empty(folder);
    SetLimit(kept);
    const double install = Median(g_tasks[0].times);
    const double keeping = Median(g_tasks[1].times);
    const double nothing = Median(g_tasks[2].times);
    const double list = Median(g_tasks[3].times);
    const double sweep = Median(g_tasks[4].times);
    std::printf(
        "empty function %.2f ms, listing the folder %.2f ms, with the deletions %.2f ms, loading the two "
        "libraries %.2f ms\n",
        nothing, list, sweep, Median(g_tasks[5].times));
    std::printf("crash handler that deletes none: %.2f ms, %.2f ms without the listing\n", keeping,
                keeping - nothing - list);
    std::printf("crash handler that deletes 47: %.2f ms, %.2f ms without listing and deletions\n", install,
                install - nothing - sweep);
    return true;
}
} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count > 1)
    {
        return static_cast<int>(RunTask(arguments[1]));
    }
    return MeasureAll() ? 0 : 1;
}
