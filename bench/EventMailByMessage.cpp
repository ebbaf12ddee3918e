#include "EventMail.h"

#include "MessageIds.h"
#include "RpcMsgBuffer.h"

#include <stdexcept>

namespace
{
void Require(AgentStatus status)
{
    if (Status::Failed(status))
    {
        throw std::runtime_error("the message cannot be made or read");
    }
}

std::uint32_t Number(const CRpcMsgBuffer& message, std::uint32_t id)
{
    std::uint32_t number = 0;
    Require(message.GetUInt(id, number));
    return number;
}

void Build(const EventMail& mail, CRpcMsgBuffer& outer)
{
    CRpcMsgBuffer inner(RpcMessageId);
    Require(inner.AddString(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING,
                            reinterpret_cast<const MsgChar*>(mail.text.data()),
                            static_cast<std::uint32_t>(mail.text.size())));
    Require(inner.AddInt(ID_DATA_PRODUCTADAPTER_JSON_FLAG, mail.jsonFlag));
    Require(inner.AddUInt(ID_DATA_PRODUCTADAPTER_PROCESS_ID, mail.processId));
    Require(inner.AddUInt(ID_DATA_PRODUCTADAPTER_THREAD_ID, mail.threadId));
    Require(inner.AddUInt(ID_DATA_PRODUCTADAPTER_PLUGIN_ID, mail.pluginId));
    Require(inner.AddUInt(ID_DATA_PRODUCTADAPTER_MAIL_ID, mail.mailId));
    Require(outer.AddUInt(ID_DATA_PRODUCTADAPTER_PACKER_PARAM, inner.Id()));
    Require(outer.AddMessage(inner));
}

void Read(const CRpcMsgBuffer& outer, EventMail& room)
{
    CRpcMsgBuffer inner(0);
    Require(outer.GetMessage(Number(outer, ID_DATA_PRODUCTADAPTER_PACKER_PARAM), inner));
    std::uint32_t length = 0;
    Require(inner.GetString(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, nullptr, 0, length));
    room.text.resize(length);
    Require(inner.GetString(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING,
                            reinterpret_cast<MsgChar*>(room.text.data()), length + 1, length));
    room.jsonFlag = static_cast<std::int32_t>(Number(inner, ID_DATA_PRODUCTADAPTER_JSON_FLAG));
    room.processId = Number(inner, ID_DATA_PRODUCTADAPTER_PROCESS_ID);
    room.threadId = Number(inner, ID_DATA_PRODUCTADAPTER_THREAD_ID);
    room.pluginId = Number(inner, ID_DATA_PRODUCTADAPTER_PLUGIN_ID);
    room.mailId = Number(inner, ID_DATA_PRODUCTADAPTER_MAIL_ID);
}
} // namespace

void CarryByMessage(const EventMail& mail, EventMail& room)
{
    CRpcMsgBuffer outer(RpcMessageId);
    Build(mail, outer);
    CRpcMsgBuffer received(0);
    Require(received.Assign(outer.Bytes().data(), static_cast<std::uint32_t>(outer.Bytes().size())));
    Read(received, room);
}
