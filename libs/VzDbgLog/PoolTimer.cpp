#include "PoolTimer.h"

namespace VzDbgLog
{

PoolTimer::~PoolTimer()
{
    Close();
}

DWORD PoolTimer::Create(PTP_TIMER_CALLBACK callback, void* context)
{
    timer = CreateThreadpoolTimer(callback, context, nullptr);
    return timer != nullptr ? ERROR_SUCCESS : GetLastError();
}

void PoolTimer::Start(DWORD milliseconds)
{
    // Negative: from now on, in units of 100 nanoseconds.
    ULARGE_INTEGER due{};
    due.QuadPart = static_cast<ULONGLONG>(-10000LL * static_cast<LONGLONG>(milliseconds));
    FILETIME dueTime{due.LowPart, due.HighPart};
    SetThreadpoolTimer(timer, &dueTime, 0, 0);
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
