#include "ServerCore.h"

#include "DetachedThread.h"
#include "Names.h"
#include "ServerLimits.h"
#include "VzComn_AgentStatus.h"

#include <mutex>
#include <new>
#include <utility>

namespace SvcLink
{

namespace
{

bool IsIntroduction(const Frame& frame)
{
    const std::uint32_t acquaintance = frame.header.second;
    return frame.header.kind == FrameKind::Introduction && frame.header.length == 0 &&
           frame.header.HasWholeTrackingId() &&
           (acquaintance == Acquaintance::New || acquaintance == Acquaintance::Known);
}

// False if the handler threw: there was no memory for what it does. That ends in its connection, not in the
// service.
template <typename Operation>
bool Tell(const Operation& operation)
{
    try
    {
        operation();
        return true;
    }
    catch (...)
    {
        return false;
    }
}

} // namespace

bool ServerCore::Start(std::uint32_t& error)
{
    m_name = EndpointName();
    m_port = VzCommon::KernelHandle(CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 0));
    error = m_port ? Listen(true) : GetLastError();
    if (error == ERROR_SUCCESS && !AddThread())
    {
        error = ERROR_NOT_ENOUGH_MEMORY;
        Stop();
    }
    return error == ERROR_SUCCESS;
}

void ServerCore::Stop()
{
    std::unique_lock hold(m_lock);
    m_stopping = true;
    if (m_listening)
    {
        m_listening->pipe.Cancel();
    }
    m_clients.CancelAll();
    if (m_threads == 0)
    {
        DropListening();
        return;
    }
    m_changed.Wait(hold, [this] { return m_clients.IsEmpty() && !m_listening; });
    m_turns.Quit();
    PostQueuedCompletionStatus(m_port.Get(), 0, QuitKey, nullptr); // for the one at the port
    while (!m_changed.WaitUntil(hold, Condition::Clock::now() + QuitAgain, [this] { return m_threads == 0; }))
    {
        PostQueuedCompletionStatus(m_port.Get(), 0, QuitKey, nullptr); // there may have been no memory for it
    }
    // A process that ends while a thread is still leaving it may not survive that.
    const VzCommon::KernelHandle last = std::move(m_lastLeaver);
    hold.unlock();
    WaitForSingleObject(last.Get(), ThreadEndMs);
}

std::shared_ptr<ServerConnection> ServerCore::Find(std::uint64_t clientId)
{
    const std::lock_guard hold(m_lock);
    return m_clients.Find(clientId);
}

bool ServerCore::AddThread()
{
    {
        const std::lock_guard hold(m_lock);
        ++m_threads;
    }
    const bool started = StartDetachedThread([core = shared_from_this()] { core->RunThread(); });
    if (!started)
    {
        const std::lock_guard hold(m_lock);
        --m_threads;
    }
    return started;
}

void ServerCore::RunThread()
{
    while (m_turns.Take() && ServeNext())
    {
    }
    TakeLeave();
    const std::lock_guard hold(m_lock);
    --m_threads;
    m_changed.WakeAll();
}

// Each thread that ends waits for the one before it, so that Stop has to wait for one only and no more than
// one handle of an ended thread is kept.
void ServerCore::TakeLeave()
{
    HANDLE self = nullptr;
    if (!DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &self, SYNCHRONIZE,
                         FALSE, 0))
    {
        return; // Then Stop does not wait for the very end of this thread.
    }
    VzCommon::KernelHandle previous(self);
    {
        const std::lock_guard hold(m_lock);
        std::swap(m_lastLeaver, previous);
    }
    WaitForSingleObject(previous.Get(), ThreadEndMs);
}

// Waits at the port, leaves it and does what came. False if the thread is to end.
bool ServerCore::ServeNext()
{
    PayReads();
    Report report;
    Await(report);
    const bool quit = report.key == QuitKey;
    const bool hasOthers = m_turns.Leave();
    if (!quit)
    {
        const bool alone = !hasOthers && !AddThread();
        // What is due by time is due also while there is always something to do.
        CatchUp();
        Dispatch(report, alone);
    }
    return !quit;
}

void ServerCore::Await(Report& report)
{
    for (;;)
    {
        OVERLAPPED* overlapped = nullptr;
        const BOOL done =
            GetQueuedCompletionStatus(m_port.Get(), &report.bytes, &report.key, &overlapped, PatienceMs());
        report.error = done ? ERROR_SUCCESS : GetLastError();
        if (done ? report.key != LookKey : overlapped != nullptr)
        {
            return;
        }
        CatchUp();
    }
}

void ServerCore::Dispatch(const Report& report, bool alone)
{
    const Connection held = std::move(reinterpret_cast<ServerConnection*>(report.key)->self);
    if (held->stage == ServerConnection::Stage::Listening)
    {
        OnClient(held, report.error);
    }
    else
    {
        OnFrame(held, report, alone);
    }
}

