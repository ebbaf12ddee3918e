#pragma once

#include "MsgBuffer.h"

// A message with typed access whose failures are status codes: nothing is thrown but by the constructors, and
// a lack of memory is Status::OutOfMemory. Belongs to one thread at a time.
//
//     CRpcMsgBuffer message(RpcMessageId);
//     message.AddUInt(ID_DATA_PRODUCTADAPTER_PROCESS_ID, GetCurrentProcessId());
class CRpcMsgBuffer
{
public:
    // An empty message.
    explicit CRpcMsgBuffer(std::uint32_t id);

    // A deep copy.
    CRpcMsgBuffer(const CRpcMsgBuffer& other);
    CRpcMsgBuffer& operator=(const CRpcMsgBuffer&) = delete;

    virtual ~CRpcMsgBuffer();

    AgentStatus AddInt(std::uint32_t id, std::int32_t value);
    AgentStatus AddUInt(std::uint32_t id, std::uint32_t value);

    // characters does not count a terminator; the text needs none.
    AgentStatus AddString(std::uint32_t id, const MsgChar* text, std::uint32_t characters);

    // Nests the message under its own id.
    AgentStatus AddMessage(const CRpcMsgBuffer& other);

    // Replaces the content by a serialised message, of which it takes a copy.
    AgentStatus Assign(const std::uint8_t* bytes, std::uint32_t length);

    // The same without a copy: the bytes must stay until the next write.
    AgentStatus Attach(const std::uint8_t* bytes, std::uint32_t length);

    [[nodiscard]] AgentStatus GetUInt(std::uint32_t id, std::uint32_t& out) const;
    [[nodiscard]] AgentStatus GetString(std::uint32_t id, MsgChar* buffer, std::uint32_t capacity,
                                        std::uint32_t& length) const;
    [[nodiscard]] AgentStatus GetMessage(std::uint32_t id, CRpcMsgBuffer& out) const;

    // The serialised message; valid until the next write.
    [[nodiscard]] std::span<const std::uint8_t> Bytes() const;

    // The id in the head.
    [[nodiscard]] std::uint32_t Id() const;

private:
    MsgBuffer m_message;
};
