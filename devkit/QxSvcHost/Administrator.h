#pragma once

#include <cstdint>

namespace SvcHost
{

// True if the process runs with an administrator's full rights. Any thread.
[[nodiscard]] bool IsAdministrator(std::uint32_t processId);

} // namespace SvcHost
