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
    AgentStatus status = data.Create();
    if (Status::Failed(status))
    {
        return status;
    }
    CRpcMsgBuffer& message = *data.Message();
    if (clientName != nullptr)
    {
        status = message.AddString(ID_DATA_PRODUCTADAPTER_CLIENT_NAME, clientName,
                                   static_cast<std::uint32_t>(std::wcslen(clientName)));
    }
    if (!Status::Failed(status))
    {
        status = message.AddUInt(ID_DATA_PRODUCTADAPTER_PROCESS_ID, GetCurrentProcessId());
    }
    return Status::Failed(status) ? status : data.CopyTo(command.data);
}

// The library takes over the messages of a registration and of its end, and those of the answers, unless it
// never got them or gave them back for another manager to send.
void ReleaseWhatIsLeft(const CommandManager& manager, AgentStatus status, CRpcCommand& command,
                       CRpcCommandResult& result)
{
    if (!manager.manager || status == Status::UnknownClient)
    {
        CRpcDataHandleWrapper::Release(&command.data);
        CRpcDataHandleWrapper::Release(&result.data);
    }
}

// Deliberate: the data of command and answer is left to the library.
AgentStatus ExchangeUnregistration(const CommandManager& manager, CRpcCommand& command)
{
    AgentStatus status = PutProcess(nullptr, command);
    if (Status::Failed(status))
    {
        return status;
    }
    CRpcCommandResult result{};
    status = Execute(manager, command, nullptr, result);
    ReleaseWhatIsLeft(manager, status, command, result);
    if (Status::Failed(status))
    {
        LOG_ERROR << L"executing command failed, err=" << status;
    }
    else
    {
        static_cast<void>(ReadMailResult(CRpcDataHandleWrapper(result.data), status));
    }
    return status;
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
        const RpcLockGuard renewal = HoldRpcLock(); // one that is under way comes first
        const StateLockGuard lock(&g_stateLock);
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
    CommandManager manager = CurrentManager();
    if (manager.manager)
    {
        std::memcpy(command.szTrackingId, manager.manager->m_szTrackingId, sizeof(command.szTrackingId));
    }
    Provision provision(helper, clientName, command);
    AgentStatus status = PutProcess(clientName, command);
    if (Status::Failed(status))
    {
        return status;
    }
    CRpcCommandResult result{};
    status = ExecuteAsNewClient(manager, command, &RegisterProcessCallback, result,
                                [&watched]
                                {
                                    const StateLockGuard lock(&g_stateLock);
                                    return !IsStopped(watched);
                                });
    ReleaseWhatIsLeft(manager, status, command, result);
    bool isRegistered = false;
    if (Status::Failed(status))
    {
        LOG_ERROR << L"executing command failed, err=" << status;
    }
    else
    {
        isRegistered = ReadMailResult(CRpcDataHandleWrapper(result.data), status);
    }

    const StateLockGuard lock(&g_stateLock);
    if (IsStopped(watched))
    {
        return Status::Failure;
    }
    g_bProcessRegistered = g_bProcessRegistered || isRegistered; // Deliberate: also when the service refuses.
    g_strTrackingID.swap(provision.trackingId);
    if (!Status::Failed(status))
    {
        helper.StartWatching(provision);
    }
    return status;
}

AgentStatus CVzRpcClientHelper::UnregisterProcess()
{
    FUNCTION_TRACE(L"CVzRpcClientHelper::UnregisterProcess");
    {
        const StateLockGuard lock(&g_stateLock);
        if (!g_bProcessRegistered)
        {
            return Status::Success;
        }
        StopWatching();
    }
    return Guarded(L"UnregisterProcess", [] { return SendUnregistration(); });
}

AgentStatus CVzRpcClientHelper::SendUnregistration()
{
    CRpcCommand command = MakeCommand(RpcCommandId::UnregisterProcess, 1);
    const CommandManager manager = CurrentManager();
    AgentStatus status = MakeTrackingId(manager, command);
    if (Status::Failed(status))
    {
        return status; // Deliberate: the process stays registered.
    }
    status = Guarded(L"UnregisterProcess", [&] { return ExchangeUnregistration(manager, command); });
    g_fnCallback.exchange(nullptr);
    const StateLockGuard lock(&g_stateLock);
    g_bProcessRegistered = false;
    return status;
}
