#include "ClientConnection.h"

#include "CallbackRun.h"
#include "DetachedThread.h"
#include "Endpoint.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <utility>

namespace SvcLink
{

namespace
{

// The service's transport welcomes a client at once; one that does not is hung.
constexpr DWORD welcomeLimitMs = 5000;

// For a reply to a service that does not read any more.
constexpr DWORD replyLimitMs = 10000;

// The listener leaves the reading to callers as long as one answer follows the other this closely. A callback
// that comes just then waits for no longer than this.
constexpr std::chrono::milliseconds quietTime{1};

} // namespace

std::shared_ptr<ClientConnection> ClientConnection::Open(std::uint32_t busyMs, const std::string& managerId,
                                                         std::uint32_t acquaintance,
                                                         std::shared_ptr<CallbackTable> callbacks,
                                                         AgentStatus& status)
{
    std::uint32_t error = ERROR_SUCCESS;
    VzCommon::FileHandle pipe = OpenEndpoint(busyMs, error);
    if (!pipe)
    {
        status = Status::FromSystemError(error);
        return nullptr;
    }
    auto connection = std::make_shared<ClientConnection>(std::move(pipe), std::move(callbacks));
    status = connection->Introduce(managerId, acquaintance);
    if (!Status::Failed(status) && !connection->StartListening())
    {
        status = Status::OutOfMemory;
    }
    return Status::Failed(status) ? nullptr : connection;
}

ClientConnection::ClientConnection(VzCommon::FileHandle pipe, std::shared_ptr<CallbackTable> callbacks)
    : m_pipe(std::move(pipe), MessagePipe::Notify::Event), m_callbacks(std::move(callbacks)),
      m_workers(std::make_shared<WorkerPool>())
{
}

AgentStatus ClientConnection::Introduce(const std::string& managerId, std::uint32_t acquaintance)
{
    FrameHeader header;
    header.kind = FrameKind::Introduction;
    header.second = acquaintance;
    header.SetTrackingId(managerId);
    Frame welcome;
    std::uint32_t error = m_pipe.Write(header, {}, welcomeLimitMs);
    error = error == ERROR_SUCCESS ? m_pipe.BeginRead() : error;
    error = error == ERROR_SUCCESS ? m_pipe.FinishRead(welcome, welcomeLimitMs) : error;
    if (error == ERROR_SUCCESS && welcome.header.kind != FrameKind::Welcome)
    {
        error = ERROR_INVALID_DATA;
    }
    return error == ERROR_SUCCESS ? welcome.header.status : Status::FromSystemError(error);
}

AgentStatus ClientConnection::Call(FrameHeader header, std::span<const std::uint8_t> message, Frame& answer)
{
    Waiting waiting;
    {
        const std::lock_guard hold(m_lock);
        if (m_lostBy != ERROR_SUCCESS)
        {
            return Status::FromSystemError(m_lostBy);
        }
        waiting.id = m_nextCall++;
        m_waiting.push_back(&waiting);
        header.id = waiting.id;
    }
    const std::uint32_t error = m_pipe.Write(header, message, INFINITE);
    const bool isUnsent = error == ERROR_NOT_ENOUGH_MEMORY; // nothing has been sent, the connection is sound
    if (error != ERROR_SUCCESS && !isUnsent)
    {
        LoseNow(error);
        m_pipe.Cancel();
    }
    std::unique_lock hold(m_lock);
    if (!isUnsent)
    {
        WaitForAnswer(hold, waiting);
    }
    std::erase(m_waiting, &waiting);
    PassOn();
    if (isUnsent)
    {
        return Status::OutOfMemory;
    }
    if (!waiting.answered)
    {
        return Status::FromSystemError(m_lostBy);
    }
    answer = std::move(waiting.answer);
    return answer.header.status;
}

void ClientConnection::WaitForAnswer(std::unique_lock<SlimLock>& hold, Waiting& waiting)
{
    const auto isOver = [&] { return waiting.answered || m_lostBy != ERROR_SUCCESS; };
    waiting.waits = true;
    while (!isOver())
    {
        waiting.wake.Wait(hold, [&] { return isOver() || !m_isRead; });
        if (!isOver())
        {
            ReadOne(hold);
        }
    }
}

void ClientConnection::PassOn()
{
    if (m_isRead)
    {
        return;
    }
    for (Waiting* const waiting : m_waiting)
    {
        if (waiting->waits && !waiting->answered)
        {
            waiting->wake.WakeOne();
            return;
        }
    }
    if (m_listenerSleeps)
    {
        m_listener.WakeOne();
    }
}

bool ClientConnection::IsLost()
{
    const std::lock_guard hold(m_lock);
    return m_lostBy != ERROR_SUCCESS;
}

void ClientConnection::Close()
{
    m_workers->Stop();
    m_pipe.Cancel();
    LoseNow(ERROR_OPERATION_ABORTED); // the listener does the rest
}

bool ClientConnection::StartListening()
{
    return StartDetachedThread([self = shared_from_this()] { self->Listen(); });
}

void ClientConnection::Listen()
{
    {
        std::unique_lock hold(m_lock);
        while (m_lostBy == ERROR_SUCCESS)
        {
            WaitForQuiet(hold);
            if (m_lostBy == ERROR_SUCCESS)
            {
                ReadOne(hold);
            }
        }
        m_listener.Wait(hold, [this] { return !m_isRead; });
    }
    m_pipe.Close();
    m_workers->Stop();
}

// Until nobody reads and no caller is about to, or the connection is lost.
void ClientConnection::WaitForQuiet(std::unique_lock<SlimLock>& hold)
{
    while (m_lostBy == ERROR_SUCCESS)
    {
        const auto quietFrom = m_lastAnswer + quietTime;
        if (!m_isRead && Condition::Clock::now() >= quietFrom)
        {
            return;
        }
        PassOn();
        // In a row of calls the callers need not wake this thread after each.
        if (m_listener.WaitUntil(hold, quietFrom, [this] { return m_lostBy != ERROR_SUCCESS; }))
        {
            return;
        }
        if (m_isRead)
        {
            m_listenerSleeps = true;
            m_listener.Wait(hold, [this] { return m_lostBy != ERROR_SUCCESS || !m_isRead; });
            m_listenerSleeps = false;
        }
    }
}

// Makes the calling thread the reader for one frame.
void ClientConnection::ReadOne(std::unique_lock<SlimLock>& hold)
{
    m_isRead = true;
    hold.unlock();
    Frame frame;
    const std::uint32_t error = TakeOne(frame);
    hold.lock();
    m_isRead = false;
    if (error != ERROR_SUCCESS)
    {
        Lose(error);
    }
    else if (frame.header.kind == FrameKind::Answer)
    {
        TakeAnswer(std::move(frame));
    }
    if (m_lostBy != ERROR_SUCCESS)
    {
        m_listener.WakeOne();
    }
}

// Takes an answer, or hands a callback on.
std::uint32_t ClientConnection::TakeOne(Frame& frame)
{
    std::uint32_t error = m_pipe.BeginRead();
    error = error == ERROR_SUCCESS ? m_pipe.FinishRead(frame, INFINITE) : error;
    if (error != ERROR_SUCCESS || frame.header.kind == FrameKind::Answer)
    {
        return error;
    }
    if (frame.header.kind != FrameKind::CallBack)
    {
        return ERROR_INVALID_DATA;
    }
    try
    {
        TakeCallback(std::move(frame));
        return ERROR_SUCCESS;
    }
    catch (const std::bad_alloc&)
    {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

void ClientConnection::TakeAnswer(Frame frame)
{
    const auto found = std::find_if(m_waiting.begin(), m_waiting.end(),
                                    [&](const Waiting* waiting)
                                    { return waiting->id == frame.header.id && !waiting->answered; });
    if (found != m_waiting.end())
    {
        (*found)->answer = std::move(frame);
        (*found)->answered = true;
        m_lastAnswer = Condition::Clock::now();
        (*found)->wake.WakeOne();
    }
}

void ClientConnection::TakeCallback(Frame frame)
{
    const std::uint64_t id = frame.header.id;
    auto shared = std::make_shared<Frame>(std::move(frame));
    if (!m_workers->Submit([self = shared_from_this(), shared] { self->RunCallback(*shared); }))
    {
        Reply(id, Status::FromSystemError(ERROR_BUSY), {});
    }
}

void ClientConnection::RunCallback(Frame& frame)
{
    const std::uint64_t id = frame.header.id;
    try
    {
        const CallbackTable::Callback callback = m_callbacks->Find(frame.header.TrackingId());
        if (callback == nullptr)
        {
            Reply(id, Status::FromSystemError(ERROR_NOT_FOUND), {});
            return;
        }
        const CallbackRun run(callback, frame, Memory());
        Reply(id, run.Result(), run.Message());
    }
    catch (const std::bad_alloc&)
    {
        Reply(id, Status::OutOfMemory, {});
    }
}

void ClientConnection::Reply(std::uint64_t id, AgentStatus status, std::span<const std::uint8_t> message)
{
    FrameHeader header;
    header.kind = FrameKind::Reply;
    header.id = id;
    header.status = status;
    // A service that is gone needs none; one that does not take it is noticed by the reader or not at all.
    static_cast<void>(m_pipe.Write(header, message, replyLimitMs));
}

void ClientConnection::LoseNow(std::uint32_t error)
{
    const std::lock_guard hold(m_lock);
    Lose(error);
}

void ClientConnection::Lose(std::uint32_t error)
{
    m_lostBy = m_lostBy != ERROR_SUCCESS ? m_lostBy : error;
    for (Waiting* const waiting : m_waiting)
    {
        waiting->wake.WakeOne();
    }
    m_listener.WakeOne();
}

} // namespace SvcLink
