#pragma once

#include "VzComn_Handle.h"

#include <cstdint>

namespace SvcLink
{

// Opens the host service's pipe; while all its instances are busy, waits up to the time. What it gives
// belongs to the process of the host service: a pipe of any other process is closed before anything is sent,
// with ERROR_ACCESS_DENIED. Empty on failure, with the error.
[[nodiscard]] VzCommon::FileHandle OpenEndpoint(std::uint32_t busyMs, std::uint32_t& error);

} // namespace SvcLink
