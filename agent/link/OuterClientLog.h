#pragma once

// The log of the client helper, included before anything else that logs: the statements of all its files
// carry the class's tag and name one source.
#define LOG_CLASS_TAG L"OuterClientHelper"

#include "VzComn_LogFront.h"

#undef VZ_LOG_FILE
#define VZ_LOG_FILE (::VzCommon::LogDetail::sourceName<"OuterClientHelper.cpp">)
