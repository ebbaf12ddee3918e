// The mails to the service's plug-ins, in three forms that stand one on the other.
#include "OuterClientLog.h"

#include <algorithm>
#include <initializer_list>

#include "MessageIds.h"
#include "OuterClientCommand.h"
#include "OuterClientGuard.h"
#include "OuterClientHelper.h"

namespace
{
// Releases a message at the end of a scope, whatever ends it.
class MessageOwner
{
public:
    explicit MessageOwner(CRpcDataHandle& handle) : m_handle(handle) {}

    ~MessageOwner() { CRpcDataHandleWrapper::Release(&m_handle); }

    MessageOwner(const MessageOwner&) = delete;
    MessageOwner& operator=(const MessageOwner&) = delete;

private:
    CRpcDataHandle& m_handle;
};

AgentStatus FirstFailure(std::initializer_list<AgentStatus> steps)
{
    const auto* const failed = std::find_if(steps.begin(), steps.end(), &Status::Failed);
    return failed != steps.end() ? *failed : Status::Success;
}

// The outer message around data, which gets the sender's and the addressee's numbers.
AgentStatus WrapMail(std::uint32_t pluginId, std::uint32_t mailId, CRpcMsgBuffer* data,
                     CRpcDataHandleWrapper& mail)
{
    const AgentStatus status = mail.Create();
    if (Status::Failed(status))
    {
        return status;
    }
    CRpcMsgBuffer& outer = *mail.Message();
    if (data == nullptr)
    {
        return outer.AddUInt(ID_DATA_PRODUCTADAPTER_PACKER_PARAM, 0);
    }
    return FirstFailure({outer.AddUInt(ID_DATA_PRODUCTADAPTER_PACKER_PARAM, data->Id()),
                         data->AddUInt(ID_DATA_PRODUCTADAPTER_PROCESS_ID, GetCurrentProcessId()),
                         data->AddUInt(ID_DATA_PRODUCTADAPTER_THREAD_ID, GetCurrentThreadId()),
                         data->AddUInt(ID_DATA_PRODUCTADAPTER_PLUGIN_ID, pluginId),
                         data->AddUInt(ID_DATA_PRODUCTADAPTER_MAIL_ID, mailId), outer.AddMessage(*data)});
}

// The status out of the answer, and the nested answer in place of data's message.
AgentStatus ReadAnswer(const CRpcCommandResult& result, CRpcDataHandleWrapper& data)
{
    const CRpcDataHandleWrapper answer(result.data);
    AgentStatus status = Status::Success;
    if (!ReadMailResult(answer, status))
    {
        return status;
    }
    std::uint32_t index = 0;
    if (Status::Failed(ReadUInt(answer, ID_DATA_PRODUCTADAPTER_PACKER_PARAM, index)))
    {
        LOG_ERROR << L"get parameter ID_DATA_PRODUCTADAPTER_PACKER_PARAM failed";
        status = Status::InvalidParameter;
    }
    if (Status::Failed(CRpcDataHandleWrapper::ExtractMessage(index, data.Handle(), result.data)))
    {
        LOG_ERROR << L"get parameter param_index failed, param_index=" << index;
        status = Status::InvalidParameter;
    }
    return status;
}

AgentStatus Exchange(std::uint32_t pluginId, std::uint32_t mailId, CRpcDataHandleWrapper& data)
{
    CRpcCommand command = MakeCommand(RpcCommandId::Mail, 1);
    CommandManager manager = CurrentManager();
    AgentStatus status = MakeTrackingId(manager, command);
    if (Status::Failed(status))
    {
        return status;
    }
    CRpcDataHandleWrapper mail;
    status = WrapMail(pluginId, mailId, data.Message(), mail);
    if (Status::Failed(status))
    {
        return status;
    }
    const MessageOwner request(command.data);
    status = mail.CopyTo(command.data);
    if (Status::Failed(status))
    {
        return status;
    }
    LOG_INFO << L"SendMail2ProductPlugin from outer process, process id=" << GetCurrentProcessId()
             << L", thread id=" << GetCurrentThreadId();
    CRpcCommandResult result{};
    const MessageOwner answer(result.data);
    status = ExecuteAsNewClient(manager, command, nullptr, result, [] { return true; });
    DestroyData(manager, command.data);
    if (Status::Failed(status))
    {
        LOG_ERROR << L"executing command failed, err=" << status;
        return status;
    }
    status = ReadAnswer(result, data);
    DestroyData(manager, result.data);
    return status;
}

AgentStatus ExchangeText(std::uint32_t pluginId, std::uint32_t mailId, const QxCommon::JsonDb& request,
                         std::wstring& reply)
{
    CRpcDataHandleWrapper data;
    AgentStatus status = data.Create();
    if (Status::Failed(status))
    {
        return status;
    }
    const std::wstring text = request.ToFastString();
    if (request.LastError() != 0) // without memory, or made without
    {
        LOG_ERROR << L"The mail's request cannot be written, error=" << request.LastError();
        return Status::OutOfMemory;
    }
    status = FirstFailure({data.Message()->AddString(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, text.c_str(),
                                                     static_cast<std::uint32_t>(text.size())),
                           data.Message()->AddInt(ID_DATA_PRODUCTADAPTER_JSON_FLAG, 0)});
    if (Status::Failed(status))
    {
        return status;
    }
    status = CVzRpcClientHelper::SendMail2ProductPlugin(pluginId, mailId, data);
    if (Status::Failed(status))
    {
        LOG_ERROR << L"executing command failed, err=" << status;
        return status;
    }
    const AgentStatus read = data.Get(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, reply);
    if (Status::Failed(read))
    {
        LOG_ERROR << L"get parameter ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING failed, err=" << read;
    }
    return status;
}

AgentStatus ExchangeJson(std::uint32_t pluginId, std::uint32_t mailId, const QxCommon::JsonDb& request,
                         QxCommon::JsonDb& reply)
{
    std::wstring text;
    const AgentStatus status = CVzRpcClientHelper::SendMail2ProductPlugin(pluginId, mailId, request, text);
    if (Status::Failed(status))
    {
        return status;
    }
    QxCommon::JsonDb answer; // what was read before a syntax error is no answer
    const std::uint32_t error = answer.ParseFromString(text);
    if (error == 0)
    {
        reply.Assign(answer);
    }
    LOG_INFO << L"after invoking ParseJsonString, ret=" << error;
    return status;
}
} // namespace

