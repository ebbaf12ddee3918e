#include "OuterClientCommand.h"

#include "OuterClientLog.h"

#include "MessageIds.h"

namespace
{
// The service has forgotten the manager. Another thread may have put a new one in its place already.
void RenewManager(RpcManager& manager)
{
    LOG_WARN << L"not register yet. register this client helper to service now. nProductID=" << g_nProductID;
    const RpcLockGuard lock(g_rpcLock);
    if (manager == g_pRpcManager)
    {
        g_bProductInited = false;
        CVzRpcClientHelper::InitProduct(0, 0, RpcClientProduct);
    }
    manager = g_pRpcManager;
}
} // namespace

RpcManager CurrentManager()
{
    const RpcLockGuard lock(g_rpcLock);
    return g_pRpcManager;
}

CRpcCommand MakeCommand(std::uint32_t id, std::uint32_t second)
{
    CRpcCommand command{};
    command.context = g_rpcContext;
    command.uCommandId = id;
    command.uSecond = second;
    return command;
}

AgentStatus MakeTrackingId(const RpcManager& manager, CRpcCommand& command)
{
    const AgentStatus status =
        manager ? manager->CreateUUID(command.szTrackingId, sizeof(command.szTrackingId)) : g_noManagerStatus;
    if (Status::Failed(status))
    {
        LOG_ERROR << L"Cannot generate tracking ID, err=" << status;
    }
    return status;
}

AgentStatus Execute(const RpcManager& manager, const CRpcCommand& command,
                    CRpcClientManager::Callback callback, CRpcCommandResult& result)
{
    result = {};
    return manager ? manager->ExecuteCommand(command, callback, result) : g_noManagerStatus;
}

AgentStatus ExecuteAsNewClient(RpcManager& manager, const CRpcCommand& command,
                               CRpcClientManager::Callback callback, CRpcCommandResult& result)
{
    const AgentStatus status = Execute(manager, command, callback, result);
    if (status != Status::UnknownClient)
    {
        return status;
    }
    RenewManager(manager);
    return Execute(manager, command, callback, result);
}

void DestroyData(const RpcManager& manager, CRpcDataHandle& data)
{
    if (manager)
    {
        manager->DestroyDataHandle(&data);
    }
    else
    {
        CRpcDataHandleWrapper::Release(&data);
    }
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
