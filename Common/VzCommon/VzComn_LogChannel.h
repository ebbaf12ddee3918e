#pragma once

#include "VzComn_LogFront.h"

// Two logs beside the process-wide one, for what must be told even when that one is off or not up yet. Any
// thread. Their lines pass whatever the configuration says and carry no level's prefix:
//
//     LOG_EVENT << L":  " << L"Crash catched!";
//
// A channel starts at its first line. It lives from before the program's entry point to the process's exit,
// and is silent outside of that time.
namespace VzCommon
{

// Names the folder of FeedbackError's vzdbg.ini and VzDbgLog.dll; empty if there is none.
using LogFolderProvider = std::wstring (*)();

// The provider is asked once, when the channel starts. Without a folder then, the channel stays silent for
// good.
void SetFeedbackErrorFolder(LogFolderProvider provider);

// Reads and writes beside the running executable.
void EmitEventLine(const LogLocation& location, const std::wostringstream& stream) noexcept;

// Reads and writes where the product is installed.
void EmitFeedbackErrorLine(const LogLocation& location, const std::wostringstream& stream) noexcept;

} // namespace VzCommon

#define LOG_EVENT VZ_LOG_STATEMENT(Forced, L"", ::VzCommon::EmitEventLine)
#define LOG_FEEDBACK_ERROR VZ_LOG_STATEMENT(Forced, L"", ::VzCommon::EmitFeedbackErrorLine)