AgentStatus CVzRpcClientHelper::SendMail2ProductPlugin(std::uint32_t pluginId, std::uint32_t mailId,
                                                       CRpcDataHandleWrapper& data)
{
    FUNCTION_TRACE(L"CVzRpcClientHelper::SendMail2ProductPlugin");
    return Guarded(L"SendMail2ProductPlugin", [&] { return Exchange(pluginId, mailId, data); });
}

AgentStatus CVzRpcClientHelper::SendMail2ProductPlugin(std::uint32_t pluginId, std::uint32_t mailId,
                                                       const QxCommon::JsonDb& request, std::wstring& reply)
{
    FUNCTION_TRACE(L"CVzRpcClientHelper::SendMail2ProductPlugin");
    return Guarded(L"SendMail2ProductPlugin", [&] { return ExchangeText(pluginId, mailId, request, reply); });
}

AgentStatus CVzRpcClientHelper::SendMail2ProductPlugin(std::uint32_t pluginId, std::uint32_t mailId,
                                                       const QxCommon::JsonDb& request,
                                                       QxCommon::JsonDb& reply)
{
    FUNCTION_TRACE(L"CVzRpcClientHelper::SendMail2ProductPlugin");
    return Guarded(L"SendMail2ProductPlugin", [&] { return ExchangeJson(pluginId, mailId, request, reply); });
}
