#include "LinkTest.h"

#include "MessageIds.h"
#include "RpcMsgBuffer.h"

#include <cstring>

SvcLink::Answer EchoOf(const SvcLink::Call& call)
{
    return {success, {call.message.begin(), call.message.end()}};
}

void ScriptedHandler::OnConnected(const SvcLink::Client& client)
{
    if (onConnected)
    {
        onConnected(client);
    }
    const std::lock_guard hold(m_lock);
    m_connected.push_back(client);
}

SvcLink::Answer ScriptedHandler::OnCall(const SvcLink::Client& client, const SvcLink::Call& call)
{
    return onCall ? onCall(client, call) : EchoOf(call);
}

void ScriptedHandler::OnDisconnected(const SvcLink::Client& client)
{
    const std::lock_guard hold(m_lock);
    m_disconnected.push_back(client);
}

std::vector<SvcLink::Client> ScriptedHandler::Connected()
{
    const std::lock_guard hold(m_lock);
    return m_connected;
}

std::vector<SvcLink::Client> ScriptedHandler::Disconnected()
{
    const std::lock_guard hold(m_lock);
    return m_disconnected;
}

Manager Connect(std::uint32_t busyMs)
{
    return std::make_unique<CRpcClientManager>(nullptr, busyMs);
}

Bytes MessageOf(std::size_t size)
{
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
    {
        bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
    }
    const auto put = [&bytes](std::size_t at, std::uint32_t value)
    { std::memcpy(bytes.data() + at, &value, sizeof value); };
    put(0, RpcMessageId);
    put(4, 100);
    put(8, static_cast<std::uint32_t>(size - 12));
    if (size >= 24)
    {
        put(12, 0xE0100);
        put(16, 9);
        put(20, static_cast<std::uint32_t>(size - 24));
    }
    return bytes;
}

Bytes BytesBehind(const CRpcDataHandle& handle)
{
    if (handle.pMessage == nullptr)
    {
        return {};
    }
    const auto bytes = (*handle.pMessage)->Bytes();
    return {bytes.begin(), bytes.end()};
}

void PutMessage(CRpcDataHandle& handle, const Bytes& bytes)
{
    if (bytes.empty())
    {
        return;
    }
    auto* message = new CRpcMsgBuffer(RpcMessageId);
    EXPECT_GE(message->Assign(bytes.data(), static_cast<std::uint32_t>(bytes.size())), 0);
    handle.uMessageId = RpcMessageId;
    handle.pMessage = new boost::shared_ptr<CRpcMsgBuffer>(message);
}

Outcome Execute(CRpcClientManager& manager, std::uint32_t commandId, const Bytes& message,
                CRpcClientManager::Callback callback, const std::string& trackingId)
{
    CRpcCommand command{};
    command.uCommandId = commandId;
    command.uSecond = 1;
    trackingId.copy(command.szTrackingId, RpcUuidSize - 1);
    PutMessage(command.data, message);
    CRpcCommandResult result{};
    Outcome outcome;
    outcome.status = manager.ExecuteCommand(command, callback, result);
    outcome.message = BytesBehind(result.data);
    manager.DestroyDataHandle(&result.data);
    manager.DestroyDataHandle(&command.data);
    return outcome;
}

HANDLE WINAPI RefuseThread(SECURITY_ATTRIBUTES* /*security*/, SIZE_T /*stack*/,
                           LPTHREAD_START_ROUTINE /*start*/, void* /*parameter*/, DWORD /*flags*/,
                           DWORD* /*id*/)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

LinkTest::LinkTest()
{
    std::uint32_t error = 0;
    EXPECT_TRUE(mark.Set(error)) << error;
}

LinkTest::~LinkTest()
{
    server.Stop();
}

void LinkTest::StartServer()
{
    std::uint32_t error = 0;
    ASSERT_TRUE(server.Start(error)) << error;
}
