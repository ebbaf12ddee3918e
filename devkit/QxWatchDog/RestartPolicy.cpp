#include "RestartPolicy.h"

namespace WatchDog
{
namespace
{
constexpr std::chrono::minutes window{1};
constexpr std::chrono::milliseconds firstDelay{1000};
} // namespace

std::optional<std::chrono::milliseconds> RestartPolicy::OnCrash(Clock::time_point now)
{
    while (!m_crashes.empty() && now - m_crashes.front() > window)
    {
        m_crashes.pop_front();
    }
    m_crashes.push_back(now);
    if (m_crashes.size() >= crashLimit)
    {
        return std::nullopt;
    }
    return firstDelay * (1U << (m_crashes.size() - 1));
}

} // namespace WatchDog
