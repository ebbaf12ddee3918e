#include "KernelFigures.h"

#include <cwctype>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

std::string ReadWhole(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

fs::path KernelFolder(const std::string& program)
{
    for (const fs::directory_entry& entry : fs::directory_iterator(L"Z:/proc"))
    {
        if (std::iswdigit(entry.path().filename().native()[0]) &&
            ReadWhole(entry.path() / L"cmdline").find(program) != std::string::npos)
        {
            return entry.path();
        }
    }
    return {};
}

ThreadTimes TimesOf(const fs::path& kernelFolder)
{
    ThreadTimes times;
    for (const fs::directory_entry& thread : fs::directory_iterator(kernelFolder / L"task"))
    {
        const std::string figures = ReadWhole(thread.path() / L"schedstat"); // the first is the time
        if (!figures.empty())
        {
            times[thread.path().filename().native()] = std::stoll(figures);
        }
    }
    return times;
}

double ProcessorMilliseconds(const ThreadTimes& before, const ThreadTimes& after)
{
    long long nanoseconds = 0;
    for (const auto& [thread, time] : after)
    {
        const auto known = before.find(thread);
        nanoseconds += time - (known == before.end() ? 0 : known->second);
    }
    return static_cast<double>(nanoseconds) / 1e6;
}
