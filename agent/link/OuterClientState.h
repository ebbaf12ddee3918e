#pragma once

#include <boost/shared_ptr.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include <atomic>
#include <cstdint>
#include <string>

#include "OuterClientHelper.h"
#include "VzComn_Synchronize.h"

// The one connection of this process to the host service, shared by all helpers. What has a destructor lives
// as long as the process: a thread that reconnects may run on while the program ends.

using RpcLockGuard = boost::unique_lock<boost::recursive_mutex>;
using RpcManager = boost::shared_ptr<CRpcClientManager>;

using StateLockGuard = VzCommon::Synchronize::SingleLock;

// Guards the making and the end of the manager, which are round trips to the service.
extern boost::recursive_mutex& g_rpcLock;

// The only way to it. Does not throw, and polls: a thread that waits in the mutex itself makes an event, and
// where there is none, it and the owner that lets go throw.
[[nodiscard]] RpcLockGuard HoldRpcLock();

extern bool g_bProductInited; // guarded by g_rpcLock

// Guards the state below, for moments only: senders and the main thread do not wait for a round trip. Where
// both locks are held, this one was taken last.
extern VzCommon::Synchronize::CriticalSection& g_stateLock;

extern RpcManager& g_pRpcManager;     // written with both locks held; a caller keeps a reference of its own
extern AgentStatus g_noManagerStatus; // why there is no manager
extern std::string& g_strTrackingID;
extern bool g_bProcessRegistered;

// No lock guards what follows.

extern std::atomic<CVzRpcClientHelper::CommandFunction> g_fnCallback;

// Deliberate: zero all the time; the library accepts it at the head of every command.
extern CRpcContext g_rpcContext;
inline constexpr std::size_t RpcContextSpareSize = 876;
extern std::uint8_t g_rpcContextSpare[RpcContextSpareSize];

extern std::uint32_t g_nProductID; // for log lines; 0
