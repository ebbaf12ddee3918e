#pragma once

#include <cstdint>
#include <string>

#include "QxCommon_names.h"
#include "VzComn_AgentStatus.h"

// Starts and stops the product's host service, by way of the watchdog or directly. Every operation waits on
// its caller's thread, one second a round, at most seconds rounds a wait, and returns the first failure as a
// status made from the system's error:
//
//     const AgentStatus status = QxCommon::StartServiceByWatchdog(120);
namespace QxCommon
{

// Waits for the watchdog to come up, asks it for the service and waits for that. Asks also for a service that
// runs already.
AgentStatus StartServiceByWatchdog(std::uint32_t seconds);

// Success also when the service runs already. Takes the right to start the service, which a plain user does
// not have: 0xE0FE0005 then.
AgentStatus StartServiceDirect(const std::wstring& name, bool waitRunning, std::uint32_t seconds);

// Success also when the watchdog is gone. Deliberate: force changes nothing.
AgentStatus StopServiceByWatchdog(bool force, std::uint32_t seconds);

// Success also when the service is stopped already, or does not exist.
AgentStatus StopServiceDirect(const std::wstring& name, std::uint32_t seconds);

// Starts this program again with the user's consent to full rights, without arguments. A refusal goes unseen.
void RelaunchElevated();

} // namespace QxCommon
