#pragma once

#include "ClientConnection.h"
#include "svcLink.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// What a client manager is made of. Any thread. May throw std::bad_alloc.
class CRpcClientManager::Implementation
{
public:
    // Tries to connect; a failure is left to the first call.
    Implementation(std::string managerId, std::uint32_t busyMs);
    ~Implementation();

    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    AgentStatus Execute(const CRpcCommand& command, Callback callback, CRpcCommandResult& result);

    void Forget(const char* trackingId);

    // Takes the holder back if it is one that is kept.
    void Disown(const CRpcDataHandle& handle);

private:
    [[nodiscard]] std::shared_ptr<SvcLink::ClientConnection> Connect(AgentStatus& status);
    AgentStatus Send(const CRpcCommand& command, CRpcCommandResult& result);
    void Keep(const CRpcDataHandle& handle);

    const std::string m_managerId;
    const std::uint32_t m_busyMs;
    const std::shared_ptr<SvcLink::CallbackTable> m_callbacks = std::make_shared<SvcLink::CallbackTable>();

    SvcLink::SlimLock m_connectLock;
    std::shared_ptr<SvcLink::ClientConnection> m_connection; // Guarded by m_connectLock, as below.
    bool m_wasConnected = false;

    SvcLink::SlimLock m_keptLock;
    std::vector<CRpcDataHandle> m_kept; // Guarded by m_keptLock. Released in the end.
};
