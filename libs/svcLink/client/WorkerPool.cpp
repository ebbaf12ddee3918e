#include "WorkerPool.h"

#include "DetachedThread.h"

#include <chrono>
#include <mutex>
#include <utility>

namespace SvcLink
{

namespace
{

constexpr std::uint32_t maxThreads = 32;
constexpr std::size_t maxWaiting = 256;
constexpr std::chrono::seconds idleTime{10};

} // namespace

bool WorkerPool::Submit(Job job)
{
    {
        const std::lock_guard hold(m_lock);
        if (m_stopped || m_jobs.size() >= maxWaiting)
        {
            return false;
        }
        m_jobs.push_back(std::move(job));
        if (m_idle >= m_jobs.size() || m_threads >= maxThreads)
        {
            m_work.WakeOne();
            return true;
        }
        ++m_threads;
    }
    if (StartDetachedThread([self = shared_from_this()] { self->Run(); }))
    {
        return true;
    }
    const std::lock_guard hold(m_lock);
    if (--m_threads != 0)
    {
        m_work.WakeOne(); // others will come to it
        return true;
    }
    m_jobs.clear();
    return false;
}

void WorkerPool::Stop()
{
    std::list<Job> dropped;
    const std::lock_guard hold(m_lock);
    m_stopped = true;
    dropped.swap(m_jobs);
    m_work.WakeAll();
}

void WorkerPool::Run()
{
    for (Job job; TakeJob(job); job = nullptr)
    {
        job();
    }
}

// False if the thread is to end; it is not counted any more then.
bool WorkerPool::TakeJob(Job& job)
{
    std::unique_lock hold(m_lock);
    ++m_idle;
    const bool woken = m_work.WaitUntil(hold, Condition::Clock::now() + idleTime,
                                        [this] { return m_stopped || !m_jobs.empty(); });
    --m_idle;
    if (!woken || m_stopped)
    {
        --m_threads;
        return false;
    }
    job = std::move(m_jobs.front());
    m_jobs.pop_front();
    return true;
}

} // namespace SvcLink
