#pragma once

#include <windows.h>

#include <algorithm>

#include "RestartPolicy.h"

namespace WatchDog
{

// A time as the system's waits take it: rounded up, and none for a time that is over.
[[nodiscard]] inline DWORD Milliseconds(Clock::duration duration)
{
    const auto rounded = std::chrono::ceil<std::chrono::milliseconds>(duration).count();
    return static_cast<DWORD>(std::max<decltype(rounded)>(rounded, 0));
}

} // namespace WatchDog
