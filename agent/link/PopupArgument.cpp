#include "PopupArgument.h"

#include "QxCommon_utility.h"
#include "VzComn_String.h"

namespace
{
// Deliberate: a backslash that stands before a quote already is left alone.
std::wstring EscapeQuotes(const std::wstring& text)
{
    std::wstring escaped;
    escaped.reserve(text.size());
    for (const wchar_t character : text)
    {
        if (character == L'"')
        {
            escaped += L'\\';
        }
        escaped += character;
    }
    return escaped;
}
} // namespace

std::wstring PopupArgument(const QxCommon::JsonDb& param)
{
    const std::wstring json = QxCommon::TrimTrailingLineFeeds(param.ToFastString());
    return VzCommon::String::Trim(EscapeQuotes(json));
}
