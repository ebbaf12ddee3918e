#include "RestartPolicy.h"

#include <algorithm>

namespace WatchDog
{
namespace
{
constexpr std::chrono::minutes window{1};
constexpr std::chrono::milliseconds firstDelay{1000};
constexpr std::size_t mostDoublings = 3;
} // namespace

std::optional<std::chrono::milliseconds> RestartPolicy::OnCrash(Clock::time_point now)
{
    while (!m_crashes.empty() && now - m_crashes.front() > window)
    {
        m_crashes.pop_front();
    }
    m_crashes.push_back(now);
    if (m_limit != 0 && m_crashes.size() >= m_limit)
    {
        return std::nullopt;
    }
    return firstDelay * (1U << std::min(m_crashes.size() - 1, mostDoublings));
}

} // namespace WatchDog
