#pragma once

#include <cstdint>

// The "action" of an engine command, as the service sends it.
namespace EngineAction
{
inline constexpr std::uint32_t Create = 0x1001;
inline constexpr std::uint32_t End = 0x1002;
inline constexpr std::uint32_t Perform = 0x2001;
inline constexpr std::uint32_t Signal = 0x2002;
inline constexpr std::uint32_t Query = 0x2003;
inline constexpr std::uint32_t QueryByKey = 0x2004;
inline constexpr std::uint32_t PutDetails = 0x2005;
inline constexpr std::uint32_t PerformFix = 0x4001;
inline constexpr std::uint32_t QueryFix = 0x4003;
inline constexpr std::uint32_t QueryFixDetail = 0x4004;
} // namespace EngineAction
