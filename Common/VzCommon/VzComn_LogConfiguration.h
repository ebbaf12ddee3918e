#pragma once

#include "VzComn_Storage.h"

#include <VzDbgLog.h>

#include <cstdint>
#include <string>

namespace VzCommon
{

// What a log's configuration says.
struct LogConfiguration
{
    bool enabled = false;
    std::uint32_t levelMask = 0x100;
    VzDbgConfig record{}; // for the log writer
};

// Reads the section of this process's kind of session. What cannot be read keeps its default; behind the
// first failure of a store nothing more is read. False if the key names no store. Text that is too long for
// the record is cut.
bool ReadLogConfiguration(const Storage::Key& key, const std::wstring& moduleName,
                          LogConfiguration& configuration);

} // namespace VzCommon
