#include "MessageBytes.h"

#include "MessageIds.h"
#include "RpcMsgBuffer.h"

#include <boost/make_shared.hpp>

#include <memory>
#include <new>
#include <utility>

namespace SvcLink
{

namespace
{

using Holder = boost::shared_ptr<CRpcMsgBuffer>;

// A message of at least this part of its block is not copied.
constexpr std::size_t worthItsBlock = 4;

// A message that reads its bytes where they came, in the block of their frame.
class FramedMessage : public CRpcMsgBuffer
{
public:
    FramedMessage(FrameBlock block, std::shared_ptr<FrameMemory> memory)
        : CRpcMsgBuffer(RpcMessageId), m_block(std::move(block)), m_memory(std::move(memory))
    {
    }

    ~FramedMessage() override { m_memory->Give(std::move(m_block)); }

    FramedMessage(const FramedMessage&) = delete;
    FramedMessage& operator=(const FramedMessage&) = delete;

private:
    FrameBlock m_block;
    std::shared_ptr<FrameMemory> m_memory;
};

// Null if the bytes could not be taken over, with the status. May throw std::bad_alloc.
Holder MakeMessage(Frame& frame, const std::shared_ptr<FrameMemory>& memory, AgentStatus& status)
{
    const std::span<const std::uint8_t> bytes = frame.Message();
    const auto length = static_cast<std::uint32_t>(bytes.size());
    Holder message;
    if (bytes.size() >= frame.block.Size() / worthItsBlock)
    {
        message = boost::make_shared<FramedMessage>(std::move(frame.block), memory);
        status = message->Attach(bytes.data(), length);
    }
    else
    {
        message = boost::make_shared<CRpcMsgBuffer>(RpcMessageId);
        status = message->Assign(bytes.data(), length);
        memory->Give(std::move(frame.block));
    }
    return Status::Failed(status) ? nullptr : message;
}

} // namespace

std::span<const std::uint8_t> BytesOf(const CRpcDataHandle& handle)
{
    if (handle.pMessage == nullptr || !*handle.pMessage)
    {
        return {};
    }
    return (*handle.pMessage)->Bytes();
}

AgentStatus FillHandle(CRpcDataHandle& handle, Frame& frame, const std::shared_ptr<FrameMemory>& memory)
{
    if (frame.Message().empty())
    {
        memory->Give(std::move(frame.block));
        return Status::Success;
    }
    try
    {
        AgentStatus status = Status::Success;
        if (const Holder message = MakeMessage(frame, memory, status))
        {
            handle.pMessage = new Holder(message);
            handle.uReserved = 0;
            handle.uMessageId = message->Id();
        }
        return status;
    }
    catch (const std::bad_alloc&)
    {
        return Status::OutOfMemory;
    }
}

} // namespace SvcLink
