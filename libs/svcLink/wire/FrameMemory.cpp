#include "FrameMemory.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace SvcLink
{

FrameBlock FrameMemory::Take(std::size_t size)
{
    if (size > LargeBlock)
    {
        return FrameBlock(size);
    }
    const std::size_t wanted = size <= SmallBlock ? SmallBlock : LargeBlock;
    {
        const std::lock_guard hold(m_lock);
        for (FrameBlock& spare : m_spares)
        {
            if (spare.Size() == wanted)
            {
                return std::move(spare);
            }
        }
    }
    return FrameBlock(wanted);
}

void FrameMemory::Give(FrameBlock block)
{
    if (block.Size() > LargeBlock)
    {
        return;
    }
    const std::lock_guard hold(m_lock);
    FrameBlock& least = *std::min_element(m_spares.begin(), m_spares.end(),
                                          [](const FrameBlock& left, const FrameBlock& right)
                                          { return left.Size() < right.Size(); });
    if (least.Size() < block.Size())
    {
        std::swap(least, block);
    }
}

} // namespace SvcLink
