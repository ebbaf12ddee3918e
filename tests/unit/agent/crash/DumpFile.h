#pragma once

#include <cstdint>
#include <string>
#include <vector>

// What a dump tells of its crash, read by its published format.
struct DumpFile
{
    explicit DumpFile(const std::wstring& path);

    bool isWhole = false; // has the exception, the thread list with that thread, and the module list
    std::uint32_t threadId = 0;
    std::uint32_t exceptionCode = 0;
    std::uint64_t exceptionAddress = 0;
    bool hasFullMemory = false;
    std::vector<std::uint32_t> threadIds;
};
