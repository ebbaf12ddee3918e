#pragma once

#include <benchmark/benchmark.h>
#include <windows.h>

#include <cstdio>
#include <fstream>
#include <string>

// What the benchmarks that read a file have in common.

inline constexpr std::size_t oneMegabyte = 1024U * 1024U;

// A file in the folder for temporary files, gone at the end.
class TemporaryFile
{
public:
    TemporaryFile(const wchar_t* name, const std::string& bytes)
    {
        wchar_t folder[MAX_PATH + 1]{};
        GetTempPathW(MAX_PATH, folder);
        m_path = std::wstring(folder) + name + std::to_wstring(GetCurrentProcessId());
        std::ofstream(m_path.c_str(), std::ios::binary)
            .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

    ~TemporaryFile() { DeleteFileW(m_path.c_str()); }

    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    [[nodiscard]] const std::wstring& Path() const { return m_path; }

private:
    std::wstring m_path;
};

// The whole file in one read; empty if there is none.
inline std::string ReadBytes(const std::wstring& path)
{
    FILE* file = _wfopen(path.c_str(), L"rb");
    if (file == nullptr)
    {
        return {};
    }
    std::string bytes(4 * oneMegabyte, '\0');
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    std::fclose(file);
    return bytes;
}

// For a MedianReporter, in milliseconds.
template <typename Function>
void Register(const char* name, Function function)
{
    constexpr int repetitions = 15;
    benchmark::RegisterBenchmark(name, function)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Repetitions(repetitions)
        ->MinTime(0.2)
        ->ReportAggregatesOnly();
}
