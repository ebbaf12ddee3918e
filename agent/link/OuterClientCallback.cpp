// The way of a command of the service: from the library's thread to the command function and back.
#include "OuterClientLog.h"

#include "MessageIds.h"
#include "OuterClientGuard.h"
#include "OuterClientHelper.h"
#include "OuterClientState.h"

namespace
{
AgentStatus PutReply(const QxCommon::JsonDb& command, AgentStatus status, CRpcCommandResult& out)
{
    CRpcDataHandleWrapper reply;
    const AgentStatus made = reply.Create();
    if (Status::Failed(made))
    {
        return made;
    }
    const std::wstring text = command.ToFastString();
    reply.Message()->AddString(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, text.c_str(),
                               static_cast<std::uint32_t>(text.size()));
    out.iStatus = status;
    out.uMessageId = RpcMessageId;
    reply.CopyTo(out.data);
    return status;
}

AgentStatus RunCommand(const CRpcCommandResult& in, CRpcCommandResult& out)
{
    std::wstring text;
    const AgentStatus read =
        CRpcDataHandleWrapper(in.data).Get(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, text);
    if (Status::Failed(read))
    {
        LOG_ERROR << L"CRpcDataHandleWrapper.Get(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING) fail, ret=" << read;
        return read;
    }
    LOG_INFO << L"Receive ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING=" << text;
    QxCommon::JsonDb parsed;
    QxCommon::JsonDb none; // what was read before a syntax error is no command
    QxCommon::JsonDb& command = parsed.ParseFromString(text) == 0 ? parsed : none;
    const CVzRpcClientHelper::CommandFunction callback = g_fnCallback.load();
    if (callback == nullptr)
    {
        LOG_ERROR << L"g_fnCallback is NULL";
        return Status::NoCallback;
    }
    const AgentStatus status = callback(command);
    return PutReply(command, status, out);
}
} // namespace

std::int32_t CVzRpcClientHelper::RegisterProcessCallback(const char* /*trackingId*/,
                                                         const CRpcCommandResult& in, CRpcCommandResult& out)
{
    FUNCTION_TRACE(L"CVzRpcClientHelper::RegisterProcessCallback");
    return Guarded(L"The service's command", [&] { return RunCommand(in, out); });
}
