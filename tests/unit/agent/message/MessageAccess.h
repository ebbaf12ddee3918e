#pragma once

#include "MessageModel.h"
#include "MsgBuffer.h"
#include "RpcMsgBuffer.h"

// The serialised form of a message, as the model has it.
inline MessageModel::Bytes BytesOf(const MsgBuffer& message)
{
    return {message.Bytes().begin(), message.Bytes().end()};
}

inline MessageModel::Bytes BytesOf(const CRpcMsgBuffer& message)
{
    return {message.Bytes().begin(), message.Bytes().end()};
}

inline void Assign(MsgBuffer& message, const MessageModel::Bytes& bytes)
{
    message.Assign(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}
