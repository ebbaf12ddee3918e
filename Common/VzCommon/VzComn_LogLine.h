#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace VzCommon
{

// What a line of the log is made of. The views live as long as the composing.
struct LogLineParts
{
    const SYSTEMTIME& time;
    std::uint32_t level;
    std::wstring_view moduleName;
    std::wstring_view message;
    const char* file; // a path, of which the last part is shown; may be null
    std::uint32_t line;
};

// Composes one line:
//
//     14/11/2026 02:59:37.123 0a3c:1f08 !!! <QxSessionAgent> : [ERROR] text - PowerEventHandler(153)
//
// Every line that is written costs its caller this, so it is put together by hand and not by a format. Any
// thread. Throws String::Exception if the file's name cannot be widened.
[[nodiscard]] std::wstring ComposeLogLine(const LogLineParts& parts);

} // namespace VzCommon
