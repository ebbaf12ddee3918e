#pragma once

#include <cstdint>
#include <string>

#include "VzComn_AgentStatus.h"

// Starts and stops the product's host service, by way of the watchdog or directly. Every operation waits
// on its caller's thread, one second a round, at most seconds rounds a wait.
namespace QxCommon
{
AgentStatus StartServiceByWatchdog(std::uint32_t seconds);
AgentStatus StartServiceDirect(const std::wstring& name, bool waitRunning, std::uint32_t seconds);

// Success also when the watchdog is gone. Deliberate: force changes nothing.
AgentStatus StopServiceByWatchdog(bool force, std::uint32_t seconds);
AgentStatus StopServiceDirect(const std::wstring& name, std::uint32_t seconds);

// Starts this program again with the user's consent to full rights, without arguments.
void RelaunchElevated();
} // namespace QxCommon
