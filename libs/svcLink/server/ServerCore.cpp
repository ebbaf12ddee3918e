#include "ServerCore.h"

#include "DetachedThread.h"
#include "EndpointPipe.h"
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
    return frame.header.kind == FrameKind::Introduction && frame.message.empty() &&
           frame.header.TrackingId().size() == TrackingIdSize &&
           (acquaintance == Acquaintance::New || acquaintance == Acquaintance::Known);
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
    for (const auto& [id, connection] : m_clients)
    {
        connection->pipe.Cancel();
    }
    if (m_threads == 0)
    {
        m_listening = nullptr;
        return;
    }
    m_changed.Wait(hold, [this] { return m_clients.empty() && !m_listening; });
    m_turns.Quit();
    PostQueuedCompletionStatus(m_port.Get(), 0, 0, nullptr); // for the one at the port
    m_changed.Wait(hold, [this] { return m_threads == 0; });
}

std::shared_ptr<ServerConnection> ServerCore::Find(std::uint64_t clientId)
{
    const std::lock_guard hold(m_lock);
    const auto found = m_clients.find(clientId);
    return found == m_clients.end() ? nullptr : found->second;
}

bool ServerCore::AddThread()
{
    {
        const std::lock_guard hold(m_lock);
        ++m_threads;
    }
    if (StartDetachedThread([core = shared_from_this()] { core->RunThread(); }))
    {
        return true;
    }
    const std::lock_guard hold(m_lock);
    --m_threads;
    return false;
}

void ServerCore::RunThread()
{
    while (m_turns.Take() && ServeNext())
    {
    }
    const std::lock_guard hold(m_lock);
    --m_threads;
    m_changed.WakeAll();
}

// Waits at the port, leaves it and does what came. False if the thread is to end.
bool ServerCore::ServeNext()
{
    DWORD bytes = 0;
    ULONG_PTR key = 0;
    OVERLAPPED* overlapped = nullptr;
    BOOL done = FALSE;
    while (!(done = GetQueuedCompletionStatus(m_port.Get(), &bytes, &key, &overlapped, PatienceMs())) &&
           overlapped == nullptr)
    {
        ListenAgain();
    }
    const std::uint32_t error = done ? ERROR_SUCCESS : GetLastError();
    const bool quit = key == 0;
    if (!m_turns.Leave() && !quit)
    {
        AddThread();
    }
    if (!quit)
    {
        Dispatch(*reinterpret_cast<ServerConnection*>(key), bytes, error);
    }
    return !quit;
}

std::uint32_t ServerCore::PatienceMs()
{
    const std::lock_guard hold(m_lock);
    return m_listening ? INFINITE : ListenRetryMs;
}

void ServerCore::Dispatch(ServerConnection& connection, DWORD bytes, std::uint32_t error)
{
    const Connection held = std::move(connection.self);
    if (held->stage == ServerConnection::Stage::Listening)
    {
        OnClient(held, error);
    }
    else
    {
        OnFrame(held, bytes, error);
    }
}

std::uint32_t ServerCore::Listen(bool first)
{
    std::uint32_t error = ERROR_SUCCESS;
    VzCommon::FileHandle pipe = MakeEndpointPipe(m_name, first, error);
    if (!pipe)
    {
        return error;
    }
    auto connection = std::make_shared<ServerConnection>(std::move(pipe));
    if (CreateIoCompletionPort(connection->pipe.Get(), m_port.Get(),
                               reinterpret_cast<ULONG_PTR>(connection.get()), 0) == nullptr)
    {
        return GetLastError();
    }
    const std::lock_guard hold(m_lock);
    if (m_stopping)
    {
        return ERROR_OPERATION_ABORTED;
    }
    connection->self = connection;
    m_listening = connection;
    if (ConnectNamedPipe(connection->pipe.Get(), connection->pipe.ReaderOverlapped()))
    {
        return ERROR_SUCCESS;
    }
    error = GetLastError();
    if (error == ERROR_PIPE_CONNECTED)
    {
        // A client was faster; nothing will be reported for it.
        error = PostQueuedCompletionStatus(m_port.Get(), 0, reinterpret_cast<ULONG_PTR>(connection.get()),
                                           nullptr)
                    ? ERROR_SUCCESS
                    : GetLastError();
    }
    if (error != ERROR_SUCCESS && error != ERROR_IO_PENDING)
    {
        m_listening = nullptr;
        connection->self = nullptr;
        return error;
    }
    return ERROR_SUCCESS;
}

