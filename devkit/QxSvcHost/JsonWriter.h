#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace SvcHost
{

// Composes one JSON object, member by member, in the order of the calls:
//
//     JsonObject reply;
//     reply.Number(L"handle", handle).Text(L"name", name);
//     return reply.Finish();
//
// Text may hold anything: what JSON cannot carry is escaped, and half a surrogate pair becomes U+FFFD.
class JsonObject
{
public:
    JsonObject& Text(std::wstring_view name, std::wstring_view text);
    JsonObject& Number(std::wstring_view name, std::uint64_t number);
    JsonObject& Signed(std::wstring_view name, std::int64_t number);

    // json is JSON already.
    JsonObject& Raw(std::wstring_view name, std::wstring_view json);

    // The object so far, closed.
    [[nodiscard]] std::wstring Finish() const;

private:
    void Name(std::wstring_view name);

    std::wstring m_members;
};

// The same for an array of finished values.
class JsonArray
{
public:
    JsonArray& Add(std::wstring_view json);

    [[nodiscard]] std::wstring Finish() const;

    // Of the text so far, in characters.
    [[nodiscard]] std::size_t Length() const { return m_elements.size(); }

private:
    std::wstring m_elements;
};

} // namespace SvcHost
