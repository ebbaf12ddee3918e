#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace SvcHost
{

// Ends every wait of the service at once when it stops. Any thread.
class StopSignal
{
public:
    void Set()
    {
        {
            const std::lock_guard lock(m_lock);
            m_set = true;
        }
        m_changed.notify_all();
    }

    // Waits that long, or until the signal is set.
    void WaitFor(std::chrono::milliseconds limit)
    {
        std::unique_lock lock(m_lock);
        m_changed.wait_for(lock, limit, [this] { return m_set; });
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_set = false; // Guarded by m_lock.
};

} // namespace SvcHost
