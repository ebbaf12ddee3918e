#pragma once

#include <cstddef>
#include <string_view>

namespace VzDbgLog
{

// The most bytes that one UTF-16 unit becomes in UTF-8.
inline constexpr std::size_t Utf8BytesPerUnit = 3;

// Writes the text as UTF-8 and returns the number of bytes. The target must have room for Utf8BytesPerUnit
// bytes a unit. A lone surrogate becomes U+FFFD.
std::size_t EncodeUtf8(std::wstring_view text, char* target);

} // namespace VzDbgLog
