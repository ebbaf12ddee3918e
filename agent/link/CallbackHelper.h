#pragma once

#include "QxCommon_JsonDb.h"
#include "VzComn_AgentStatus.h"

// The timers of the reporters are armed. Set by the service's commands on the link's threads, cleared on the
// main thread when the session leaves.
extern bool g_bActiveWindowTimerSet;
extern bool g_bInputInfoTimerSet;

// Executes one command of the host service inside the session and stores the outcome in it under "retCode".
// Runs on threads of the link's library.
AgentStatus OnServiceCommand(QxCommon::JsonDb& command);
