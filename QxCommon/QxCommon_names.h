#pragma once

#include <string>

// The names that the programs of one product have to agree on. Each holds the product id.
namespace QxCommon
{

// The host service in the service control manager.
[[nodiscard]] std::wstring GetServiceName();

// Signalled to have the service started; made by the watchdog, which waits on it. As long as it exists, the
// watchdog runs.
[[nodiscard]] std::wstring GetStartRequestEventName();

// Signalled to have the service stopped; made by the watchdog, which waits on it.
[[nodiscard]] std::wstring GetStopRequestEventName();

// Signalled to end the product's programs of the session.
[[nodiscard]] std::wstring GetExitEventName();

} // namespace QxCommon
