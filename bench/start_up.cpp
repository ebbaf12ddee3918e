// From the start of the process to its running message loop: the agent beside a program that only makes a
// hidden window. The agent finds its host service running and registers with it. Starts are interleaved, so
// that both meet the same machine; the median counts.
#include <windows.h>

#include <cstdio>
#include <iterator>
#include <string>
#include <vector>

#include "HostService.h"
#include "Stopwatch.h"

namespace
{
constexpr int rounds = 40;
constexpr DWORD limit = 30000; // milliseconds

// Milliseconds until the program waits for messages; negative when it does not come up.
double StartOnce(const std::wstring& program)
{
    std::wstring commandLine = L"\"" + program + L"\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    const LARGE_INTEGER begin = Now();
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &process))
    {
        return -1;
    }
    const bool idle = WaitForInputIdle(process.hProcess, limit) == 0;
    const double elapsed = Milliseconds(begin, Now());
    TerminateProcess(process.hProcess, 0);
    WaitForSingleObject(process.hProcess, limit);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return idle ? elapsed : -1;
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
    const std::wstring programs[] = {OwnFolder() + L"minimal_window.exe", OwnFolder() + L"system_window.exe",
                                     QX_STAGE L"/QxSessionAgent_M.exe"};
    constexpr int count = std::size(programs);
    std::vector<double> times[count];
    for (int round = 0; round < rounds; ++round)
    {
        for (int which = 0; which < count; ++which)
        {
            const double elapsed = StartOnce(programs[which]);
            if (elapsed < 0)
            {
                std::printf("%ls does not come up\n", programs[which].c_str());
                return 1;
            }
            times[which].push_back(elapsed);
        }
    }
    const double minimal = Median(times[0]);
    const double system = Median(times[1]);
    const double agent = Median(times[2]);
    std::printf("minimal window                      %8.2f ms\n", minimal);
    std::printf("  system libraries, COM, session    %8.2f ms\n", system - minimal);
    std::printf("  log, configuration, frame, threads%8.2f ms\n", agent - system);
    std::printf("agent                               %8.2f ms\n", agent);
    std::printf("ratio                               %8.2f\n", agent / minimal);
    return 0;
}
