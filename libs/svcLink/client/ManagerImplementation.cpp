#include "ManagerImplementation.h"

#include "MessageBytes.h"
#include "MessageIds.h"
#include "RpcDataHandleWrapper.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

using SvcLink::ClientConnection;

namespace
{

// Callers never release the messages of these two commands and of their results.
bool IsKept(std::uint32_t commandId)
{
    return commandId == RpcCommandId::RegisterProcess || commandId == RpcCommandId::UnregisterProcess;
}

// Valid as long as the text.
std::string_view TrackingIdOf(const char (&text)[RpcUuidSize])
{
    return {text, strnlen(text, RpcUuidSize - 1)};
}

} // namespace

CRpcClientManager::Implementation::Implementation(std::string managerId, std::uint32_t busyMs)
    : m_managerId(std::move(managerId)), m_busyMs(busyMs)
{
    AgentStatus status = Status::Success;
    static_cast<void>(Connect(status));
}

CRpcClientManager::Implementation::~Implementation()
{
    if (m_connection)
    {
        m_connection->Close();
    }
    m_callbacks->Clear();
    for (CRpcDataHandle& handle : m_kept)
    {
        CRpcDataHandleWrapper::Release(&handle);
    }
}

std::shared_ptr<ClientConnection> CRpcClientManager::Implementation::Connect(AgentStatus& status)
{
    const std::lock_guard hold(m_connectLock);
    if (m_connection && !m_connection->IsLost())
    {
        return m_connection;
    }
    m_connection = ClientConnection::Open(
        m_busyMs, m_managerId, m_wasConnected ? SvcLink::Acquaintance::Known : SvcLink::Acquaintance::New,
        m_callbacks, status);
    m_wasConnected = m_wasConnected || m_connection;
    return m_connection;
}

AgentStatus CRpcClientManager::Implementation::Execute(const CRpcCommand& command, Callback callback,
                                                       CRpcCommandResult& result)
{
    std::list<CRpcDataHandle> places; // for the two messages, had before there is more to lose
    AgentStatus status = Status::OutOfMemory;
    try
    {
        places.resize(IsKept(command.uCommandId) ? 2 : 0);
        status = Exchange(command, callback, result);
    }
    catch (const std::bad_alloc&)
    {
        if (places.empty())
        {
            Drop(command);
        }
    }
    // An unknown client sends the same command again through another manager.
    if (!places.empty() && status != Status::UnknownClient)
    {
        Keep(command.data, places);
        Keep(result.data, places);
    }
    return status;
}

void CRpcClientManager::Implementation::Drop(const CRpcCommand& command)
{
    if (IsKept(command.uCommandId))
    {
        CRpcDataHandle message = command.data;
        CRpcDataHandleWrapper::Release(&message);
    }
}

AgentStatus CRpcClientManager::Implementation::Exchange(const CRpcCommand& command, Callback callback,
                                                        CRpcCommandResult& result)
{
    if (command.uCommandId == RpcCommandId::EraseCallbacks)
    {
        m_callbacks->Remove(std::string(TrackingIdOf(command.szTrackingId)));
    }
    return callback != nullptr ? SendWithCallback(command, callback, result) : Send(command, result);
}

AgentStatus CRpcClientManager::Implementation::SendWithCallback(const CRpcCommand& command, Callback callback,
                                                                CRpcCommandResult& result)
{
    const std::string trackingId(TrackingIdOf(command.szTrackingId));
    // The service may call back before it has answered.
    const Callback previous = m_callbacks->Set(trackingId, callback);
    AgentStatus status = Status::OutOfMemory;
    try
    {
        status = Send(command, result);
    }
    catch (const std::bad_alloc&)
    {
        result.iStatus = status;
    }
    if (Status::Failed(status) && previous != nullptr)
    {
        m_callbacks->Set(trackingId, previous);
    }
    else if (Status::Failed(status))
    {
        m_callbacks->Remove(trackingId);
    }
    return status;
}

AgentStatus CRpcClientManager::Implementation::Send(const CRpcCommand& command, CRpcCommandResult& result)
{
    const std::span<const std::uint8_t> message = SvcLink::BytesOf(command.data);
    if (message.size() > SvcLink::MaxFrameMessage)
    {
        return Status::FromSystemError(ERROR_INSUFFICIENT_BUFFER);
    }
    AgentStatus status = Status::Success;
    const std::shared_ptr<ClientConnection> connection = Connect(status);
    if (!connection)
    {
        return status;
    }
    SvcLink::FrameHeader header;
    header.commandId = command.uCommandId;
    header.second = command.uSecond;
    header.SetTrackingId(TrackingIdOf(command.szTrackingId));
    SvcLink::Frame answer;
    status = connection->Call(header, message, answer);
    if (!Status::Failed(status))
    {
        // Callers of a failed command do not look at the result: it would stay behind.
        const AgentStatus filled = SvcLink::FillHandle(result.data, answer, connection->Memory());
        status = Status::Failed(filled) ? filled : status;
    }
    result.iStatus = status;
    result.uMessageId = result.data.uMessageId;
    return status;
}

void CRpcClientManager::Implementation::Forget(const char* trackingId)
{
    m_callbacks->Remove(std::string(trackingId, strnlen(trackingId, RpcUuidSize - 1)));
}

void CRpcClientManager::Implementation::Keep(const CRpcDataHandle& handle, std::list<CRpcDataHandle>& places)
{
    if (handle.pMessage == nullptr)
    {
        return;
    }
    const std::lock_guard hold(m_keptLock);
    const auto same = [&](const CRpcDataHandle& kept) { return kept.pMessage == handle.pMessage; };
    if (std::none_of(m_kept.begin(), m_kept.end(), same))
    {
        places.front() = handle;
        m_kept.splice(m_kept.end(), places, places.begin());
    }
}

void CRpcClientManager::Implementation::Disown(const CRpcDataHandle& handle)
{
    const std::lock_guard hold(m_keptLock);
    std::erase_if(m_kept, [&](const CRpcDataHandle& kept) { return kept.pMessage == handle.pMessage; });
}
