#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace VzCommon::Storage
{

// The attributes of an element, in document order. All stand in one text: elements have many and short ones,
// and two strings for each would be most of what a tree costs.
class XmlAttributes
{
public:
    using Attribute = std::pair<std::wstring, std::wstring>; // name and value

    // Behind the others.
    void Add(std::wstring_view name, std::wstring_view value);

    // Replaces the value, or adds the attribute behind the others.
    void Set(std::wstring_view name, std::wstring_view value);

    void Clear() { packed.clear(); }

    // The value; nothing if there is none of that name. Good until the next change.
    [[nodiscard]] std::optional<std::wstring_view> Find(std::wstring_view name) const;

    [[nodiscard]] std::vector<Attribute> List() const;

private:
    struct Entry
    {
        std::wstring_view name;
        std::wstring_view value;
    };

    void AddLength(std::size_t length);
    [[nodiscard]] std::size_t LengthAt(std::size_t place) const;

    // The entry at a place, which moves on behind it.
    [[nodiscard]] Entry Next(std::size_t& place) const;

    std::wstring packed; // of each attribute the two lengths, the name and the value
};

} // namespace VzCommon::Storage
