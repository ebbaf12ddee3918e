#pragma once

#include <string>

#include "QxCommon_JsonDb.h"

// A record of the service's journal as one line of JSON. A request that is a JSON object stands in it as
// such; any other, and one that the journal had to cut, stays text. Changes the record.
[[nodiscard]] std::wstring RecordLine(QxCommon::JsonDb& record);
