#pragma once

#include <string>

#include "QxCommon_JsonDb.h"

// A JSON value as it stands inside the quotes of the console's command line: compact, each quote escaped.
[[nodiscard]] std::wstring PopupArgument(const QxCommon::JsonDb& param);
