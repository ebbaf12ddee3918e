#include "OuterClientCommand.h"

#include "OuterClientLog.h"

#include "MessageIds.h"
#include "OuterClientGuard.h"

namespace
{
// The old manager stays if there is no memory to ask for a new one.
AgentStatus ReplaceManager()
{
    const std::wstring product(RpcClientProduct);
    g_bProductInited = false;
    CVzRpcClientHelper::InitProduct(0, 0, product); // what it could not make is no manager
    return Status::Success;
}

// The service has forgotten the manager. Another thread may have put a new one in its place already.
bool RenewManager(CommandManager& manager, const std::function<bool()>& isWanted)
{
    const RpcLockGuard lock = HoldRpcLock();
    if (!isWanted())
    {
        return false;
    }
    LOG_WARN << L"not register yet. register this client helper to service now. nProductID=" << g_nProductID;
    if (manager.manager == g_pRpcManager && Status::Failed(Guarded(L"InitProduct", &ReplaceManager)))
    {
        return false;
    }
    manager = CurrentManager();
    return true;
}
} // namespace

CommandManager CurrentManager()
{
    const StateLockGuard lock(&g_stateLock);
    return {g_pRpcManager, g_noManagerStatus};
}

CRpcCommand MakeCommand(std::uint32_t id, std::uint32_t second)
{
    CRpcCommand command{};
    command.context = g_rpcContext;
    command.uCommandId = id;
    command.uSecond = second;
    return command;
}

AgentStatus MakeTrackingId(const CommandManager& manager, CRpcCommand& command)
{
    const AgentStatus status =
        manager.manager ? manager.manager->CreateUUID(command.szTrackingId, sizeof(command.szTrackingId))
                        : manager.noManagerStatus;
    if (Status::Failed(status))
    {
        LOG_ERROR << L"Cannot generate tracking ID, err=" << status;
    }
    return status;
}

AgentStatus Execute(const CommandManager& manager, const CRpcCommand& command,
                    CRpcClientManager::Callback callback, CRpcCommandResult& result)
{
    result = {};
    return manager.manager ? manager.manager->ExecuteCommand(command, callback, result)
                           : manager.noManagerStatus;
}

AgentStatus ExecuteAsNewClient(CommandManager& manager, const CRpcCommand& command,
                               CRpcClientManager::Callback callback, CRpcCommandResult& result,
                               const std::function<bool()>& isWanted)
{
    const AgentStatus status = Execute(manager, command, callback, result);
    if (status != Status::UnknownClient || !RenewManager(manager, isWanted))
    {
        return status;
    }
    return Execute(manager, command, callback, result);
}

void DestroyData(const CommandManager& manager, CRpcDataHandle& data)
{
    if (manager.manager)
    {
        manager.manager->DestroyDataHandle(&data);
    }
    else
    {
        CRpcDataHandleWrapper::Release(&data);
    }
    data.pMessage = nullptr; // whatever the library left in it
}

AgentStatus ReadUInt(const CRpcDataHandleWrapper& message, std::uint32_t id, std::uint32_t& value)
{
    const CRpcMsgBuffer* const items = message.Message();
    return items != nullptr ? items->GetUInt(id, value) : Status::Failure;
}

bool ReadMailResult(const CRpcDataHandleWrapper& answer, AgentStatus& status)
{
    std::uint32_t value = 0;
    if (Status::Failed(ReadUInt(answer, ID_DATA_PRODUCTADAPTER_COMM_MAILRESULT, value)))
    {
        LOG_ERROR << L"get parameter ID_DATA_PRODUCTADAPTER_COMM_MAILRESULT failed";
        status = Status::InvalidParameter;
        return false;
    }
    status = Status::FromBits(value);
    return true;
}
