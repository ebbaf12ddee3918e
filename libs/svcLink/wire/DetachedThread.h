#pragma once

#include <functional>
#include <new>
#include <utility>

namespace SvcLink
{

[[nodiscard]] bool RunDetached(std::function<void()> body);

// Runs the body on a thread of its own, which nobody waits for: the body holds what it needs alive and knows
// by itself when it is over. It must not throw. False if no thread could be had.
template <typename Body>
[[nodiscard]] bool StartDetachedThread(Body body) noexcept
{
    try
    {
        return RunDetached(std::function<void()>(std::move(body)));
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
}

} // namespace SvcLink
