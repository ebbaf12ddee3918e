#include "JsonWriter.h"

#include "JsonQuote.h"

namespace SvcHost
{

void JsonObject::Name(std::wstring_view name)
{
    if (!m_members.empty())
    {
        m_members += L',';
    }
    AppendJsonQuoted(m_members, name);
    m_members += L':';
}

JsonObject& JsonObject::Text(std::wstring_view name, std::wstring_view text)
{
    Name(name);
    AppendJsonQuoted(m_members, text);
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
