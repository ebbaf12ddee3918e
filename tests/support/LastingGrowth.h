#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace TestSupport
{

// Memory of this process alone.
[[nodiscard]] std::size_t PrivateBytes();

// What a hundred repetitions of an operation leave behind: handles, threads and windows, and memory of more
// than the system's own unrest. In words; empty if nothing did. What the system makes at a first need, a
// lock's event at its first contention say, may come late and is no growth: a leak grows in every hundred, so
// up to two more are tried. Used as
//
//     EXPECT_EQ(LastingGrowthOf([] { ... }), "");
[[nodiscard]] std::string LastingGrowthOf(const std::function<void()>& operation);

} // namespace TestSupport
