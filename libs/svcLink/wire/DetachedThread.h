#pragma once

#include "VzComn_Handle.h"

#include <functional>
#include <new>
#include <utility>

namespace SvcLink
{

[[nodiscard]] VzCommon::KernelHandle RunOnThread(std::function<void()> body);

// Runs the body on a thread of its own and gives its handle: the body holds what it needs alive and knows by
// itself when it is over. It must not throw. Null if no thread could be had.
template <typename Body>
[[nodiscard]] VzCommon::KernelHandle StartThread(Body body) noexcept
{
    try
    {
        return RunOnThread(std::function<void()>(std::move(body)));
    }
    catch (const std::bad_alloc&)
    {
        return {};
    }
}

// The same for a thread that nobody waits for. False if no thread could be had.
template <typename Body>
[[nodiscard]] bool StartDetachedThread(Body body) noexcept
{
    return static_cast<bool>(StartThread(std::move(body)));
}

} // namespace SvcLink
