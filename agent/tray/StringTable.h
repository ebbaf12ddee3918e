#pragma once

#include "QxCommon_JsonDb.h"

#include <string>

// The texts of the user's language: an object of sections, each a map from names to texts.
class CStringTable
{
public:
    // Reads the file, plain or enciphered. False, and logged, if it is missing or cannot be opened. Of a
    // file that does not parse the table holds what stands before the error.
    [[nodiscard]] static bool ParseStringTable(QxCommon::JsonDb& table, const std::wstring& file);

    // The table of this process. Filled by LoadConfig on the main thread, and constant from then on.
    [[nodiscard]] static QxCommon::JsonDb& Instance();
};

// Empty if there is none.
[[nodiscard]] std::wstring GetLocalizedString(QxCommon::JsonDb& table, const std::wstring& section,
                                              const std::wstring& name);
