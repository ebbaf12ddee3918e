#include "ServerConnection.h"

#include "ServerLimits.h"
#include "VzComn_AgentStatus.h"

#include <mutex>
#include <new>

namespace SvcLink
{

namespace
{

constexpr AgentStatus statusGone = Status::FromSystemError(ERROR_NETWORK_UNREACHABLE);
constexpr AgentStatus statusTimedOut = Status::FromSystemError(ERROR_TIMEOUT);
constexpr AgentStatus statusTooLarge = Status::FromSystemError(ERROR_INSUFFICIENT_BUFFER);

} // namespace

bool ServerConnection::Identify(std::uint64_t id)
{
    ULONG processId = 0;
    DWORD sessionId = 0;
    if (!GetNamedPipeClientProcessId(pipe.Get(), &processId) || !ProcessIdToSessionId(processId, &sessionId))
    {
        return false;
    }
    client = {id, processId, sessionId};
    return true;
}

bool ServerConnection::BeginCall(std::size_t messageSize)
{
    if (!share->BeginCall(messageSize))
    {
        return false;
    }
    const std::lock_guard hold(m_lock);
    ++m_calls;
    return true;
}

bool ServerConnection::EndCall(std::size_t messageSize)
{
    share->EndCall(messageSize);
    const std::lock_guard hold(m_lock);
    --m_calls;
    return m_gone && m_calls == 0;
}

bool ServerConnection::MarkGone()
{
    const std::lock_guard hold(m_lock);
    m_gone = true;
    for (const auto& [id, waiting] : m_waiting)
    {
        waiting->wake.WakeOne();
    }
    return m_calls == 0;
}

std::uint32_t ServerConnection::Send(const FrameHeader& header, std::span<const std::uint8_t> message,
                                     std::chrono::milliseconds limit)
{
    const std::uint32_t error = pipe.Write(header, message, static_cast<DWORD>(limit.count()));
    if (error != ERROR_SUCCESS)
    {
        pipe.Cancel();
    }
    return error;
}

Answer ServerConnection::CallBack(const std::string& trackingId, std::span<const std::uint8_t> message,
                                  std::chrono::milliseconds limit)
{
    if (message.size() > MaxMessageSize)
    {
        return {statusTooLarge, {}};
    }
    const auto end = Condition::Clock::now() + limit;
    Waiting waiting;
    FrameHeader header;
    header.kind = FrameKind::CallBack;
    header.SetTrackingId(trackingId);
    try
    {
        const std::lock_guard hold(m_lock);
        header.id = m_nextCallback++;
        m_waiting.emplace(header.id, &waiting);
    }
    catch (const std::bad_alloc&)
    {
        return {Status::OutOfMemory, {}};
    }
    const std::uint32_t error = pipe.Write(header, message, static_cast<DWORD>(WriteLimit.count()));
    const bool sent = error == ERROR_SUCCESS;
    const bool isUnsent = error == ERROR_NOT_ENOUGH_MEMORY; // the connection is sound
    if (!sent && !isUnsent)
    {
        pipe.Cancel();
    }
    std::unique_lock hold(m_lock);
    const bool inTime = sent && waiting.wake.WaitUntil(hold, end, [&] { return waiting.answered || m_gone; });
    m_waiting.erase(header.id);
    hold.unlock();
    if (waiting.answered)
    {
        return AnswerOf(std::move(waiting.reply));
    }
    if (isUnsent)
    {
        return {Status::OutOfMemory, {}};
    }
    return {sent && !inTime ? statusTimedOut : statusGone, {}};
}

Answer ServerConnection::AnswerOf(Frame reply)
{
    try
    {
        const std::span<const std::uint8_t> message = reply.Message();
        Answer answer{reply.header.status, {message.begin(), message.end()}};
        pipe.Memory()->Give(std::move(reply.block));
        return answer;
    }
    catch (const std::bad_alloc&)
    {
        return {Status::OutOfMemory, {}};
    }
}

void ServerConnection::TakeReply(Frame frame)
{
    const std::lock_guard hold(m_lock);
    const auto found = m_waiting.find(frame.header.id);
    if (found == m_waiting.end() || found->second->answered)
    {
        return;
    }
    found->second->reply = std::move(frame);
    found->second->answered = true;
    found->second->wake.WakeOne();
}

} // namespace SvcLink
