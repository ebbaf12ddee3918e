// A client to be killed: LinkClient.exe connects, has the service call it back, and stays in the callback.
#include "HostCommands.h"

#include "svcLink.h"

#include <windows.h>

#include <cstring>

namespace
{

std::int32_t Stay(const char* /*trackingId*/, const CRpcCommandResult& /*in*/, CRpcCommandResult& /*out*/)
{
    Sleep(INFINITE);
    return 0;
}

} // namespace

int main()
{
    auto* manager = new CRpcClientManager(nullptr, 1000);
    CRpcCommand command{};
    command.uCommandId = HostCommand::CallBack;
    std::memcpy(command.szTrackingId, manager->m_szTrackingId, RpcUuidSize);
    CRpcCommandResult result{};
    return manager->ExecuteCommand(command, &Stay, result);
}
