#pragma once

#include <windows.h>

namespace VzDbgLog
{

// The local time of a system time stamp; all zero if the system cannot tell.
inline SYSTEMTIME LocalTime(const FILETIME& stamp)
{
    SYSTEMTIME universal{}, local{};
    if (!FileTimeToSystemTime(&stamp, &universal) ||
        !SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local))
    {
        return {};
    }
    return local;
}

inline SYSTEMTIME LocalTimeNow()
{
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return now;
}

// The caller's time if it is one, otherwise now.
inline SYSTEMTIME ValidOrNow(const SYSTEMTIME* time)
{
    FILETIME ignored{};
    return time != nullptr && SystemTimeToFileTime(time, &ignored) ? *time : LocalTimeNow();
}

} // namespace VzDbgLog
