#include "SvcLinkServer.h"

#include "ServerCore.h"
#include "VzComn_AgentStatus.h"

namespace SvcLink
{

static_assert(MaxMessageSize == MaxFrameMessage);

// What Start made, until Stop.
class Server::Implementation
{
public:
    explicit Implementation(Handler& serverHandler) : handler(serverHandler) {}

    [[nodiscard]] std::shared_ptr<ServerCore> Core()
    {
        const std::lock_guard hold(lock);
        return core;
    }

    Handler& handler;
    SlimLock lock;
    std::shared_ptr<ServerCore> core; // Guarded by lock.
};

Server::Server(Handler& handler) : m_implementation(std::make_unique<Implementation>(handler)) {}

Server::~Server()
{
    Stop();
}

bool Server::Start(std::uint32_t& error)
{
    const std::lock_guard hold(m_implementation->lock);
    if (m_implementation->core)
    {
        error = ERROR_SERVICE_ALREADY_RUNNING;
        return false;
    }
    auto core = std::make_shared<ServerCore>(m_implementation->handler);
    if (core->Start(error))
    {
        m_implementation->core = std::move(core);
    }
    return m_implementation->core != nullptr;
}

void Server::Stop()
{
    std::shared_ptr<ServerCore> core = m_implementation->Core();
    if (core)
    {
        core->Stop();
        const std::lock_guard hold(m_implementation->lock);
        m_implementation->core = nullptr;
    }
}

Answer Server::CallBack(std::uint64_t clientId, const std::string& trackingId,
                        std::span<const std::uint8_t> message, std::chrono::milliseconds limit)
{
    const auto core = m_implementation->Core();
    const auto connection = core ? core->Find(clientId) : nullptr;
    if (!connection)
    {
        return {Status::FromSystemError(ERROR_NETWORK_UNREACHABLE), {}};
    }
    return connection->CallBack(trackingId, message, limit);
}

void Server::Disconnect(std::uint64_t clientId)
{
    const auto core = m_implementation->Core();
    if (const auto connection = core ? core->Find(clientId) : nullptr)
    {
        connection->pipe.Cancel();
    }
}

} // namespace SvcLink
