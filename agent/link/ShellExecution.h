#pragma once

#include "QxCommon_JsonDb.h"
#include "VzComn_AgentStatus.h"

// Opens what a service command names, as the session's shell would, and does not wait for it: "file", then
// "action", "param", "windowHandle" and, if it is there, "showCmd". A failure is logged. Any thread.
// Deliberate: the shell may tell the user why it failed, and then returns when the user has answered.
AgentStatus ExecuteThroughShell(QxCommon::JsonDb& command);
