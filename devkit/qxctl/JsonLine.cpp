#include "JsonLine.h"

#include <algorithm>
#include <string_view>

#include "JsonQuote.h"
#include "QxCommon_utility.h"

std::wstring JsonLine(const QxCommon::JsonDb& json)
{
    constexpr wchar_t del = 0x7F; // the one control character that the tree's text has as it is
    const std::wstring text = QxCommon::TrimTrailingLineFeeds(json.ToFastString());
    std::wstring line;
    line.reserve(text.size());
    for (const wchar_t unit : text)
    {
        line.append(unit == del ? L"\\u007f" : std::wstring_view(&unit, 1));
    }
    return line;
}

std::optional<std::wstring> ReplyLine(const std::wstring& reply, QxCommon::JsonDb& parsed)
{
    if (parsed.ParseFromString(reply) != 0)
    {
        return std::nullopt;
    }
    const std::wstring line = QxCommon::TrimTrailingLineFeeds(reply);
    return std::any_of(line.begin(), line.end(), IsControl) ? JsonLine(parsed) : line;
}
