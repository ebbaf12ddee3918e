// Clients of the host service to be called back and to be killed: LinkClients.exe COUNT registers so many
// managers, each under a name of its own, and stays. To a command each answers with its tracking id. Exits at
// once, with the number of those that were registered, if not all of them were. Stands beside svcLink.dll
// under a file name of the product.
#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "MessageIds.h"
#include "RpcDataHandleWrapper.h"
#include "svcLink.h"

namespace
{
std::int32_t Reply(const char* trackingId, const CRpcCommandResult& /*in*/, CRpcCommandResult& out)
{
    const std::string narrow(trackingId);
    const std::wstring text = L"{\"client\":\"" + std::wstring(narrow.begin(), narrow.end()) + L"\"}\n";
    CRpcDataHandleWrapper reply;
    reply.Create();
    reply.Message()->AddString(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, text.c_str(),
                               static_cast<std::uint32_t>(text.size()));
    out.iStatus = Status::Success;
    out.uMessageId = RpcMessageId;
    reply.CopyTo(out.data);
    return Status::Success;
}

bool Register(int number)
{
    auto* manager = new CRpcClientManager(nullptr, 10000); // lives as long as the process
    CRpcCommand command{};
    command.uCommandId = RpcCommandId::RegisterProcess;
    std::memcpy(command.szTrackingId, manager->m_szTrackingId, RpcUuidSize);
    const std::wstring name = L"client " + std::to_wstring(number);
    CRpcDataHandleWrapper data;
    data.Create();
    data.Message()->AddString(ID_DATA_PRODUCTADAPTER_CLIENT_NAME, name.c_str(),
                              static_cast<std::uint32_t>(name.size()));
    data.Message()->AddUInt(ID_DATA_PRODUCTADAPTER_PROCESS_ID, GetCurrentProcessId());
    data.CopyTo(command.data);
    CRpcCommandResult result{};
    std::uint32_t value = 0;
    return !Status::Failed(manager->ExecuteCommand(command, &Reply, result)) &&
           !Status::Failed(CRpcDataHandleWrapper(result.data)
                               .Message()
                               ->GetUInt(ID_DATA_PRODUCTADAPTER_COMM_MAILRESULT, value)) &&
           !Status::Failed(Status::FromBits(value));
}
} // namespace

int main(int count, char** arguments)
{
    const int clients = count > 1 ? std::atoi(arguments[1]) : 1;
    for (int i = 0; i < clients; ++i)
    {
        if (!Register(i))
        {
            return i;
        }
    }
    Sleep(INFINITE);
    return 0;
}
