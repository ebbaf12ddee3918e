#include "MsgIndex.h"

void MsgIndex::Clear()
{
    if (!m_items->empty())
    {
        // A map may keep memory of the resource even when it is empty, so it is made anew.
        m_items.reset();
        m_memory.release();
        m_items.emplace(&m_memory);
    }
}

void MsgIndex::Add(const MsgItem& item)
{
    (*m_items)[item.id].push_back(item);
}

const MsgItem* MsgIndex::First(std::uint32_t id) const
{
    const auto found = m_items->find(id);
    return found == m_items->end() || found->second.empty() ? nullptr : &found->second.front();
}
