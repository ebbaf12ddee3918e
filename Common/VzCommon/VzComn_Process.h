#pragma once

#include "VzComn_AgentStatus.h"

#include <string>

namespace VzCommon::Process
{

// Starts a command line and does not wait for it. A failure is logged and comes back as the status of the
// system's error. Any thread.
AgentStatus InvokeProcessAsynch(const std::wstring& commandLine);

} // namespace VzCommon::Process
