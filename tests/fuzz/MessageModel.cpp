#include "MessageModel.h"

#include <algorithm>

namespace MessageModel
{

Bytes Number(std::uint32_t number)
{
    Bytes bytes;
    for (unsigned shift = 0; shift < 32; shift += 8)
    {
        bytes.push_back(static_cast<std::uint8_t>(number >> shift & 0xFF));
    }
    return bytes;
}

std::uint32_t NumberAt(std::span<const std::uint8_t> bytes, std::size_t position)
{
    std::uint32_t number = 0;
    for (unsigned i = 0; i < 4; ++i)
    {
        number |= std::uint32_t{bytes[position + i]} << 8 * i;
    }
    return number;
}

Bytes Joined(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (const Bytes& part : parts)
    {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

Bytes Head(std::uint32_t id, std::uint32_t type, std::uint32_t length)
{
    return Joined({Number(id), Number(type), Number(length)});
}

Bytes ItemBytes(const Item& item)
{
    return Joined({Head(item.id, item.type, static_cast<std::uint32_t>(item.value.size())), item.value});
}

Bytes MessageBytes(std::uint32_t id, const std::vector<Item>& items)
{
    Bytes values;
    for (const Item& item : items)
    {
        const Bytes bytes = ItemBytes(item);
        values.insert(values.end(), bytes.begin(), bytes.end());
    }
    return ItemBytes({id, 100, values});
}

Item UInt(std::uint32_t id, std::uint32_t value)
{
    return {id, 7, Number(value)};
}

Item Int(std::uint32_t id, std::int32_t value)
{
    return {id, 6, Number(static_cast<std::uint32_t>(value))};
}

Item Text(std::uint32_t id, const std::u16string& text)
{
    Bytes value;
    for (const char16_t unit : text + u'\0')
    {
        value.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        value.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    return {id, 2, value};
}

Item Nested(std::uint32_t id, const std::vector<Item>& items)
{
    const Bytes bytes = MessageBytes(id, items);
    return {id, 100, Bytes(bytes.begin() + 12, bytes.end())};
}

std::optional<std::vector<Item>> Parse(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() < 12)
    {
        return std::nullopt;
    }
    std::vector<Item> items;
    std::size_t position = 12;
    while (position < bytes.size())
    {
        if (bytes.size() - position < 12)
        {
            return std::nullopt;
        }
        const std::uint32_t length = NumberAt(bytes, position + 8);
        if (length > bytes.size() - position - 12)
        {
            return std::nullopt;
        }
        const auto value = bytes.subspan(position + 12, length);
        items.push_back(
            {NumberAt(bytes, position), NumberAt(bytes, position + 4), Bytes(value.begin(), value.end())});
        position += 12 + length;
    }
    return items;
}

Bytes Terminated(const Item& item)
{
    const std::size_t terminator = item.type == 1 ? 1 : item.type == 2 ? 2 : 0;
    Bytes value = item.value;
    std::fill_n(value.rbegin(), std::min(terminator, value.size()), std::uint8_t{0});
    return value;
}

std::u16string TextOf(const Item& item)
{
    std::u16string text;
    for (std::size_t i = 0; i + 3 < item.value.size(); i += 2)
    {
        text += static_cast<char16_t>(item.value[i] | item.value[i + 1] << 8);
    }
    return text;
}

Bytes WithNested(const Bytes& outer, const Bytes& inner)
{
    Item item{NumberAt(inner, 0), NumberAt(inner, 4), Bytes(inner.begin() + 12, inner.end())};
    item.value.resize(std::min<std::size_t>(item.value.size(), NumberAt(inner, 8)));
    item.value = Terminated(item);
    Bytes all = Joined({outer, ItemBytes(item)});
    const Bytes length = Number(static_cast<std::uint32_t>(all.size() - 12));
    std::copy(length.begin(), length.end(), all.begin() + 8);
    return all;
}

} // namespace MessageModel
