#include "CallbackTable.h"

#include <mutex>
#include <shared_mutex>
#include <utility>

namespace SvcLink
{

CallbackTable::Callback CallbackTable::Set(const std::string& trackingId, Callback callback)
{
    const std::lock_guard hold(m_lock);
    return std::exchange(m_callbacks[trackingId], callback);
}

CallbackTable::Callback CallbackTable::Remove(const std::string& trackingId)
{
    const std::lock_guard hold(m_lock);
    const auto found = m_callbacks.find(trackingId);
    if (found == m_callbacks.end())
    {
        return nullptr;
    }
    const Callback removed = found->second;
    m_callbacks.erase(found);
    return removed;
}

CallbackTable::Callback CallbackTable::Find(const std::string& trackingId) const
{
    const std::shared_lock hold(m_lock);
    const auto found = m_callbacks.find(trackingId);
    return found == m_callbacks.end() ? nullptr : found->second;
}

void CallbackTable::Clear()
{
    const std::lock_guard hold(m_lock);
    m_callbacks.clear();
}

} // namespace SvcLink
