#pragma once

#include <cstdint>

// The error reporting that a version of Windows has. The numbers are those of the log.
enum class ReportMode : std::uint32_t
{
    Wer = 1,      // wer.dll
    Faultrep = 2, // Faultrep.dll
    None = 3,
};

// Decides by the version that the system tells this program, and logs that version and the decision.
[[nodiscard]] ReportMode GetReportMode();
