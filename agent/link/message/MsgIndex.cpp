#include "MsgIndex.h"

#include <utility>

void MsgIndex::AddToMany(const MsgItem& item)
{
    if (m_many != nullptr)
    {
        m_many->items[item.id].push_back(item);
        return;
    }
    // Nothing has changed if there is no memory for it.
    auto many = std::make_unique<Many>();
    for (const MsgItem& earlier : m_few)
    {
        many->items[earlier.id].push_back(earlier);
    }
    many->items[item.id].push_back(item);
    m_many = std::move(many);
    m_few.clear();
}

const MsgItem* MsgIndex::FirstOfMany(std::uint32_t id) const
{
    const auto found = m_many->items.find(id);
    return found == m_many->items.end() || found->second.empty() ? nullptr : &found->second.front();
}
