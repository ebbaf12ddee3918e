#pragma once

#include <cstdint>

namespace VzCommon
{

// The codes that this product asks for; IsOsVersion knows more.
namespace OsVersion
{
inline constexpr std::uint32_t Windows2000OrLater = 102;
inline constexpr std::uint32_t VistaOrLater = 106;
inline constexpr std::uint32_t Windows8OrLater = 111;
} // namespace OsVersion

// The Windows error of the last version query, 0 if it succeeded. Tells "no" from "unknown" behind a false of
// IsOsVersion.
extern std::uint32_t s_versionError;

// True if the running system fits the code. False for an unknown code, and when the version cannot be had.
// Any thread.
[[nodiscard]] bool IsOsVersion(std::uint32_t code);

// True on a 64-bit system with an x64 processor, whatever the width of this program. Any thread.
[[nodiscard]] bool IsNative64();

} // namespace VzCommon
