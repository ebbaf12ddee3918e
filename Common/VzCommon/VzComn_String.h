#pragma once

#include "VzComn_Exception.h"

#include <cstdarg>
#include <string>
#include <string_view>

namespace VzCommon::String
{

class Exception : public VzCommon::Exception::Base
{
public:
    using Base::Base;
};

// printf-style, with the wide rules of the system's C library: %s is wide. Throws Exception with code 6 when
// the buffer cannot be had, and with 160 for a format that the library refuses.
[[nodiscard]] std::wstring Format(const wchar_t* format, ...);

// One round of Format. The text starts empty; true leaves the finished text in it. False means that the text
// did not fit and has doubled its room, 256 characters at first: call again with the same arguments, which
// are copied and stay usable. Throws as Format does.
[[nodiscard]] bool FormatV(std::wstring& text, const wchar_t* format, va_list arguments);

// Bytes that are no UTF-8 become U+FFFD. Throws Exception with code 6 when the buffer cannot be had, and with
// 13 when the text changes its length between measuring and converting.
[[nodiscard]] std::wstring FromUtf8(std::string_view text);

// As FromUtf8, from the calling thread's ANSI code page.
[[nodiscard]] std::wstring FromAnsi(std::string_view text);

// An empty text stays empty.
[[nodiscard]] std::wstring EnsureBackslash(std::wstring text);

// These remove blanks only; tabs and line breaks stay.
[[nodiscard]] std::wstring TrimLeft(std::wstring text);
[[nodiscard]] std::wstring TrimRight(std::wstring text);
[[nodiscard]] std::wstring Trim(std::wstring text);

// Negative, 0 or positive, as _wcsicmp.
[[nodiscard]] int CompareNoCase(const std::wstring& left, const std::wstring& right);

} // namespace VzCommon::String
