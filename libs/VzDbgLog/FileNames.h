#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace VzDbgLog
{

struct Settings;

// The names of a log's files:
//
//   <base>_<module>_s<session>[_p<process>_<start>][.<slot>].<ext>            the file being written
//   <base>_<module>_s<session>[_p<process>_<start>][.<slot>].<closed>.<ext>   a full or elapsed one
//
// Slot 1 is not written out. Constant once made. Any thread.
class FileNames
{
public:
    explicit FileNames(const Settings& settings);

    [[nodiscard]] std::wstring Current(unsigned slot) const;

    // The name for a file closed at that local time. The attempts from 0 give different names.
    [[nodiscard]] std::wstring Rolled(unsigned slot, const SYSTEMTIME& closed, unsigned attempt) const;

    // Whether a log of the same base, module and extension, of whatever session and process, gives such
    // names.
    [[nodiscard]] bool IsFamily(std::wstring_view name) const;

    // A search pattern that finds the family, and perhaps more.
    [[nodiscard]] std::wstring FamilyPattern() const;

private:
    std::wstring family;    // <base>_<module>_s
    std::wstring stem;      // family, then session and process
    std::wstring extension; // with its dot
};

} // namespace VzDbgLog
