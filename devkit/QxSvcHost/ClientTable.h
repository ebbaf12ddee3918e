#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "SvcLinkServer.h"

namespace SvcHost
{

struct RegisteredClient
{
    SvcLink::Client client;
    std::wstring name;
    std::string trackingId; // under which the client is called back
    std::wstring registeredAt;
    std::uint64_t order = 0; // of the registration; rises
    std::uint64_t mails = 0;
};

// The registered clients, by connection. Any thread.
class ClientTable
{
public:
    // A second registration of a connection takes the place of the first.
    void Register(const SvcLink::Client& client, std::wstring name, std::string trackingId);

    // The registration that ended; none if the connection has none.
    std::optional<RegisteredClient> Unregister(std::uint64_t connection);

    // The same, if the registration has that tracking id.
    std::optional<RegisteredClient> EraseTrackingId(std::uint64_t connection, const std::string& trackingId);

    void CountMail(std::uint64_t connection);

    // The newest registration of that process. 0 is the only process that is registered: none if there are
    // several.
    [[nodiscard]] std::optional<RegisteredClient> Find(std::uint32_t processId) const;

    // In the order of their registration.
    [[nodiscard]] std::vector<RegisteredClient> All() const;

private:
    mutable std::mutex m_lock;
    std::map<std::uint64_t, RegisteredClient> m_clients; // Guarded by m_lock.
    std::uint64_t m_lastOrder = 0;                       // Guarded by m_lock.
};

} // namespace SvcHost
