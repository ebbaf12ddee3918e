#pragma once

#include <windows.h>

namespace VzDbgLog
{

// A one-shot timer on the system's thread pool, which comes with its first start: a log that never needs one
// leaves the pool and its threads alone.
class PoolTimer
{
public:
    PoolTimer(PTP_TIMER_CALLBACK timerCallback, void* callbackContext);
    ~PoolTimer();

    PoolTimer(const PoolTimer&) = delete;
    PoolTimer& operator=(const PoolTimer&) = delete;

    // Calls back once, on a thread of the pool, when the time is over. Starting it anew moves the time. False
    // if the system has no timer left.
    [[nodiscard]] bool Start(DWORD milliseconds);

    // Waits for a callback that runs; none begins afterwards. Not to be called from the callback, nor under a
    // lock that the callback takes.
    void Close();

private:
    const PTP_TIMER_CALLBACK callback;
    void* const context;
    PTP_TIMER timer = nullptr;
};

} // namespace VzDbgLog
