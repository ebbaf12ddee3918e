#include "PortTurns.h"

#include "ServerLimits.h"

#include <mutex>

namespace SvcLink
{

namespace
{

// How long the port may stay alone, and so how long other calls may have to wait for one that takes its time.
constexpr std::chrono::milliseconds moment{1};

// A spare watches on for this long after the last call, so that a row of calls wakes it once.
constexpr std::chrono::milliseconds linger{20};

} // namespace

bool PortTurns::Take()
{
    std::unique_lock hold(m_lock);
    if (m_isAttended && !m_quit)
    {
        ++m_spares;
        while (SleepUntilWanted(hold) && !Watch(hold))
        {
        }
        --m_spares;
    }
    if (m_quit || m_isAttended)
    {
        return false;
    }
    m_isAttended = true;
    return true;
}

// False if the thread has slept for long enough.
bool PortTurns::SleepUntilWanted(std::unique_lock<SlimLock>& hold)
{
    const Time end = Condition::Clock::now() + std::chrono::milliseconds(ThreadIdleMs);
    const bool isWanted = m_wake.WaitUntil(hold, end, [this] { return m_quit || m_isWanted; });
    m_isWanted = false;
    return isWanted;
}

// True if the port is the calling thread's, or there is none any more; false if it may sleep again.
bool PortTurns::Watch(std::unique_lock<SlimLock>& hold)
{
    m_isWatched = true;
    bool isOver = m_quit;
    while (!isOver)
    {
        const Time now = Condition::Clock::now();
        if ((!m_isAttended && now >= m_leftAt + moment) || (m_isAttended && now >= m_leftAt + linger))
        {
            break;
        }
        isOver = m_look.WaitUntil(hold, now + moment, [this] { return m_quit; });
    }
    m_isWatched = false;
    return isOver || !m_isAttended;
}

bool PortTurns::Leave()
{
    const std::lock_guard hold(m_lock);
    m_isAttended = false;
    m_leftAt = Condition::Clock::now();
    if (!m_isWatched && m_spares != 0)
    {
        m_isWanted = true;
        m_wake.WakeOne();
    }
    return m_spares != 0;
}

bool PortTurns::IsAttended()
{
    const std::lock_guard hold(m_lock);
    return m_isAttended;
}

void PortTurns::Quit()
{
    const std::lock_guard hold(m_lock);
    m_quit = true;
    m_wake.WakeAll();
    m_look.WakeAll();
}

} // namespace SvcLink
