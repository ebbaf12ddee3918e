#pragma once

#include "VzComn_LogFront.h"

#include <sstream>
#include <string>

// What the process-wide log and the channels have in common.
namespace VzCommon
{

inline constexpr wchar_t LogConfigurationFile[] = L"\\vzdbg.ini";

// The folder of the running executable. Empty if it cannot be told.
[[nodiscard]] std::wstring LogModuleFolder();

// Hands the stream's text to the log as it stands, "%" included.
void EmitTo(DebugLog& log, const LogLocation& location, const std::wostringstream& stream) noexcept;

} // namespace VzCommon
