#include "ManagerImplementation.h"

#include "LibraryPin.h"
#include "MessageIds.h"
#include "RpcDataHandleWrapper.h"

#include <rpc.h>

#include <cstring>
#include <new>

namespace
{

// Writes a new id of 36 characters and a terminator.
AgentStatus WriteUuid(char* buffer)
{
    UUID uuid{};
    if (UuidCreate(&uuid) == RPC_S_UUID_NO_ADDRESS)
    {
        return Status::Failure;
    }
    RPC_CSTR text = nullptr;
    if (UuidToStringA(&uuid, &text) != RPC_S_OK)
    {
        return Status::OutOfMemory;
    }
    std::memcpy(buffer, text, RpcUuidSize);
    RpcStringFreeA(&text);
    return Status::Success;
}

} // namespace

CRpcClientManager::CRpcClientManager(void* /*pReserved*/, std::uint32_t uTimeout)
    : m_szTrackingId{}, m_pImplementation(nullptr)
{
    SvcLink::PinLibrary();
    if (Status::Failed(WriteUuid(m_szTrackingId)))
    {
        return;
    }
    try
    {
        m_pImplementation = new Implementation(m_szTrackingId, uTimeout);
    }
    catch (const std::bad_alloc&)
    {
        // Every command will say so.
    }
}

CRpcClientManager::~CRpcClientManager()
{
    delete m_pImplementation;
}

std::int32_t CRpcClientManager::ExecuteCommand(const CRpcCommand& command, Callback pCallback,
                                               CRpcCommandResult& result)
{
    if (m_pImplementation == nullptr)
    {
        Implementation::Drop(command);
        return Status::OutOfMemory;
    }
    return m_pImplementation->Execute(command, pCallback, result);
}

std::int32_t CRpcClientManager::CreateUUID(char* pszBuffer, std::uint32_t uSize)
{
    return pszBuffer != nullptr && uSize >= RpcUuidSize ? WriteUuid(pszBuffer) : Status::InvalidParameter;
}

std::int32_t CRpcClientManager::DestroyDataHandle(CRpcDataHandle* pHandle)
{
    if (pHandle != nullptr && m_pImplementation != nullptr)
    {
        m_pImplementation->Disown(*pHandle);
    }
    return CRpcDataHandleWrapper::Release(pHandle);
}

std::int32_t CRpcClientManager::DestroyTrackingID(const char* pszTrackingId)
{
    if (pszTrackingId == nullptr)
    {
        return Status::InvalidParameter;
    }
    if (m_pImplementation != nullptr)
    {
        m_pImplementation->Forget(pszTrackingId);
    }
    return Status::Success;
}

std::int32_t CRpcClientManager::DestroyContext(const CRpcContext& /*context*/)
{
    return Status::Success; // nothing hangs on a context
}
