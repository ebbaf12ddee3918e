#include "LinkMessage.h"

#include "MessageIds.h"
#include "RpcMsgBuffer.h"

namespace SvcHost
{
namespace
{
bool Parse(std::span<const std::uint8_t> bytes, CRpcMsgBuffer& message)
{
    return !Status::Failed(message.Assign(bytes.data(), static_cast<std::uint32_t>(bytes.size())));
}

AgentStatus ReadText(const CRpcMsgBuffer& message, std::uint32_t id, std::wstring& text)
{
    std::uint32_t length = 0;
    const AgentStatus status = message.GetString(id, nullptr, 0, length);
    if (Status::Failed(status))
    {
        return status;
    }
    text.resize(length + std::size_t{1});
    const AgentStatus read = message.GetString(id, text.data(), length + 1, length);
    text.resize(length);
    return read;
}

bool AddText(CRpcMsgBuffer& message, std::uint32_t id, std::wstring_view text)
{
    return !Status::Failed(message.AddString(id, text.data(), static_cast<std::uint32_t>(text.size())));
}

std::vector<std::uint8_t> Serialised(const CRpcMsgBuffer& message)
{
    const std::span<const std::uint8_t> bytes = message.Bytes();
    return {bytes.begin(), bytes.end()};
}

void AddResult(CRpcMsgBuffer& message, AgentStatus result, const Drop& drop)
{
    if (!drop.result)
    {
        message.AddUInt(ID_DATA_PRODUCTADAPTER_COMM_MAILRESULT, static_cast<std::uint32_t>(result));
    }
}
} // namespace

AgentStatus ReadRegistration(std::span<const std::uint8_t> bytes, Registration& registration)
{
    CRpcMsgBuffer message(0);
    if (!Parse(bytes, message) ||
        Status::Failed(ReadText(message, ID_DATA_PRODUCTADAPTER_CLIENT_NAME, registration.clientName)) ||
        Status::Failed(message.GetUInt(ID_DATA_PRODUCTADAPTER_PROCESS_ID, registration.processId)))
    {
        return Status::InvalidParameter;
    }
    if (registration.clientName.size() > MaxClientName)
    {
        registration.clientName.resize(MaxClientName);
    }
    return Status::Success;
}

AgentStatus ReadProcessId(std::span<const std::uint8_t> bytes, std::uint32_t& processId)
{
    CRpcMsgBuffer message(0);
    const bool read = Parse(bytes, message) &&
                      !Status::Failed(message.GetUInt(ID_DATA_PRODUCTADAPTER_PROCESS_ID, processId));
    return read ? Status::Success : Status::InvalidParameter;
}

AgentStatus ReadMail(std::span<const std::uint8_t> bytes, Mail& mail)
{
    CRpcMsgBuffer outer(0);
    CRpcMsgBuffer inner(0);
    std::uint32_t index = 0;
    if (!Parse(bytes, outer) || Status::Failed(outer.GetUInt(ID_DATA_PRODUCTADAPTER_PACKER_PARAM, index)) ||
        Status::Failed(outer.GetMessage(index, inner)) ||
        Status::Failed(inner.GetUInt(ID_DATA_PRODUCTADAPTER_PLUGIN_ID, mail.pluginId)) ||
        Status::Failed(inner.GetUInt(ID_DATA_PRODUCTADAPTER_MAIL_ID, mail.mailId)))
    {
        return Status::InvalidParameter;
    }
    std::wstring request;
    const AgentStatus status = ReadText(inner, ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, request);
    if (!Status::Failed(status))
    {
        mail.request = std::move(request);
    }
    return status == Status::NotFound ? Status::Success : status;
}

std::vector<std::uint8_t> ResultAnswer(AgentStatus result, const Drop& drop)
{
    CRpcMsgBuffer message(RpcMessageId);
    AddResult(message, result, drop);
    return Serialised(message);
}

std::vector<std::uint8_t> MailAnswer(AgentStatus result, const std::optional<std::wstring>& json,
                                     const Drop& drop)
{
    CRpcMsgBuffer outer(RpcMessageId);
    AddResult(outer, result, drop);
    if (!drop.param)
    {
        outer.AddUInt(ID_DATA_PRODUCTADAPTER_PACKER_PARAM, RpcMessageId);
    }
    if (!drop.message)
    {
        CRpcMsgBuffer inner(RpcMessageId);
        if (json && !drop.json)
        {
            AddText(inner, ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, *json);
        }
        outer.AddMessage(inner);
    }
    return Serialised(outer);
}

std::vector<std::uint8_t> CommandMessage(std::wstring_view command)
{
    CRpcMsgBuffer message(RpcMessageId);
    AddText(message, ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, command);
    return Serialised(message);
}

AgentStatus ReadReply(std::span<const std::uint8_t> bytes, std::wstring& reply)
{
    CRpcMsgBuffer message(0);
    return Parse(bytes, message) ? ReadText(message, ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, reply)
                                 : Status::InvalidParameter;
}

} // namespace SvcHost
