#include "MessageBytes.h"

#include "MessageIds.h"
#include "RpcMsgBuffer.h"

#include <memory>
#include <new>

namespace SvcLink
{

std::span<const std::uint8_t> BytesOf(const CRpcDataHandle& handle)
{
    if (handle.pMessage == nullptr || !*handle.pMessage)
    {
        return {};
    }
    return (*handle.pMessage)->Bytes();
}

AgentStatus FillHandle(CRpcDataHandle& handle, std::span<const std::uint8_t> bytes)
{
    if (bytes.empty())
    {
        return Status::Success;
    }
    try
    {
        auto holder = std::make_unique<boost::shared_ptr<CRpcMsgBuffer>>(new CRpcMsgBuffer(RpcMessageId));
        const AgentStatus assigned =
            (*holder)->Assign(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
        if (Status::Failed(assigned))
        {
            return assigned;
        }
        handle.uReserved = 0;
        handle.uMessageId = (*holder)->Id();
        handle.pMessage = holder.release();
        return Status::Success;
    }
    catch (const std::bad_alloc&)
    {
        return Status::OutOfMemory;
    }
}

} // namespace SvcLink
