#pragma once

#include <cstdint>

namespace SvcLink
{

// True for the process that the service control manager names for the product's host service, and for one
// that an administrator has entered in the product's registry key as the host in the foreground.
[[nodiscard]] bool IsHostProcess(std::uint32_t processId);

} // namespace SvcLink
