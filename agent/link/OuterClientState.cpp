#include "OuterClientState.h"

namespace
{
constexpr DWORD pollInterval = 1; // milliseconds
}

boost::recursive_mutex& g_rpcLock = *new boost::recursive_mutex;

RpcLockGuard HoldRpcLock()
{
    RpcLockGuard lock(g_rpcLock, boost::try_to_lock);
    while (!lock.owns_lock())
    {
        Sleep(pollInterval);
        static_cast<void>(lock.try_lock());
    }
    return lock;
}

bool g_bProductInited = false;

VzCommon::Synchronize::CriticalSection& g_stateLock = *new VzCommon::Synchronize::CriticalSection;

RpcManager& g_pRpcManager = *new RpcManager;
AgentStatus g_noManagerStatus = Status::Failure;
std::string& g_strTrackingID = *new std::string;
bool g_bProcessRegistered = false;

std::atomic<CVzRpcClientHelper::CommandFunction> g_fnCallback{nullptr};

CRpcContext g_rpcContext{};
std::uint8_t g_rpcContextSpare[RpcContextSpareSize]{};

std::uint32_t g_nProductID = 0;
