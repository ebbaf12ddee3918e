#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

namespace TestSupport
{

// What this process holds of the system at one moment.
struct ObjectCounts
{
    std::size_t handles = 0;
    std::size_t gdi = 0;
    std::size_t user = 0; // windows, menus and icons where the system does not count
    std::size_t threads = 0;

    bool operator==(const ObjectCounts&) const = default;
};

[[nodiscard]] ObjectCounts CountObjects();

// The threads of this process alone, which are counted far faster.
[[nodiscard]] std::size_t CountThreads();

// What there is more of, in words; empty if nothing.
[[nodiscard]] std::string DescribeGrowth(const ObjectCounts& before, const ObjectCounts& after);

// Repeats an operation and tells what stayed behind, in words; empty if nothing did. Used as
//
//     EXPECT_EQ(GrowthOf([] { ... }), "");
//
// The first rounds are not counted: the system keeps what it made on first use. What it makes later, a lock's
// event at its first contention say, is no growth either: a leak grows in every series of rounds, so up to
// two more are tried. What is just ending is given time.
[[nodiscard]] std::string GrowthOf(const std::function<void()>& operation, int rounds = 20,
                                   std::chrono::milliseconds patience = std::chrono::seconds(5));

} // namespace TestSupport
