#pragma once

#include <cstddef>

#include <windows.h>

// What another process holds of the system at one moment. The system's own counters answer 0 where the tests
// run, so the objects are looked for one by one.
struct ProcessCounts
{
    std::size_t handles = 0;
    std::size_t gdi = 0;
    std::size_t windows = 0;
    std::size_t threads = 0;
    std::size_t memory = 0; // in bytes, what the process alone has allocated
};

[[nodiscard]] ProcessCounts CountObjectsOf(DWORD process);
