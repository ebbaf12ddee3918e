#pragma once

#include <string>
#include <string_view>

// A JSON string, its quotes included. Text may hold anything: control characters, which a terminal might
// obey, are escaped, and half a surrogate pair becomes U+FFFD.
[[nodiscard]] std::wstring JsonQuote(std::wstring_view text);

// The same behind what is there.
void AppendJsonQuoted(std::wstring& out, std::wstring_view text);

// True for the characters that a terminal might obey: below the blank, and from DEL to 0x9F.
[[nodiscard]] bool IsControl(wchar_t unit);
