#pragma once

#include <string>
#include <string_view>

// What crosses the edge between the JSON tree, whose text is UTF-8, and the product, whose text is wide.
namespace QxCommon::JsonText
{

// True if the text is well-formed UTF-8 throughout, so that its way through ToWide and ToUtf8 changes
// nothing.
[[nodiscard]] bool IsUtf8(std::string_view text);

// These convert by length, NULs included. What is malformed becomes U+FFFD; a text beyond the platform's
// limit becomes empty.
[[nodiscard]] std::wstring ToWide(const std::string& text);
[[nodiscard]] std::string ToUtf8(std::wstring_view text);

} // namespace QxCommon::JsonText
