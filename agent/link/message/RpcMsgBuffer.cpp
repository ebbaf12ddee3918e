#include "RpcMsgBuffer.h"

#include <cstring>
#include <limits>
#include <new>

namespace
{
template <typename Operation>
AgentStatus WithoutThrowing(const Operation& operation)
{
    try
    {
        return operation();
    }
    catch (const std::bad_alloc&)
    {
        return Status::OutOfMemory;
    }
}

AgentStatus Append(MsgBuffer& message, MsgItem item, const void* value)
{
    return WithoutThrowing(
        [&]
        {
            message.Append(item, value);
            return Status::Success;
        });
}
} // namespace

CRpcMsgBuffer::CRpcMsgBuffer(std::uint32_t id) : m_message(id) {}

CRpcMsgBuffer::CRpcMsgBuffer(const CRpcMsgBuffer& other)
{
    const std::span<const std::uint8_t> bytes = other.Bytes();
    m_message.Assign(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

CRpcMsgBuffer::~CRpcMsgBuffer() = default;

AgentStatus CRpcMsgBuffer::AddInt(std::uint32_t id, std::int32_t value)
{
    return Append(m_message, {id, MsgType::Int, sizeof value, 0}, &value);
}

AgentStatus CRpcMsgBuffer::AddUInt(std::uint32_t id, std::uint32_t value)
{
    return Append(m_message, {id, MsgType::UInt, sizeof value, 0}, &value);
}

AgentStatus CRpcMsgBuffer::AddString(std::uint32_t id, const MsgChar* text, std::uint32_t characters)
{
    constexpr auto unit = static_cast<std::uint32_t>(sizeof(MsgChar));
    if (characters > std::numeric_limits<std::uint32_t>::max() / unit - 1)
    {
        return Status::OutOfMemory; // Its length in bytes has no number.
    }
    return Append(m_message, {id, MsgType::WideString, (characters + 1) * unit, 0}, text);
}

AgentStatus CRpcMsgBuffer::AddMessage(const CRpcMsgBuffer& other)
{
    return WithoutThrowing(
        [&]
        {
            m_message.AppendMessage(other.m_message);
            return Status::Success;
        });
}

AgentStatus CRpcMsgBuffer::Assign(const std::uint8_t* bytes, std::uint32_t length)
{
    return WithoutThrowing(
        [&]
        {
            m_message.Assign(bytes, length);
            return Status::Success;
        });
}

AgentStatus CRpcMsgBuffer::Attach(const std::uint8_t* bytes, std::uint32_t length)
{
    return WithoutThrowing(
        [&]
        {
            m_message.Attach(bytes, length);
            return Status::Success;
        });
}

AgentStatus CRpcMsgBuffer::GetUInt(std::uint32_t id, std::uint32_t& out) const
{
    return m_message.GetUInt(id, out);
}

AgentStatus CRpcMsgBuffer::GetString(std::uint32_t id, MsgChar* buffer, std::uint32_t capacity,
                                     std::uint32_t& length) const
{
    return m_message.GetString(id, buffer, capacity, length);
}

AgentStatus CRpcMsgBuffer::GetMessage(std::uint32_t id, CRpcMsgBuffer& out) const
{
    return WithoutThrowing([&] { return m_message.GetMessage(id, out.m_message); });
}

std::span<const std::uint8_t> CRpcMsgBuffer::Bytes() const
{
    return m_message.Bytes();
}

std::uint32_t CRpcMsgBuffer::Id() const
{
    std::uint32_t id = 0;
    std::memcpy(&id, Bytes().data(), sizeof id);
    return id;
}
