#include "ConnectionTable.h"

#include "ServerLimits.h"

#include <new>

namespace SvcLink
{

bool ConnectionTable::Add(const Connection& connection, Time now)
{
    const Client& client = connection->client;
    try
    {
        std::shared_ptr<ProcessShare>& share = m_shares[client.processId];
        share = share ? share : std::make_shared<ProcessShare>();
        connection->share = share;
        ++share->connections;
        m_connections.emplace(client.id, connection);
        m_unknown.emplace(client.id, now + IntroductionLimit);
    }
    catch (const std::bad_alloc&)
    {
        Remove(*connection);
        return false;
    }
    if (m_connections.size() > MaxClients || connection->share->connections > MaxClientsOfProcess)
    {
        Remove(*connection);
        return false;
    }
    return true;
}

void ConnectionTable::Remove(const ServerConnection& connection)
{
    const auto share = m_shares.find(connection.client.processId);
    const bool isLast = !connection.share || --connection.share->connections == 0;
    if (isLast && share != m_shares.end())
    {
        m_shares.erase(share);
    }
    m_unknown.erase(connection.client.id);
    m_connections.erase(connection.client.id);
}

void ConnectionTable::Welcome(std::uint64_t clientId)
{
    m_unknown.erase(clientId);
}

void ConnectionTable::CutOffUnknown()
{
    while (!m_unknown.empty() && m_unknown.begin()->second <= Condition::Clock::now())
    {
        if (const Connection connection = Find(m_unknown.begin()->first))
        {
            connection->pipe.Cancel();
        }
        m_unknown.erase(m_unknown.begin());
    }
}

ConnectionTable::Time ConnectionTable::NextCutOff() const
{
    return m_unknown.empty() ? Time::max() : m_unknown.begin()->second;
}

ConnectionTable::Connection ConnectionTable::Find(std::uint64_t clientId) const
{
    const auto found = m_connections.find(clientId);
    return found == m_connections.end() ? nullptr : found->second;
}

void ConnectionTable::CancelAll()
{
    for (const auto& [id, connection] : m_connections)
    {
        connection->pipe.Cancel();
    }
}

} // namespace SvcLink
