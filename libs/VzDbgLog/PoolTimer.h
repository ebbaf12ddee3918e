#pragma once

#include <windows.h>

namespace VzDbgLog
{

// A one-shot timer on the system's thread pool. Nothing runs, and no thread waits, while it is not started.
class PoolTimer
{
public:
    PoolTimer() = default;
    ~PoolTimer();

    PoolTimer(const PoolTimer&) = delete;
    PoolTimer& operator=(const PoolTimer&) = delete;

    // 0, or the Windows error.
    DWORD Create(PTP_TIMER_CALLBACK callback, void* context);

    // Calls back once, on a thread of the pool, when the time is over. Starting it anew moves the time.
    void Start(DWORD milliseconds);

    // Waits for a callback that runs; none begins afterwards. Not to be called from the callback, nor under a
    // lock that the callback takes.
    void Close();

private:
    PTP_TIMER timer = nullptr;
};

} // namespace VzDbgLog
