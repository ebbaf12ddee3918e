#include "CallbackRun.h"

#include "MessageBytes.h"
#include "RpcDataHandleWrapper.h"

#include <string>

namespace SvcLink
{

CallbackRun::CallbackRun(CRpcClientManager::Callback callback, Frame& frame,
                         const std::shared_ptr<FrameMemory>& memory) noexcept
    : m_status(FillHandle(m_in.data, frame, memory))
{
    if (Status::Failed(m_status))
    {
        return;
    }
    m_in.iStatus = frame.header.status;
    m_in.uMessageId = m_in.data.uMessageId;
    try
    {
        m_status = callback(frame.header.TrackingId().c_str(), m_in, m_out);
    }
    catch (...)
    {
        m_status = Status::Failure; // a callback's exception ends in its call
    }
    m_message = BytesOf(m_out.data);
    if (m_message.size() > MaxFrameMessage)
    {
        m_message = {};
        m_status = Status::FromSystemError(ERROR_INSUFFICIENT_BUFFER);
    }
}

CallbackRun::~CallbackRun()
{
    CRpcDataHandleWrapper::Release(&m_in.data);
    CRpcDataHandleWrapper::Release(&m_out.data);
}

} // namespace SvcLink