void ServerCore::OnFrame(const Connection& connection, const Report& report, bool alone)
{
    Frame frame;
    if (connection->pipe.Take(report.bytes, report.error, frame) != ERROR_SUCCESS)
    {
        End(connection);
        return;
    }
    const bool serving = connection->stage == ServerConnection::Stage::Serving;
    if (serving && frame.header.kind == FrameKind::Call)
    {
        OnCall(connection, std::move(frame), alone);
    }
    else if (serving && frame.header.kind == FrameKind::Reply)
    {
        connection->TakeReply(std::move(frame));
        ReadOn(connection);
    }
    else if (connection->stage == ServerConnection::Stage::Introducing && IsIntroduction(frame))
    {
        OnIntroduction(connection, frame);
    }
    else
    {
        End(connection);
    }
}

void ServerCore::OnIntroduction(const Connection& connection, const Frame& frame)
{
    FrameHeader welcome;
    welcome.kind = FrameKind::Welcome;
    welcome.id = frame.header.id;
    // A client is known as long as its connection lasts. One that says it is known had another connection, to
    // this process or to one before it.
    const bool isNew = frame.header.second == Acquaintance::New;
    welcome.status = isNew ? Status::Success : Status::UnknownClient;
    connection->stage = isNew ? ServerConnection::Stage::Serving : ServerConnection::Stage::Refused;
    static_cast<void>(connection->Send(welcome, {}));
    if (isNew)
    {
        const std::lock_guard hold(m_lock);
        m_clients.Welcome(connection->client.id);
    }
    if (isNew && !Tell([&] { m_handler.OnConnected(connection->client); }))
    {
        End(connection);
        return;
    }
    ReadOn(connection);
}

// Without another thread at the port a call that calls its client back would wait for itself: there is none
// for it then.
void ServerCore::OnCall(const Connection& connection, Frame frame, bool alone)
{
    if (alone || !connection->BeginCall(frame.header.length))
    {
        FrameHeader answer;
        answer.kind = FrameKind::Answer;
        answer.id = frame.header.id;
        answer.status = Status::FromSystemError(ERROR_BUSY);
        connection->pipe.Memory()->Give(
            std::move(frame.block)); // it counts for nobody while the client reads
        static_cast<void>(connection->Send(answer, {}, alone ? LoneWriteLimit : WriteLimit));
        ReadOn(connection);
        return;
    }
    // From here on another thread may be the reader. A client that is gone has its last calls done as well.
    OweRead(connection);
    const std::size_t size = frame.header.length;
    RunCall(connection, std::move(frame));
    PayRead(connection);
    if (connection->EndCall(size))
    {
        Forget(connection);
    }
}

void ServerCore::ReadOn(const Connection& connection)
{
    connection->self = connection;
    if (connection->pipe.BeginRead() != ERROR_SUCCESS)
    {
        connection->self = nullptr;
        End(connection);
    }
}

void ServerCore::OweRead(const Connection& connection)
{
    if (!m_owedReads.Add(connection))
    {
        ReadOn(connection);
    }
    else if (m_turns.IsAttended())
    {
        // The one at the port may have looked before there was this read.
        PayRead(connection);
    }
}

void ServerCore::PayRead(const Connection& connection)
{
    if (m_owedReads.Take(connection))
    {
        ReadOn(connection);
    }
}

void ServerCore::PayReads()
{
    while (const Connection connection = m_owedReads.TakeAny())
    {
        ReadOn(connection);
    }
}

void ServerCore::RunCall(const Connection& connection, Frame frame)
{
    FrameHeader header;
    header.kind = FrameKind::Answer;
    header.id = frame.header.id;
    Answer answer;
    try
    {
        answer = m_handler.OnCall(connection->client, {frame.header.commandId, frame.header.second,
                                                       frame.header.TrackingId(), frame.Message()});
    }
    catch (const std::bad_alloc&)
    {
        answer.status = Status::OutOfMemory;
    }
    catch (...)
    {
        answer.status = Status::Failure;
    }
    header.status = answer.status;
    if (answer.message.size() > MaxMessageSize)
    {
        header.status = Status::FromSystemError(ERROR_INSUFFICIENT_BUFFER);
        answer.message.clear();
    }
    connection->pipe.Memory()->Give(std::move(frame.block));
    static_cast<void>(connection->Send(header, answer.message));
}

void ServerCore::End(const Connection& connection)
{
    connection->pipe.Close();
    if (connection->MarkGone())
    {
        Forget(connection);
    }
}

void ServerCore::Forget(const Connection& connection)
{
    const ServerConnection::Stage stage = connection->stage;
    if (stage == ServerConnection::Stage::Serving)
    {
        static_cast<void>(Tell([&] { m_handler.OnDisconnected(connection->client); }));
    }
    const std::lock_guard hold(m_lock);
    m_clients.Remove(*connection);
    m_changed.WakeAll();
}

} // namespace SvcLink