void ServerCore::ListenAgain()
{
    {
        const std::lock_guard hold(m_lock);
        if (m_stopping || m_listening)
        {
            return;
        }
    }
    // A failure is tried again by the next thread that finds nothing to do.
    static_cast<void>(Listen(false));
}

void ServerCore::OnClient(const Connection& connection, std::uint32_t error)
{
    bool accepted = false;
    {
        const std::lock_guard hold(m_lock);
        if (m_listening == connection)
        {
            m_listening = nullptr;
        }
        accepted = error == ERROR_SUCCESS && !m_stopping && m_clients.size() < MaxClients &&
                   connection->Identify(m_nextClient++);
        if (accepted)
        {
            connection->stage = ServerConnection::Stage::Introducing;
            m_clients.emplace(connection->client.id, connection);
        }
        m_changed.WakeAll();
    }
    ListenAgain();
    if (accepted)
    {
        ReadOn(connection);
    }
    else
    {
        connection->pipe.Close();
    }
}

void ServerCore::OnFrame(const Connection& connection, DWORD bytes, std::uint32_t error)
{
    Frame frame;
    if (connection->pipe.Take(bytes, error, frame) != ERROR_SUCCESS)
    {
        End(connection);
        return;
    }
    const bool serving = connection->stage == ServerConnection::Stage::Serving;
    if (serving && frame.header.kind == FrameKind::Call)
    {
        OnCall(connection, std::move(frame));
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
    if (isNew)
    {
        m_handler.OnConnected(connection->client);
    }
    static_cast<void>(connection->Send(welcome, {}, WriteLimit));
    ReadOn(connection);
}

void ServerCore::OnCall(const Connection& connection, Frame frame)
{
    if (!connection->BeginCall(frame.message.size()))
    {
        FrameHeader answer;
        answer.kind = FrameKind::Answer;
        answer.id = frame.header.id;
        answer.status = Status::FromSystemError(ERROR_BUSY);
        static_cast<void>(connection->Send(answer, {}, WriteLimit));
        ReadOn(connection);
        return;
    }
    // From here on another thread may be the reader. A client that is gone has its last calls done as well.
    ReadOn(connection);
    const std::size_t size = frame.message.size();
    RunCall(connection, std::move(frame));
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

void ServerCore::RunCall(const Connection& connection, Frame frame)
{
    FrameHeader header;
    header.kind = FrameKind::Answer;
    header.id = frame.header.id;
    Answer answer;
    try
    {
        Call call{frame.header.commandId, frame.header.second, frame.header.TrackingId(),
                  std::move(frame.message)};
        answer = m_handler.OnCall(connection->client, call);
        connection->pipe.Recycle(std::move(call.message));
    }
    catch (const std::bad_alloc&)
    {
        answer.status = Status::OutOfMemory;
    }
    header.status = answer.status;
    if (answer.message.size() > MaxMessageSize)
    {
        header.status = Status::FromSystemError(ERROR_INSUFFICIENT_BUFFER);
        answer.message.clear();
    }
    static_cast<void>(connection->Send(header, answer.message, WriteLimit));
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
        m_handler.OnDisconnected(connection->client);
    }
    const std::lock_guard hold(m_lock);
    m_clients.erase(connection->client.id);
    m_changed.WakeAll();
}

} // namespace SvcLink
