#pragma once

#include <windows.h>

#include "QxCommon_JsonDb.h"
#include "VzComn_AgentStatus.h"

class CVzRpcClientHelper;

// This process as a client of the host service; null while not registered. Owned by RegisterRPC and
// UnRegisterRPC, on the main thread; senders test it first.
extern CVzRpcClientHelper* g_pClient;

// The front that the rest of the agent uses to reach the host service. Called on the main thread.

// Registers this process with the service. Success at once when that has been done already.
AgentStatus RegisterRPC();

// Ends the registration. Success when there is none.
AgentStatus UnRegisterRPC();

// Sends one event to the service's event center and waits for its answer, which is dropped.
AgentStatus SendEventToEventCenter(UINT eventId);

// Sends an event whose request is the caller's, and waits for its answer, which is dropped. Status::NoClient,
// and no line in the log, without a client.
AgentStatus SendToEventCenter(const QxCommon::JsonDb& request);

// Holds the place of the request that starts a scan.
bool SendMailForStartScan();

// Holds the place of the request for a scan's result.
bool SendMailForGetResult();
