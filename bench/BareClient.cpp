#include "BareClient.h"

#include <windows.h>

#include <algorithm>

#include "MessageIds.h"
#include "RpcDataHandleWrapper.h"

namespace
{
constexpr std::uint32_t busyWait = 1000; // milliseconds

CRpcCommand Command(std::uint32_t id, std::uint32_t second)
{
    CRpcCommand command{};
    command.uCommandId = id;
    command.uSecond = second;
    return command;
}

std::int32_t IgnoreCommand(const char* /*trackingId*/, const CRpcCommandResult& /*in*/,
                           CRpcCommandResult& /*out*/)
{
    return 0;
}
} // namespace

BareClient::BareClient() : m_manager(std::make_unique<CRpcClientManager>(nullptr, busyWait)) {}

// The manager releases the messages of a registration, of its end, and of their answers.
bool BareClient::Register()
{
    constexpr wchar_t name[] = L"BareClient";
    CRpcCommand command = Command(RpcCommandId::RegisterProcess, 0);
    std::copy_n(m_manager->m_szTrackingId, RpcUuidSize, command.szTrackingId);
    CRpcDataHandleWrapper data;
    data.Create();
    data.Message()->AddString(ID_DATA_PRODUCTADAPTER_CLIENT_NAME, name, std::size(name) - 1);
    data.Message()->AddUInt(ID_DATA_PRODUCTADAPTER_PROCESS_ID, GetCurrentProcessId());
    data.CopyTo(command.data);
    return Execute(command, &IgnoreCommand);
}

bool BareClient::Unregister()
{
    CRpcCommand command = Command(RpcCommandId::UnregisterProcess, 1);
    m_manager->CreateUUID(command.szTrackingId, RpcUuidSize);
    CRpcDataHandleWrapper data;
    data.Create();
    data.Message()->AddUInt(ID_DATA_PRODUCTADAPTER_PROCESS_ID, GetCurrentProcessId());
    data.CopyTo(command.data);
    return Execute(command, nullptr);
}

bool BareClient::EraseCallbacks()
{
    CRpcCommand command = Command(RpcCommandId::EraseCallbacks, 1);
    std::copy_n(m_manager->m_szTrackingId, RpcUuidSize, command.szTrackingId);
    return Execute(command, nullptr);
}

bool BareClient::Mail(std::uint32_t pluginId, std::uint32_t mailId, const std::wstring& request)
{
    CRpcMsgBuffer inner(RpcMessageId);
    inner.AddString(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, request.c_str(),
                    static_cast<std::uint32_t>(request.size()));
    inner.AddInt(ID_DATA_PRODUCTADAPTER_JSON_FLAG, 0);
    inner.AddUInt(ID_DATA_PRODUCTADAPTER_PROCESS_ID, GetCurrentProcessId());
    inner.AddUInt(ID_DATA_PRODUCTADAPTER_THREAD_ID, GetCurrentThreadId());
    inner.AddUInt(ID_DATA_PRODUCTADAPTER_PLUGIN_ID, pluginId);
    inner.AddUInt(ID_DATA_PRODUCTADAPTER_MAIL_ID, mailId);
    CRpcDataHandleWrapper outer;
    outer.Create();
    outer.Message()->AddUInt(ID_DATA_PRODUCTADAPTER_PACKER_PARAM, inner.Id());
    outer.Message()->AddMessage(inner);
    CRpcCommand command = Command(RpcCommandId::Mail, 1);
    m_manager->CreateUUID(command.szTrackingId, RpcUuidSize);
    outer.CopyTo(command.data);
    CRpcCommandResult result{};
    const bool answered = m_manager->ExecuteCommand(command, nullptr, result) >= 0;
    m_manager->DestroyDataHandle(&command.data);
    m_manager->DestroyDataHandle(&result.data);
    return answered;
}

bool BareClient::Execute(const CRpcCommand& command, CRpcClientManager::Callback callback)
{
    CRpcCommandResult result{};
    return m_manager->ExecuteCommand(command, callback, result) >= 0;
}
