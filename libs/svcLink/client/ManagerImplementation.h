#pragma once

#include "ClientConnection.h"
#include "svcLink.h"

#include <cstdint>
#include <list>
#include <memory>
#include <string>

// What a client manager is made of. Any thread. May throw std::bad_alloc.
class CRpcClientManager::Implementation
{
public:
    // Tries to connect; a failure is left to the first call.
    Implementation(std::string managerId, std::uint32_t busyMs);
    ~Implementation();

    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    // Without memory it fails, and nothing is thrown.
    AgentStatus Execute(const CRpcCommand& command, Callback callback, CRpcCommandResult& result);

    // For a command that cannot even be tried: releases what its caller will not.
    static void Drop(const CRpcCommand& command);

    void Forget(const char* trackingId);

    // Takes the holder back if it is one that is kept.
    void Disown(const CRpcDataHandle& handle);

private:
    [[nodiscard]] std::shared_ptr<SvcLink::ClientConnection> Connect(AgentStatus& status);
    AgentStatus Exchange(const CRpcCommand& command, Callback callback, CRpcCommandResult& result);
    AgentStatus SendWithCallback(const CRpcCommand& command, Callback callback, CRpcCommandResult& result);
    AgentStatus Send(const CRpcCommand& command, CRpcCommandResult& result);
    void Keep(const CRpcDataHandle& handle, std::list<CRpcDataHandle>& places);

    const std::string m_managerId;
    const std::uint32_t m_busyMs;
    const std::shared_ptr<SvcLink::CallbackTable> m_callbacks = std::make_shared<SvcLink::CallbackTable>();

    SvcLink::SlimLock m_connectLock;
    std::shared_ptr<SvcLink::ClientConnection> m_connection; // Guarded by m_connectLock, as below.
    bool m_wasConnected = false;

    SvcLink::SlimLock m_keptLock;
    std::list<CRpcDataHandle> m_kept; // Guarded by m_keptLock. Released in the end.
};
