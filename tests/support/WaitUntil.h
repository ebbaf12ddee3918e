#pragma once

#include <chrono>
#include <functional>

namespace TestSupport
{

inline constexpr std::chrono::seconds defaultTimeout{30};

// Polls until the predicate holds. False when the time is over; a test waits for a condition, never for a
// fixed time.
[[nodiscard]] bool WaitUntil(const std::function<bool()>& predicate,
                             std::chrono::milliseconds timeout = defaultTimeout);

// The same, dispatching the messages of the calling thread meanwhile.
[[nodiscard]] bool PumpMessagesUntil(const std::function<bool()>& predicate,
                                     std::chrono::milliseconds timeout = defaultTimeout);

} // namespace TestSupport
