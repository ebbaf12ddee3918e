#pragma once

#include <boost/shared_ptr.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include <atomic>
#include <cstdint>
#include <string>

#include "OuterClientHelper.h"

// The one connection of this process to the host service, shared by all helpers. What has a destructor lives
// as long as the process: a thread that reconnects may run on while the program ends.

using RpcLockGuard = boost::unique_lock<boost::recursive_mutex>;
using RpcManager = boost::shared_ptr<CRpcClientManager>;

// Guards the state below, except for what is atomic or says otherwise.
extern boost::recursive_mutex& g_rpcLock;

extern bool g_bProductInited;
extern RpcManager& g_pRpcManager; // whoever calls it holds a reference of its own
extern std::string& g_strTrackingID;
extern AgentStatus g_noManagerStatus; // why there is no manager

// Deliberate: read and cleared without the lock as well.
extern bool g_bProcessRegistered;

extern std::atomic<CVzRpcClientHelper::CommandFunction> g_fnCallback;

// Deliberate: zero all the time; the library accepts it at the head of every command.
extern CRpcContext g_rpcContext;
inline constexpr std::size_t RpcContextSpareSize = 876;
extern std::uint8_t g_rpcContextSpare[RpcContextSpareSize];

extern std::uint32_t g_nProductID; // for log lines; 0
