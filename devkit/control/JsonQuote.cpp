#include "JsonQuote.h"

namespace
{
constexpr wchar_t replacement = 0xFFFD;

bool IsHighSurrogate(wchar_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(wchar_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void AppendControl(std::wstring& out, wchar_t unit)
{
    constexpr std::wstring_view digits = L"0123456789abcdef";
    out += L"\\u00";
    out += digits[unit >> 4U];
    out += digits[unit & 0xFU];
}

void AppendUnit(std::wstring& out, wchar_t unit)
{
    switch (unit)
    {
    case L'"': out += L"\\\""; return;
    case L'\\': out += L"\\\\"; return;
    case L'\n': out += L"\\n"; return;
    case L'\r': out += L"\\r"; return;
    case L'\t': out += L"\\t"; return;
    default: break;
    }
    if (IsControl(unit))
    {
        AppendControl(out, unit);
        return;
    }
    out += unit;
}
} // namespace

std::wstring JsonQuote(std::wstring_view text)
{
    std::wstring out;
    out.reserve(text.size() + text.size() / 8 + 2);
    AppendJsonQuoted(out, text);
    return out;
}

void AppendJsonQuoted(std::wstring& out, std::wstring_view text)
{
    out += L'"';
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const wchar_t unit = text[i];
        if (IsHighSurrogate(unit) && i + 1 < text.size() && IsLowSurrogate(text[i + 1]))
        {
            out.append(text.substr(i, 2));
            ++i;
            continue;
        }
        AppendUnit(out, IsHighSurrogate(unit) || IsLowSurrogate(unit) ? replacement : unit);
    }
    out += L'"';
}

bool IsControl(wchar_t unit)
{
    return unit < L' ' || (unit >= 0x7F && unit <= 0x9F);
}
