#include "RpcDataHandleWrapper.h"

#include "MessageIds.h"

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include <new>
#include <vector>

namespace
{
using Holder = boost::shared_ptr<CRpcMsgBuffer>;

// Longer texts are read into memory from the heap.
constexpr std::uint32_t stackCharacters = 1024;

// A new message, made from an id or from another message, in a new holder; null if there is no memory.
template <typename Argument>
Holder* MakeHolder(const Argument& argument)
{
    try
    {
        return new Holder(boost::make_shared<CRpcMsgBuffer>(argument));
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

// Weak. Null if there is none.
CRpcMsgBuffer* MessageOf(const CRpcDataHandle& handle)
{
    return handle.pMessage == nullptr ? nullptr : handle.pMessage->get();
}

// Reads the string of that length into the zeroed buffer, which has room for a terminator beyond it.
AgentStatus ReadText(const CRpcMsgBuffer& message, std::uint32_t id, MsgChar* buffer, std::uint32_t length,
                     CRpcDataHandleWrapper::Text& out)
{
    const AgentStatus status = message.GetString(id, buffer, length + 1, length);
    out.assign(buffer);
    return status;
}
} // namespace

CRpcDataHandleWrapper::CRpcDataHandleWrapper(const CRpcDataHandle& handle)
{
    m_handle.uMessageId = handle.uMessageId;
    if (handle.pMessage != nullptr)
    {
        m_handle.pMessage = new (std::nothrow) Holder(*handle.pMessage);
    }
}

CRpcDataHandleWrapper::~CRpcDataHandleWrapper()
{
    Release(&m_handle);
}

AgentStatus CRpcDataHandleWrapper::Create()
{
    Release(&m_handle);
    m_handle = {0, RpcMessageId, MakeHolder(RpcMessageId)};
    return m_handle.pMessage == nullptr ? Status::Failure : Status::Success;
}

AgentStatus CRpcDataHandleWrapper::CopyTo(CRpcDataHandle& target) const
{
    // First of all, as target may be the handle of this wrapper.
    const CRpcMsgBuffer* message = Message();
    const std::uint32_t id = m_handle.uMessageId;
    Holder* copy = message == nullptr ? nullptr : MakeHolder(*message);
    const bool failed = message != nullptr && copy == nullptr;

    Release(&target);
    target.uReserved = 0;
    if (copy != nullptr)
    {
        target.uMessageId = id;
        target.pMessage = copy;
    }
    return failed ? Status::Failure : Status::Success;
}

AgentStatus CRpcDataHandleWrapper::Get(std::uint32_t id, Text& out) const
{
    const CRpcMsgBuffer* message = Message();
    std::uint32_t length = 0;
    const AgentStatus status =
        message == nullptr ? Status::Failure : message->GetString(id, nullptr, 0, length);
    out.clear();
    if (length == 0)
    {
        return status;
    }
    try
    {
        if (length <= stackCharacters)
        {
            MsgChar buffer[stackCharacters + 1]{};
            return ReadText(*message, id, buffer, length, out);
        }
        std::vector<MsgChar> buffer(std::size_t{length} + 1);
        return ReadText(*message, id, buffer.data(), length, out);
    }
    catch (const std::bad_alloc&)
    {
        return Status::OutOfMemory;
    }
}

AgentStatus CRpcDataHandleWrapper::ExtractMessage(std::uint32_t index, CRpcDataHandle& target,
                                                  const CRpcDataHandle& holder)
{
    // Keeps the message alive where both handles are one.
    const Holder source = holder.pMessage == nullptr ? Holder() : *holder.pMessage;
    Release(&target);
    if (source == nullptr)
    {
        return Status::Failure;
    }
    Holder* made = MakeHolder(index);
    target.uReserved = 0;
    target.uMessageId = index;
    target.pMessage = made;
    return made == nullptr ? Status::Failure : source->GetMessage(index, **made);
}

AgentStatus CRpcDataHandleWrapper::Release(CRpcDataHandle* handle)
{
    if (handle != nullptr)
    {
        delete handle->pMessage;
        handle->pMessage = nullptr;
    }
    return Status::Success;
}

CRpcMsgBuffer* CRpcDataHandleWrapper::Message() const
{
    return MessageOf(m_handle);
}
