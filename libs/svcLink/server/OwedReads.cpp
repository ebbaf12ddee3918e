#include "OwedReads.h"

#include <mutex>
#include <new>
#include <utility>

namespace SvcLink
{

bool OwedReads::Add(const Connection& connection)
{
    try
    {
        const std::lock_guard hold(m_lock);
        m_owed.push_back(connection);
        m_count = m_owed.size();
        return true;
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
}

bool OwedReads::Take(const Connection& connection)
{
    const std::lock_guard hold(m_lock);
    const bool wasOwed = std::erase(m_owed, connection) != 0;
    m_count = m_owed.size();
    return wasOwed;
}

OwedReads::Connection OwedReads::TakeAny()
{
    if (m_count == 0)
    {
        return nullptr;
    }
    const std::lock_guard hold(m_lock);
    if (m_owed.empty())
    {
        return nullptr;
    }
    Connection any = std::move(m_owed.back());
    m_owed.pop_back();
    m_count = m_owed.size();
    return any;
}

} // namespace SvcLink
