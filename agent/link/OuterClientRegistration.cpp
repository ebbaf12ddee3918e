// The registration of this process with the service, and its end.
#include "OuterClientLog.h"

#include <cstring>
#include <cwchar>

#include "MessageIds.h"
#include "OuterClientCommand.h"
#include "OuterClientGuard.h"
#include "OuterClientHelper.h"
#include "OuterClientState.h"

namespace
{
// What a registration or its end tells the service. The name is null for the end.
AgentStatus PutProcess(const wchar_t* clientName, CRpcCommand& command)
{
    CRpcDataHandleWrapper data;
    const AgentStatus status = data.Create();
    if (Status::Failed(status))
    {
        return status;
    }
    CRpcMsgBuffer& message = *data.Message();
    if (clientName != nullptr)
    {
        message.AddString(ID_DATA_PRODUCTADAPTER_CLIENT_NAME, clientName,
                          static_cast<std::uint32_t>(std::wcslen(clientName)));
    }
    message.AddUInt(ID_DATA_PRODUCTADAPTER_PROCESS_ID, GetCurrentProcessId());
    return data.CopyTo(command.data);
}
} // namespace

AgentStatus CVzRpcClientHelper::RegisterProcess(const wchar_t* clientName, CommandFunction callback)
{
    return Register(*this, clientName, callback, StopEvent());
}

AgentStatus CVzRpcClientHelper::Register(CVzRpcClientHelper& helper, const wchar_t* clientName,
                                         CommandFunction callback, const StopEvent& watched)
{
    FUNCTION_TRACE(L"CVzRpcClientHelper::RegisterProcess");
    {
        const RpcLockGuard lock(g_rpcLock);
        if (IsStopped(watched))
        {
            return Status::Failure;
        }
        if (g_bProcessRegistered)
        {
            LOG_WARN << L"The process has been registered";
            return Status::AlreadyDone;
        }
        if (clientName == nullptr || callback == nullptr)
        {
            return Status::InvalidParameter;
        }
        g_fnCallback.exchange(callback);
    }
    return Guarded(L"RegisterProcess", [&] { return SendRegistration(helper, clientName, watched); });
}

// Deliberate: the data of command and answer is left to the library.
AgentStatus CVzRpcClientHelper::SendRegistration(CVzRpcClientHelper& helper, const wchar_t* clientName,
                                                 const StopEvent& watched)
{
    CRpcCommand command = MakeCommand(RpcCommandId::RegisterProcess, 0);
    RpcManager manager = CurrentManager();
    if (manager)
    {
        std::memcpy(command.szTrackingId, manager->m_szTrackingId, sizeof(command.szTrackingId));
    }
    AgentStatus status = PutProcess(clientName, command);
    if (Status::Failed(status))
    {
        return status;
    }
    CRpcCommandResult result{};
    status = ExecuteAsNewClient(manager, command, &RegisterProcessCallback, result);

    const RpcLockGuard lock(g_rpcLock);
    if (IsStopped(watched))
    {
        return Status::Failure;
    }
    if (Status::Failed(status))
    {
        LOG_ERROR << L"executing command failed, err=" << status;
    }
    else if (ReadMailResult(CRpcDataHandleWrapper(result.data), status))
    {
        g_bProcessRegistered = true; // Deliberate: also when the service refuses.
    }
    g_strTrackingID.assign(command.szTrackingId, strnlen(command.szTrackingId, sizeof(command.szTrackingId)));
    if (!Status::Failed(status))
    {
        helper.StartWatching(clientName);
    }
    return status;
}

AgentStatus CVzRpcClientHelper::UnregisterProcess()
{
    FUNCTION_TRACE(L"CVzRpcClientHelper::UnregisterProcess");
    if (!g_bProcessRegistered)
    {
        return Status::Success;
    }
    {
        const RpcLockGuard lock(g_rpcLock);
        StopWatching();
    }
    return Guarded(L"UnregisterProcess", [] { return SendUnregistration(); });
}

// Deliberate: the data of command and answer is left to the library.
AgentStatus CVzRpcClientHelper::SendUnregistration()
{
    CRpcCommand command = MakeCommand(RpcCommandId::UnregisterProcess, 1);
    const RpcManager manager = CurrentManager();
    AgentStatus status = MakeTrackingId(manager, command);
    if (Status::Failed(status))
    {
        return status;
    }
    status = PutProcess(nullptr, command);
    if (Status::Failed(status))
    {
        return status;
    }
    CRpcCommandResult result{};
    status = Execute(manager, command, nullptr, result);
    if (Status::Failed(status))
    {
        LOG_ERROR << L"executing command failed, err=" << status;
    }
    else
    {
        static_cast<void>(ReadMailResult(CRpcDataHandleWrapper(result.data), status));
    }
    g_fnCallback.exchange(nullptr);
    g_bProcessRegistered = false;
    return status;
}
