#pragma once

#include <cstdint>

// A plug-in of the host service that times commands to its only client, from where the service gives them.
namespace CommandTimer
{
inline constexpr std::uint32_t PluginId = 0x4E0201;

// The request is two commands, a line each; they take turns in blocks. The answer is {"first", "second"}, the
// medians in nanoseconds.
inline constexpr std::uint32_t Compare = 1;
} // namespace CommandTimer
