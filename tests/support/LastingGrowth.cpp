#include "LastingGrowth.h"

#include "IdlePools.h"
#include "ObjectCounts.h"
#include "WaitUntil.h"

#include <windows.h>

#include <psapi.h>

#include <chrono>

namespace TestSupport
{

namespace
{

constexpr int repetitions = 100;

// Threads of the link's pools go when they are told to, those that idled before at the end of their ten
// seconds.
constexpr std::chrono::seconds patience{20};

// What else is just ending, on a busy machine too.
constexpr std::chrono::seconds moment{5};

constexpr std::size_t unrest = std::size_t{64} << 10U;

std::string DescribeMemory(std::size_t before, std::size_t after)
{
    if (after <= before + unrest)
    {
        return {};
    }
    return "memory: " + std::to_string(before) + " -> " + std::to_string(after) + "; ";
}

// Waits until no more threads are there than before.
void WaitForThreads(IdlePools& pools, std::size_t before)
{
    pools.End(true);
    static_cast<void>(WaitUntil([before] { return CountThreads() <= before; }, patience));
    pools.End(false);
}

std::string GrowthOfHundred(IdlePools& pools, const std::function<void()>& operation)
{
    const ObjectCounts before = CountObjects();
    const std::size_t memory = PrivateBytes();
    for (int i = 0; i < repetitions; ++i)
    {
        operation();
    }
    WaitForThreads(pools, before.threads);
    std::string growth;
    static_cast<void>(WaitUntil(
        [&]
        {
            growth = DescribeGrowth(before, CountObjects()) + DescribeMemory(memory, PrivateBytes());
            return growth.empty();
        },
        moment));
    return growth;
}

} // namespace

std::size_t PrivateBytes()
{
    PROCESS_MEMORY_COUNTERS counters{};
    counters.cb = sizeof counters;
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return counters.PagefileUsage;
}

std::string LastingGrowthOf(const std::function<void()>& operation)
{
    IdlePools pools;
    const std::size_t quiet = CountObjects().threads;
    for (int i = 0; i < 3; ++i)
    {
        operation();
    }
    WaitForThreads(pools, quiet); // idle ones would hide as much growth as they hold themselves
    std::string growth = GrowthOfHundred(pools, operation);
    for (int again = 0; again < 2 && !growth.empty(); ++again)
    {
        growth = GrowthOfHundred(pools, operation);
    }
    return growth;
}

} // namespace TestSupport
