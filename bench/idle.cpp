// What the agent costs while nothing happens, beside a program that has nothing but a tray icon: processor
// time and wake-ups in a minute that begins after the agent has trimmed its working set, and private memory.
// The wake-ups and the memory are the kernel's own figures, which the system below the desktop keeps.
#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <iterator>
#include <string>

#include "HostService.h"
#include "KernelFigures.h"
#include "Stopwatch.h"

namespace
{

constexpr DWORD settle = 35000; // milliseconds; the agent trims itself 30 seconds after its start
constexpr DWORD measured = 60000;

namespace fs = std::filesystem;

long long SumOf(const std::string& text, const std::string& name)
{
    long long sum = 0;
    for (std::size_t at = text.find("\n" + name); at != std::string::npos;
         at = text.find("\n" + name, at + 1))
    {
        sum += std::stoll(text.substr(at + 1 + name.size()));
    }
    return sum;
}

struct Cost
{
    long long wakeUps = 0;    // times that a thread waited and went on
    double processor = 0;     // milliseconds
    long long privateKib = 0; // memory that has no file behind it
};

Cost CostOf(HANDLE process, const fs::path& kernelFolder)
{
    Cost cost;
    for (const fs::directory_entry& thread : fs::directory_iterator(kernelFolder / L"task"))
    {
        cost.wakeUps += SumOf(ReadWhole(thread.path() / L"status"), "voluntary_ctxt_switches:");
    }
    FILETIME times[4]{};
    GetProcessTimes(process, &times[0], &times[1], &times[2], &times[3]);
    for (const FILETIME& time : {times[2], times[3]})
    {
        cost.processor +=
            static_cast<double>(ULARGE_INTEGER{{time.dwLowDateTime, time.dwHighDateTime}}.QuadPart) / 1e4;
    }
    const std::string memory = ReadWhole(kernelFolder / L"smaps_rollup");
    cost.privateKib = SumOf(memory, "Anonymous:");
    return cost;
}

} // namespace

int main()
{
    const HostService service(QX_STAGE);
    if (!service.IsReady())
    {
        std::printf("the host service does not come up\n");
        return 1;
    }
    const fs::path root = fs::temp_directory_path() / L"bench_idle"; // a path that no other program has
    fs::remove_all(root);
    fs::copy(QX_STAGE, root, fs::copy_options::recursive);
    fs::copy(OwnFolder() + L"minimal_tray.exe", root);

    const wchar_t* const names[] = {L"minimal_tray.exe", L"QxSessionAgent_M.exe"};
    VzCommon::KernelHandle processes[2];
    for (std::size_t which = 0; which < std::size(names); ++which)
    {
        processes[which] = StartProgram(root / names[which], L"5");
    }
    Sleep(settle);
    fs::path folders[2];
    Cost before[2];
    for (std::size_t which = 0; which < std::size(names); ++which)
    {
        folders[which] = KernelFolder("bench_idle\\" + fs::path(names[which]).string());
        if (folders[which].empty())
        {
            std::printf("%ls does not run\n", names[which]);
            return 1;
        }
        before[which] = CostOf(processes[which].Get(), folders[which]);
    }
    Sleep(measured);
    Cost after[2];
    for (std::size_t which = 0; which < std::size(names); ++which)
    {
        after[which] = CostOf(processes[which].Get(), folders[which]);
        std::printf("%-22ls wake-ups %4lld, processor %6.1f ms, private memory %7lld KiB\n", names[which],
                    after[which].wakeUps - before[which].wakeUps,
                    after[which].processor - before[which].processor, after[which].privateKib);
        TerminateProcess(processes[which].Get(), 0);
        WaitForSingleObject(processes[which].Get(), INFINITE);
    }
    std::printf("private memory, ratio  %5.2f\n",
                static_cast<double>(after[1].privateKib) / static_cast<double>(after[0].privateKib));
    fs::remove_all(root);
    return 0;
}
