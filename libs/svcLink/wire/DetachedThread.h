#pragma once

#include <functional>

namespace SvcLink
{

// Runs the body on a thread of its own, which nobody waits for: the body holds what it needs alive and knows
// by itself when it is over. It must not throw. False if no thread could be had.
[[nodiscard]] bool StartDetachedThread(std::function<void()> body);

} // namespace SvcLink
