#pragma once

#include <cstdint>

// What LinkHost does with a command; everything else is echoed.
namespace HostCommand
{
inline constexpr std::uint32_t Hang = 0x9001;     // never answers
inline constexpr std::uint32_t CallBack = 0x9002; // calls the caller back under the command's tracking id
inline constexpr std::uint32_t Count = 0x9003;    // success plus the number of calls under way, with this one
inline constexpr std::uint32_t WhoCalls = 0x9004; // the system's process id of the caller, as message
} // namespace HostCommand
