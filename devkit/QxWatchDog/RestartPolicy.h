#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

namespace WatchDog
{

using Clock = std::chrono::steady_clock;

// How long a crashed program is left alone before it is started again: one second after the first crash of a
// minute, twice as long after each further one up to eight seconds, and not at all after the one that reaches
// the limit. Knows only what it is told.
//
//     const auto delay = policy.OnCrash(Clock::now());
class RestartPolicy
{
public:
    static constexpr std::uint32_t defaultLimit = 5;

    // A limit of 0 never gives the program up.
    explicit RestartPolicy(std::uint32_t limit = defaultLimit) : m_limit(limit) {}

    [[nodiscard]] std::uint32_t Limit() const { return m_limit; }

    // Takes a crash down. The time until the next start; nothing once the program is given up. A crash that
    // comes when the others are more than a minute old begins anew.
    [[nodiscard]] std::optional<std::chrono::milliseconds> OnCrash(Clock::time_point now);

private:
    std::uint32_t m_limit;
    std::deque<Clock::time_point> m_crashes; // of the last minute, oldest first
};

} // namespace WatchDog
