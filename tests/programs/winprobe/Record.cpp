#include "Record.h"

#include <cstdlib>
#include <string_view>

#include <windows.h>

namespace
{
constexpr std::string_view Escaped = "\\\t\n\r";
constexpr std::string_view Letters = "\\tnr";

std::string Escape(const std::string& value)
{
    std::string escaped;
    for (const char c : value)
    {
        const size_t index = Escaped.find(c);
        escaped += index == std::string_view::npos ? std::string(1, c) : std::string{'\\', Letters[index]};
    }
    return escaped;
}

std::string Unescape(std::string_view value)
{
    std::string plain;
    for (size_t i = 0; i < value.size(); ++i)
    {
        const bool escape = value[i] == '\\' && i + 1 < value.size();
        const size_t index = escape ? Letters.find(value[i + 1]) : std::string_view::npos;
        plain += index == std::string_view::npos ? value[i] : Escaped[index];
        i += index == std::string_view::npos ? 0U : 1U;
    }
    return plain;
}
} // namespace

Record::Record(const std::string& line)
{
    std::string_view rest = line;
    while (!rest.empty())
    {
        const std::string_view field = rest.substr(0, rest.find('\t'));
        rest.remove_prefix(field.size() < rest.size() ? field.size() + 1 : rest.size());
        const size_t equals = field.find('=');
        if (equals != std::string_view::npos)
        {
            m_fields[std::string(field.substr(0, equals))] = Unescape(field.substr(equals + 1));
        }
    }
}

std::string Record::ToLine() const
{
    std::string line;
    for (const auto& [name, value] : m_fields)
    {
        line += (line.empty() ? "" : "\t") + name + "=" + Escape(value);
    }
    return line;
}

std::wstring Record::Text(const std::string& name) const
{
    const auto field = m_fields.find(name);
    const std::string& text = field != m_fields.end() ? field->second : std::string();
    const int size = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0'); // UTF-8 never takes fewer bytes than UTF-16 takes units
    wide.resize(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), size)));
    return wide;
}

std::uint64_t Record::Number(const std::string& name) const
{
    const auto field = m_fields.find(name);
    return field != m_fields.end() ? std::strtoull(field->second.c_str(), nullptr, 0) : 0;
}

Record& Record::Set(const std::string& name, const std::wstring& text)
{
    const int units = static_cast<int>(text.size());
    std::string narrow(text.size() * 3, '\0'); // the most that UTF-8 takes for a unit
    narrow.resize(static_cast<size_t>(WideCharToMultiByte(
        CP_UTF8, 0, text.data(), units, narrow.data(), static_cast<int>(narrow.size()), nullptr, nullptr)));
    m_fields[name] = narrow;
    return *this;
}

Record& Record::Set(const std::string& name, std::uint64_t number)
{
    m_fields[name] = std::to_string(number);
    return *this;
}
