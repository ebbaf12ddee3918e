#pragma once

#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

// What the benchmarks that watch whole programs have in common.

[[nodiscard]] inline LARGE_INTEGER Now()
{
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    return now;
}

[[nodiscard]] inline double Milliseconds(LARGE_INTEGER begin, LARGE_INTEGER end)
{
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return 1000.0 * static_cast<double>(end.QuadPart - begin.QuadPart) /
           static_cast<double>(frequency.QuadPart);
}

[[nodiscard]] inline double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Where the benchmark lies, and its peers beside it. Ends in a backslash.
[[nodiscard]] inline std::wstring OwnFolder()
{
    wchar_t self[MAX_PATH];
    GetModuleFileNameW(nullptr, self, MAX_PATH);
    const std::wstring path(self);
    return path.substr(0, path.find_last_of(L"\\/") + 1);
}
