#pragma once

#include "SlimLock.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace SvcLink
{

// A block of memory for a frame. What it holds is not set.
class FrameBlock
{
public:
    FrameBlock() = default;

    // May throw std::bad_alloc.
    explicit FrameBlock(std::size_t size)
        : m_bytes(std::make_unique_for_overwrite<std::uint8_t[]>(size)), m_size(size)
    {
    }

    explicit operator bool() const { return m_bytes != nullptr; }

    [[nodiscard]] std::size_t Size() const { return m_bytes != nullptr ? m_size : 0; }

    // The first bytes of the block, which has as many.
    [[nodiscard]] std::span<std::uint8_t> First(std::size_t count) const { return {m_bytes.get(), count}; }

private:
    std::unique_ptr<std::uint8_t[]> m_bytes;
    std::size_t m_size = 0;
};

// Where the frames of one connection have their memory from. It keeps a few blocks for the next ones: the
// system's heap gives the larger ones back and has to get them anew each time. Any thread.
class FrameMemory
{
public:
    // Blocks come in these two sizes; a frame beyond the second gets one of its own size, which is not kept.
    static constexpr std::size_t SmallBlock = std::size_t{4} * 1024;
    static constexpr std::size_t LargeBlock = std::size_t{68} * 1024;

    // A block of at least that size. May throw std::bad_alloc.
    [[nodiscard]] FrameBlock Take(std::size_t size);

    void Give(FrameBlock block);

private:
    SlimLock m_lock;
    std::array<FrameBlock, 3> m_spares; // Guarded by m_lock.
};

} // namespace SvcLink
