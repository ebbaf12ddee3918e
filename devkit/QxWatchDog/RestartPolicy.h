#pragma once

#include <chrono>
#include <deque>
#include <optional>

namespace WatchDog
{

using Clock = std::chrono::steady_clock;

// How long a crashed program is left alone before it is started again: one second after the first crash of a
// minute, twice as long after each further one, and not at all after the fifth. Knows only what it is told.
//
//     const auto delay = policy.OnCrash(Clock::now());
class RestartPolicy
{
public:
    static constexpr std::size_t crashLimit = 5;

    // Takes a crash down. The time until the next start; nothing once the program is given up. A crash that
    // comes when the others are more than a minute old begins anew.
    [[nodiscard]] std::optional<std::chrono::milliseconds> OnCrash(Clock::time_point now);

private:
    std::deque<Clock::time_point> m_crashes; // of the last minute, oldest first
};

} // namespace WatchDog
