#pragma once

#include "SlimLock.h"

#include <cstdint>
#include <functional>
#include <list>
#include <memory>

namespace SvcLink
{

// Threads for callbacks: made when there is work and none is free, gone when there has been none for a while.
// Nobody waits for them, so they hold the pool alive. Any thread.
class WorkerPool : public std::enable_shared_from_this<WorkerPool>
{
public:
    // May not throw.
    using Job = std::function<void()>;

    // False if the job will not run: too many wait, or no thread could be had.
    [[nodiscard]] bool Submit(Job job);

    // Jobs that wait are dropped, those that run are not waited for.
    void Stop();

private:
    void Run();
    [[nodiscard]] bool TakeJob(Job& job);

    SlimLock m_lock;
    Condition m_work;
    std::list<Job> m_jobs; // Guarded by m_lock, as all below.
    std::uint32_t m_threads = 0;
    std::uint32_t m_idle = 0;
    bool m_stopped = false;
};

} // namespace SvcLink
