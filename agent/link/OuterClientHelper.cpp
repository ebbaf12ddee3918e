// The life of the connection: the client manager, made by the first helper and ended by the last one.
#include "OuterClientHelper.h"

#include "OuterClientLog.h"

#include <cstring>
#include <new>

#include "LinkLibrary.h"
#include "MessageIds.h"
#include "OuterClientCommand.h"
#include "OuterClientGuard.h"
#include "OuterClientState.h"

namespace
{
constexpr std::uint32_t busyEndpointTimeout = 1000; // milliseconds

// Whoever looks for the manager from now on finds this one, or the reason why there is none.
void PutManager(RpcManager& manager, AgentStatus noManagerStatus)
{
    const StateLockGuard lock(&g_stateLock);
    g_pRpcManager.swap(manager);
    g_noManagerStatus = noManagerStatus;
}

// Deliberate: a manager that a new one replaces is never deleted.
void KeepForEver(const RpcManager& manager)
{
    if (manager)
    {
        static_cast<void>(new (std::nothrow) RpcManager(manager)); // NOLINT(cppcoreguidelines-owning-memory)
    }
}

AgentStatus CreateManager(RpcManager& created)
{
    const AgentStatus loaded = LoadLinkLibrary();
    if (Status::Failed(loaded))
    {
        return loaded;
    }
    auto* const manager = new (std::nothrow) CRpcClientManager(nullptr, busyEndpointTimeout);
    if (manager == nullptr)
    {
        return Status::OutOfMemory;
    }
    created.reset(manager);
    return Status::Success;
}

std::string RegisteredTrackingId()
{
    const StateLockGuard lock(&g_stateLock);
    return g_strTrackingID;
}

void ForgetTrackingId(const std::string& trackingId)
{
    if (trackingId.empty())
    {
        return;
    }
    CVzRpcClientHelper::EraseAllCallbackOfTrackingID();
    const AgentStatus status = g_pRpcManager->DestroyTrackingID(trackingId.c_str());
    if (Status::Failed(status))
    {
        LOG_ERROR << L"DestroyRecordOfTrackingID fail, err=" << status;
    }
}

template <std::size_t Size>
bool IsWholeId(const char (&text)[Size])
{
    return strnlen(text, Size) == Size - 1;
}
} // namespace

std::uint32_t CVzRpcClientHelper::m_uiRefCnt = 0;

CVzRpcClientHelper::CVzRpcClientHelper(std::uint32_t /*uReserved*/, const std::wstring& product)
{
    FUNCTION_TRACE(L"CVzRpcClientHelper::CVzRpcClientHelper");
    {
        const RpcLockGuard lock = HoldRpcLock();
        ++m_uiRefCnt;
    }
    InitProduct(0, 0, product);
}

CVzRpcClientHelper::~CVzRpcClientHelper()
{
    FUNCTION_TRACE(L"CVzRpcClientHelper::~CVzRpcClientHelper");
    Guarded(L"~CVzRpcClientHelper",
            [this]
            {
                LeaveRegistration();
                return UninitProduct();
            });
    const RpcLockGuard lock = HoldRpcLock();
    --m_uiRefCnt;
}

AgentStatus CVzRpcClientHelper::InitProduct(std::uint32_t /*uFirst*/, std::uint32_t /*uSecond*/,
                                            const std::wstring& /*product*/)
{
    FUNCTION_TRACE(L"CVzRpcClientHelper::InitProduct");
    return Guarded(L"InitProduct", [] { return MakeManager(); });
}

AgentStatus CVzRpcClientHelper::MakeManager()
{
    const RpcLockGuard lock = HoldRpcLock();
    if (m_uiRefCnt == 0)
    {
        LOG_FATAL << L"reference count should not be zero or negative. m_uiRefCnt=" << m_uiRefCnt;
        return Status::Failure;
    }
    if (g_bProductInited)
    {
        LOG_WARN << L"The Product helper is already initialized";
        return Status::AlreadyDone;
    }
    RpcManager manager;
    const AgentStatus status = Guarded(L"InitProduct", [&manager] { return CreateManager(manager); });
    PutManager(manager, Status::Failed(status) ? status : Status::Failure);
    KeepForEver(manager); // the one of before
    if (Status::Failed(status))
    {
        return status;
    }
    g_bProductInited = true;
    return Status::Failure; // Deliberate: callers ignore it, and it is kept as it is.
}

AgentStatus CVzRpcClientHelper::UninitProduct()
{
    FUNCTION_TRACE(L"CVzRpcClientHelper::UninitProduct");
    return Guarded(L"UninitProduct", [] { return EndManager(); });
}

AgentStatus CVzRpcClientHelper::EndManager()
{
    const RpcLockGuard lock = HoldRpcLock();
    if (m_uiRefCnt != 1)
    {
        LOG_INFO << L"There are another instances still been held, m_uiRefCnt=" << m_uiRefCnt - 1;
        return Status::Success;
    }
    if (!g_bProductInited)
    {
        LOG_WARN << L"The Product helper is not initialized";
        return Status::Success;
    }
    Guarded(L"ForgetTrackingId",
            []
            {
                ForgetTrackingId(RegisteredTrackingId());
                return Status::Success;
            });
    const AgentStatus status = DestroyContext();
    if (Status::Failed(status))
    {
        LOG_ERROR << L"DestroyContext fail, err=" << status;
    }
    g_rpcContext = {};
    std::memset(g_rpcContextSpare, 0, sizeof(g_rpcContextSpare));
    RpcManager none;
    PutManager(none, Status::Failure);
    none.reset();
    g_bProductInited = false;
    if (Status::Failed(status))
    {
        LOG_ERROR << L"UninitProduct fail, err=" << status;
    }
    return status;
}

// A context that was never made stays away from the library.
AgentStatus CVzRpcClientHelper::DestroyContext()
{
    FUNCTION_TRACE(L"CVzRpcClientHelper::DestroyContext");
    constexpr char acceptedKind[] = "00000003";
    if (!IsWholeId(g_rpcContext.szId) || !IsWholeId(g_rpcContext.szSecondId))
    {
        return Status::InvalidParameter;
    }
    AgentStatus status = Status::WrongContext;
    if (std::strncmp(g_rpcContext.szId, acceptedKind, std::strlen(acceptedKind)) == 0)
    {
        status = g_pRpcManager->DestroyContext(g_rpcContext);
    }
    LOG_INFO << L"DestroyContext" << status;
    return status;
}

AgentStatus CVzRpcClientHelper::EraseAllCallbackOfTrackingID()
{
    FUNCTION_TRACE(L"CVzRpcClientHelper::EraseAllCallbackOfTrackingID");
    return Guarded(L"EraseAllCallbackOfTrackingID",
                   []
                   {
                       CRpcCommand command{};
                       command.uCommandId = RpcCommandId::EraseCallbacks;
                       command.uSecond = 1;
                       {
                           const StateLockGuard lock(&g_stateLock);
                           g_strTrackingID.copy(command.szTrackingId, sizeof(command.szTrackingId) - 1);
                       }
                       const CommandManager manager = CurrentManager();
                       CRpcCommandResult result{};
                       const AgentStatus status = Execute(manager, command, nullptr, result);
                       DestroyData(manager, result.data);
                       LOG_INFO << L"EraseAllCallbackOfTrackingID, result=" << status;
                       return status;
                   });
}
