// From the start of the process to its running message loop: the agent beside a program that only makes a
// hidden window. The agent finds its host service running and registers with it. Starts are interleaved, so
// that both meet the same machine; the median counts.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <vector>

#include "HostService.h"

namespace
{
constexpr int rounds = 40;
constexpr DWORD limit = 30000; // milliseconds

double MillisecondsSince(LARGE_INTEGER begin)
{
    LARGE_INTEGER now;
    LARGE_INTEGER frequency;
    QueryPerformanceCounter(&now);
    QueryPerformanceFrequency(&frequency);
    return 1000.0 * static_cast<double>(now.QuadPart - begin.QuadPart) /
           static_cast<double>(frequency.QuadPart);
}

// Milliseconds until the program waits for messages; negative when it does not come up.
double StartOnce(const std::wstring& program)
{
    std::wstring commandLine = L"\"" + program + L"\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    LARGE_INTEGER begin;
    QueryPerformanceCounter(&begin);
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &process))
    {
        return -1;
    }
    const bool idle = WaitForInputIdle(process.hProcess, limit) == 0;
    const double elapsed = MillisecondsSince(begin);
    TerminateProcess(process.hProcess, 0);
    WaitForSingleObject(process.hProcess, limit);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return idle ? elapsed : -1;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

std::wstring FolderOf(const wchar_t* program)
{
    const std::wstring path(program);
    return path.substr(0, path.find_last_of(L"\\/") + 1);
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
    wchar_t self[MAX_PATH];
    GetModuleFileNameW(nullptr, self, MAX_PATH);
    const std::wstring programs[] = {FolderOf(self) + L"minimal_window.exe",
                                     FolderOf(self) + L"system_window.exe",
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
