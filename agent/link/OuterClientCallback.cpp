// The way of a command of the service: from the library's thread to the command function and back.
#include "OuterClientLog.h"

#include "MessageIds.h"
#include "OuterClientGuard.h"
#include "OuterClientHelper.h"
#include "OuterClientState.h"

namespace
{
// out stays as it was if there is no memory for the reply.
AgentStatus PutReply(const QxCommon::JsonDb& command, AgentStatus status, CRpcCommandResult& out)
{
    CRpcDataHandleWrapper reply;
    AgentStatus made = reply.Create();
    if (!Status::Failed(made))
    {
        const std::wstring text = command.ToFastString();
        made = command.LastError() != 0
                   ? Status::OutOfMemory
                   : reply.Message()->AddString(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, text.c_str(),
                                                static_cast<std::uint32_t>(text.size()));
    }
    if (!Status::Failed(made))
    {
        made = reply.CopyTo(out.data);
    }
    if (Status::Failed(made))
    {
        LOG_ERROR << L"The command's reply is lost, err=" << made;
        return made;
    }
    out.iStatus = status;
    out.uMessageId = RpcMessageId;
    return made;
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
    const bool hasMemory = parsed.LastError() == 0 && none.LastError() == 0;
    const std::uint32_t error = hasMemory ? parsed.ParseFromString(text) : ERROR_OUTOFMEMORY;
    if (error != 0 && error != ERROR_INVALID_PARAMETER)
    {
        LOG_ERROR << L"The service's command cannot be read, error=" << error;
        return Status::OutOfMemory;
    }
    QxCommon::JsonDb& command = error == 0 ? parsed : none;
    const CVzRpcClientHelper::CommandFunction callback = g_fnCallback.load();
    if (callback == nullptr)
    {
        LOG_ERROR << L"g_fnCallback is NULL";
        return Status::NoCallback;
    }
    const AgentStatus status = callback(command);
    Guarded(L"The command's reply", [&] { return PutReply(command, status, out); });
    return status; // the command was executed, with or without a reply
}
} // namespace

std::int32_t CVzRpcClientHelper::RegisterProcessCallback(const char* /*trackingId*/,
                                                         const CRpcCommandResult& in, CRpcCommandResult& out)
{
    FUNCTION_TRACE(L"CVzRpcClientHelper::RegisterProcessCallback");
    return Guarded(L"The service's command", [&] { return RunCommand(in, out); });
}
