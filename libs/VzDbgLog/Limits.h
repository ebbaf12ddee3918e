#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>

namespace VzDbgLog
{

inline constexpr std::uint64_t MaxFileSize = 8ULL * 1024 * 1024; // no line takes a file beyond it
inline constexpr unsigned MaxClosedFiles = 20;                   // of one family in one folder
inline constexpr std::size_t MaxOpenLogs = 64;                   // of one process
inline constexpr unsigned MaxSlot = 999;                         // files of one name that are written at once
inline constexpr std::size_t MaxLineUnits = 1024ULL * 1024;      // a longer line is cut
inline constexpr std::size_t GatherSize = 64ULL * 1024;          // bytes in memory at most
inline constexpr DWORD GatherTime = 500;                         // milliseconds in memory at most
inline constexpr DWORD ReopenPause = 1000; // milliseconds between two tries to get a file

} // namespace VzDbgLog
