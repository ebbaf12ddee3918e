#include "ClientTable.h"

#include <algorithm>
#include <utility>

#include "LocalTime.h"

namespace SvcHost
{

void ClientTable::Register(const SvcLink::Client& client, std::wstring name, std::string trackingId)
{
    RegisteredClient registered{client, std::move(name), std::move(trackingId), LocalTimeText()};
    const std::lock_guard lock(m_lock);
    registered.order = ++m_lastOrder;
    m_clients.insert_or_assign(client.id, std::move(registered));
}

std::optional<RegisteredClient> ClientTable::Unregister(std::uint64_t connection)
{
    const std::lock_guard lock(m_lock);
    const auto node = m_clients.extract(connection);
    return node ? std::optional(node.mapped()) : std::nullopt;
}

std::optional<RegisteredClient> ClientTable::EraseTrackingId(std::uint64_t connection,
                                                             const std::string& trackingId)
{
    const std::lock_guard lock(m_lock);
    const auto found = m_clients.find(connection);
    if (found == m_clients.end() || found->second.trackingId != trackingId)
    {
        return std::nullopt;
    }
    return m_clients.extract(found).mapped();
}

void ClientTable::CountMail(std::uint64_t connection)
{
    const std::lock_guard lock(m_lock);
    const auto found = m_clients.find(connection);
    if (found != m_clients.end())
    {
        ++found->second.mails;
    }
}

std::optional<RegisteredClient> ClientTable::Find(std::uint32_t processId) const
{
    const std::lock_guard lock(m_lock);
    const RegisteredClient* newest = nullptr;
    for (const auto& [connection, candidate] : m_clients)
    {
        if (processId != 0 && candidate.client.processId != processId)
        {
            continue;
        }
        if (newest != nullptr && newest->client.processId != candidate.client.processId)
        {
            return std::nullopt;
        }
        if (newest == nullptr || newest->order < candidate.order)
        {
            newest = &candidate;
        }
    }
    return newest != nullptr ? std::optional(*newest) : std::nullopt;
}

std::vector<RegisteredClient> ClientTable::All() const
{
    std::vector<RegisteredClient> all;
    {
        const std::lock_guard lock(m_lock);
        for (const auto& [connection, client] : m_clients)
        {
            all.push_back(client);
        }
    }
    std::sort(all.begin(), all.end(),
              [](const auto& left, const auto& right) { return left.order < right.order; });
    return all;
}

} // namespace SvcHost
