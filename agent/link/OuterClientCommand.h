#pragma once

#include "OuterClientState.h"

// One command to the service, and what all commands have in common. Any thread.

// The manager of now, kept alive by the caller. Null if there is none: what is called on it then fails with
// the reason.
[[nodiscard]] RpcManager CurrentManager();

// A command with the context at its head and, as yet, neither tracking id nor data.
[[nodiscard]] CRpcCommand MakeCommand(std::uint32_t id, std::uint32_t second);

// Gives the command a tracking id of its own.
[[nodiscard]] AgentStatus MakeTrackingId(const RpcManager& manager, CRpcCommand& command);

[[nodiscard]] AgentStatus Execute(const RpcManager& manager, const CRpcCommand& command,
                                  CRpcClientManager::Callback callback, CRpcCommandResult& result);

// The same. A service that does not know this client gets the command once more, by a new manager, which is
// in manager then.
[[nodiscard]] AgentStatus ExecuteAsNewClient(RpcManager& manager, const CRpcCommand& command,
                                             CRpcClientManager::Callback callback, CRpcCommandResult& result);

// Releases what the handle holds.
void DestroyData(const RpcManager& manager, CRpcDataHandle& data);

[[nodiscard]] AgentStatus ReadUInt(const CRpcDataHandleWrapper& message, std::uint32_t id,
                                   std::uint32_t& value);

// The service's own status out of its answer. False, with a status that says so, if it is not there.
[[nodiscard]] bool ReadMailResult(const CRpcDataHandleWrapper& answer, AgentStatus& status);
