#pragma once

#include <cstdint>

namespace SvcLink
{

// When a process was created, as a FILETIME; with its id it names the process for ever. 0 if the process is
// gone or may not be asked.
[[nodiscard]] std::uint64_t ProcessCreationTime(std::uint32_t processId);

} // namespace SvcLink
