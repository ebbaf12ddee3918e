#pragma once

#include <functional>

#include "OuterClientState.h"

// One command to the service, and what all commands have in common. Any thread.

// The manager of one moment, kept alive. Without one, what is called on it fails with the reason.
struct CommandManager
{
    RpcManager manager;
    AgentStatus noManagerStatus = Status::Failure;
};

// Waits for no round trip.
[[nodiscard]] CommandManager CurrentManager();

// A command with the context at its head and, as yet, neither tracking id nor data.
[[nodiscard]] CRpcCommand MakeCommand(std::uint32_t id, std::uint32_t second);

// Gives the command a tracking id of its own.
[[nodiscard]] AgentStatus MakeTrackingId(const CommandManager& manager, CRpcCommand& command);

[[nodiscard]] AgentStatus Execute(const CommandManager& manager, const CRpcCommand& command,
                                  CRpcClientManager::Callback callback, CRpcCommandResult& result);

// The same. A service that does not know this client gets the command once more, by a new manager, which is
// in manager then; unless the caller has no business with it any more. isWanted is asked with g_rpcLock held.
[[nodiscard]] AgentStatus ExecuteAsNewClient(CommandManager& manager, const CRpcCommand& command,
                                             CRpcClientManager::Callback callback, CRpcCommandResult& result,
                                             const std::function<bool()>& isWanted);

// Releases what the handle holds.
void DestroyData(const CommandManager& manager, CRpcDataHandle& data);

[[nodiscard]] AgentStatus ReadUInt(const CRpcDataHandleWrapper& message, std::uint32_t id,
                                   std::uint32_t& value);

// The service's own status out of its answer. False, with a status that says so, if it is not there.
[[nodiscard]] bool ReadMailResult(const CRpcDataHandleWrapper& answer, AgentStatus& status);
