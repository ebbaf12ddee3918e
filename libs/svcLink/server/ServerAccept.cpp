// How the server gets its clients.
#include "EndpointPipe.h"
#include "ServerCore.h"
#include "ServerLimits.h"

#include <algorithm>
#include <mutex>
#include <new>

namespace SvcLink
{

std::uint32_t ServerCore::MakeInstance(bool first, Connection& connection)
{
    std::uint32_t error = ERROR_SUCCESS;
    VzCommon::FileHandle pipe = MakeEndpointPipe(m_name, first, error);
    if (!pipe)
    {
        return error;
    }
    try
    {
        connection = std::make_shared<ServerConnection>(std::move(pipe));
    }
    catch (const std::bad_alloc&)
    {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    const auto key = reinterpret_cast<ULONG_PTR>(connection.get());
    return CreateIoCompletionPort(connection->pipe.Get(), m_port.Get(), key, 0) != nullptr ? ERROR_SUCCESS
                                                                                           : GetLastError();
}

std::uint32_t ServerCore::Listen(bool first)
{
    Connection connection;
    std::uint32_t error = MakeInstance(first, connection);
    if (error != ERROR_SUCCESS)
    {
        return error;
    }
    const std::lock_guard hold(m_lock);
    if (m_stopping)
    {
        return ERROR_OPERATION_ABORTED;
    }
    connection->self = connection;
    m_listening = connection;
    error = AwaitClient(connection);
    m_isPreparing = error != ERROR_SUCCESS && m_isPreparing; // its client may be there before this returns
    if (error != ERROR_SUCCESS)
    {
        m_listening = nullptr;
        connection->self = nullptr;
    }
    return error;
}

// Once it has succeeded there will be one report. m_lock is held.
std::uint32_t ServerCore::AwaitClient(const Connection& connection)
{
    MessagePipe& pipe = connection->pipe;
    std::uint32_t error = ERROR_NO_DATA;
    for (std::uint32_t i = 0; i < MaxHastyClients && error == ERROR_NO_DATA; ++i)
    {
        error = ConnectNamedPipe(pipe.Get(), pipe.ReaderOverlapped()) ? ERROR_SUCCESS : GetLastError();
        if (error == ERROR_NO_DATA)
        {
            // A client came and went before anybody waited for it. Nobody can come until that is done again.
            DisconnectNamedPipe(pipe.Get());
        }
    }
    if (error == ERROR_PIPE_CONNECTED)
    {
        // A client was faster; nothing will be reported for it.
        const auto key = reinterpret_cast<ULONG_PTR>(connection.get());
        error = PostQueuedCompletionStatus(m_port.Get(), 0, key, nullptr) ? ERROR_SUCCESS : GetLastError();
    }
    return error == ERROR_IO_PENDING ? ERROR_SUCCESS : error;
}

void ServerCore::CatchUp()
{
    {
        const std::lock_guard hold(m_lock);
        m_clients.CutOffUnknown();
        if (m_stopping || m_listening || m_isPreparing || Condition::Clock::now() < m_listenAt)
        {
            return;
        }
        m_isPreparing = true;
    }
    const std::uint32_t error = Listen(false);
    if (error == ERROR_SUCCESS)
    {
        return;
    }
    {
        const std::lock_guard hold(m_lock);
        m_isPreparing = false;
        const std::uint32_t pauseMs = error == ERROR_NO_DATA ? 0 : ListenRetryMs;
        m_listenAt = Condition::Clock::now() + std::chrono::milliseconds(pauseMs);
    }
    // Whoever is at the port went there when there was still an instance to wait for.
    PostQueuedCompletionStatus(m_port.Get(), 0, LookKey, nullptr);
}

// How long the port may be waited at until CatchUp is due.
DWORD ServerCore::PatienceMs()
{
    const std::lock_guard hold(m_lock);
    if (m_stopping)
    {
        return ListenCheckMs;
    }
    const ConnectionTable::Time now = Condition::Clock::now();
    const auto check = now + std::chrono::milliseconds(ListenCheckMs);
    const auto listen = m_listening || m_isPreparing ? check : m_listenAt;
    const auto left = std::min({check, listen, m_clients.NextCutOff()}) - now;
    return static_cast<DWORD>(
        std::max<long long>(std::chrono::ceil<std::chrono::milliseconds>(left).count(), 0));
}

void ServerCore::OnClient(const Connection& connection, std::uint32_t error)
{
    bool admitted = false;
    {
        const std::lock_guard hold(m_lock);
        if (m_listening == connection)
        {
            m_listening = nullptr;
        }
        admitted = error == ERROR_SUCCESS && Admit(connection);
        m_changed.WakeAll();
    }
    CatchUp();
    if (admitted)
    {
        ReadOn(connection);
    }
    else
    {
        connection->pipe.Close();
    }
}

// m_lock is held.
bool ServerCore::Admit(const Connection& connection)
{
    const ConnectionTable::Time now = Condition::Clock::now();
    const bool isFirst = m_clients.NextCutOff() == ConnectionTable::Time::max();
    if (m_stopping || !connection->Identify(m_nextClient++) || !m_clients.Add(connection, now))
    {
        return false;
    }
    connection->stage = ServerConnection::Stage::Introducing;
    if (isFirst)
    {
        // Whoever is at the port went there when there was nobody to cut off.
        PostQueuedCompletionStatus(m_port.Get(), 0, LookKey, nullptr);
    }
    return true;
}

// For a server without threads: takes the report of the instance itself, which was cancelled. m_lock is held.
void ServerCore::DropListening()
{
    if (!m_listening)
    {
        return;
    }
    DWORD bytes = 0;
    ULONG_PTR key = 0;
    OVERLAPPED* overlapped = nullptr;
    static_cast<void>(GetQueuedCompletionStatus(m_port.Get(), &bytes, &key, &overlapped, INFINITE));
    m_listening->self = nullptr;
    m_listening = nullptr;
}

} // namespace SvcLink
