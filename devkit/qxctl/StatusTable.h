#pragma once

#include <string>

#include "QxCommon_JsonDb.h"

// The service's status reply for people. Ends in a line feed.
[[nodiscard]] std::wstring StatusTable(const QxCommon::JsonDb& reply);
