#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "svcLink.h"

// The peer: a client of the host service that has nothing around the link's library. It sends the agent's
// requests, each of which waits for its answer. The library has to be loaded. False: the request failed.
class BareClient
{
public:
    // Connects.
    BareClient();

    [[nodiscard]] bool Register();
    [[nodiscard]] bool Unregister();

    // What follows the end of a registration.
    [[nodiscard]] bool EraseCallbacks();

    [[nodiscard]] bool Mail(std::uint32_t pluginId, std::uint32_t mailId, const std::wstring& request);

private:
    [[nodiscard]] bool Execute(const CRpcCommand& command, CRpcClientManager::Callback callback);

    std::unique_ptr<CRpcClientManager> m_manager;
};
