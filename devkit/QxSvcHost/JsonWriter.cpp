#include "JsonWriter.h"

namespace SvcHost
{
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
    if (unit < L' ')
    {
        AppendControl(out, unit);
        return;
    }
    out += unit;
}

void AppendQuoted(std::wstring& out, std::wstring_view text)
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
} // namespace

void JsonObject::Name(std::wstring_view name)
{
    if (!m_members.empty())
    {
        m_members += L',';
    }
    AppendQuoted(m_members, name);
    m_members += L':';
}

JsonObject& JsonObject::Text(std::wstring_view name, std::wstring_view text)
{
    Name(name);
    AppendQuoted(m_members, text);
    return *this;
}

JsonObject& JsonObject::Number(std::wstring_view name, std::uint64_t number)
{
    return Raw(name, std::to_wstring(number));
}

JsonObject& JsonObject::Signed(std::wstring_view name, std::int64_t number)
{
    return Raw(name, std::to_wstring(number));
}

JsonObject& JsonObject::Raw(std::wstring_view name, std::wstring_view json)
{
    Name(name);
    m_members += json;
    return *this;
}

std::wstring JsonObject::Finish() const
{
    return L'{' + m_members + L'}';
}

JsonArray& JsonArray::Add(std::wstring_view json)
{
    if (!m_elements.empty())
    {
        m_elements += L',';
    }
    m_elements += json;
    return *this;
}

std::wstring JsonArray::Finish() const
{
    return L'[' + m_elements + L']';
}

} // namespace SvcHost
