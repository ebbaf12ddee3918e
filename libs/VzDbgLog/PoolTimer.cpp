#include "PoolTimer.h"

namespace VzDbgLog
{

PoolTimer::PoolTimer(PTP_TIMER_CALLBACK timerCallback, void* callbackContext)
    : callback(timerCallback), context(callbackContext)
{
}

PoolTimer::~PoolTimer()
{
    Close();
}

bool PoolTimer::Start(DWORD milliseconds)
{
    if (timer == nullptr)
    {
        timer = CreateThreadpoolTimer(callback, context, nullptr);
    }
    if (timer == nullptr)
    {
        return false;
    }
    // Negative: from now on, in units of 100 nanoseconds.
    ULARGE_INTEGER due{};
    due.QuadPart = static_cast<ULONGLONG>(-10000LL * static_cast<LONGLONG>(milliseconds));
    FILETIME dueTime{due.LowPart, due.HighPart};
    SetThreadpoolTimer(timer, &dueTime, 0, 0);
    return true;
}

void PoolTimer::Close()
{
    if (timer != nullptr)
    {
        SetThreadpoolTimer(timer, nullptr, 0, 0);
        WaitForThreadpoolTimerCallbacks(timer, TRUE);
        CloseThreadpoolTimer(timer);
        timer = nullptr;
    }
}

} // namespace VzDbgLog
