#pragma once

#include <cstdint>

// The service's side of the measurement, in a process of its own.
namespace LinkService
{
inline constexpr std::uint32_t Echo = 1;
inline constexpr std::uint32_t TakeCallbacks = 2; // the caller will answer callbacks
inline constexpr std::uint32_t CallAllBack = 3; // calls those clients back; answers with their sum per second
inline constexpr std::uint32_t MemoryInKilobytes = 4; // answers with what this process has committed

// Until the process is ended.
int Serve();
} // namespace LinkService
