#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "ClientTable.h"
#include "Journal.h"

namespace SvcHost
{

// Sends commands to registered clients and brings their replies. Any thread; blocks until the client has
// answered, is gone or the time is over.
class Commander
{
public:
    using CallBack = std::function<SvcLink::Answer(std::uint64_t clientId, const std::string& trackingId,
                                                   std::span<const std::uint8_t> message,
                                                   std::chrono::milliseconds limit)>;

    struct Outcome
    {
        bool found = false; // false: there is no such client, and status says so
        std::uint32_t processId = 0;
        AgentStatus status = 0;
        std::optional<std::wstring> reply;
    };

    // Both must outlive this.
    Commander(const ClientTable& clients, Journal& journal, CallBack callBack);

    // processId 0 is the only registered process.
    [[nodiscard]] Outcome Send(std::uint32_t processId, std::wstring_view command,
                               std::chrono::milliseconds limit);

private:
    const ClientTable& m_clients;
    Journal& m_journal;
    CallBack m_callBack;
};

} // namespace SvcHost
