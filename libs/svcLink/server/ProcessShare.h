#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace SvcLink
{

// What the connections of one process have of the service together, so that no process can use it up alone.
class ProcessShare
{
public:
    // Counts a call that begins. False if the process has as many under way as it may have. Any thread.
    [[nodiscard]] bool BeginCall(std::size_t messageSize) noexcept;
    void EndCall(std::size_t messageSize) noexcept;

    std::uint32_t connections = 0; // Guarded by whoever holds the share.

private:
    std::atomic<std::uint32_t> m_calls = 0;
    std::atomic<std::uint64_t> m_callBytes = 0;
};

} // namespace SvcLink
