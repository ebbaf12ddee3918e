#pragma once

#include "ServerConnection.h"
#include "SlimLock.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>

namespace SvcLink
{

// The connections that have a client, with those whose client is gone but has calls under way. Not
// thread-safe.
class ConnectionTable
{
public:
    using Connection = std::shared_ptr<ServerConnection>;
    using Time = Condition::Clock::time_point;

    // Takes in a connection whose client is identified, and gives it the share of its process. False if the
    // service or the process has as many as it may have, or if there is no memory.
    [[nodiscard]] bool Add(const Connection& connection, Time now);

    void Remove(const ServerConnection& connection);

    // The client has said who it is and may stay.
    void Welcome(std::uint64_t clientId);

    // Cuts off whoever has not been welcomed in time.
    void CutOffUnknown();

    // When CutOffUnknown is due next; the end of time if nobody is to be welcomed.
    [[nodiscard]] Time NextCutOff() const;

    // Null if there is none.
    [[nodiscard]] Connection Find(std::uint64_t clientId) const;

    void CancelAll();

    [[nodiscard]] bool IsEmpty() const { return m_connections.empty(); }

private:
    std::map<std::uint64_t, Connection> m_connections;
    std::map<std::uint64_t, Time> m_unknown; // Until when they may stay so. Later ones have larger ids.
    std::map<std::uint32_t, std::shared_ptr<ProcessShare>> m_shares; // by process
};

} // namespace SvcLink
