#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

// The message format once more, written down for tests alone and as plainly as can be: what the message code
// has to make of any bytes.
namespace MessageModel
{

using Bytes = std::vector<std::uint8_t>;

struct Item
{
    std::uint32_t id = 0;
    std::uint32_t type = 0;
    Bytes value;
};

[[nodiscard]] Bytes Number(std::uint32_t number); // four bytes, the lowest first
[[nodiscard]] std::uint32_t NumberAt(std::span<const std::uint8_t> bytes, std::size_t position);

[[nodiscard]] Bytes Head(std::uint32_t id, std::uint32_t type, std::uint32_t length);
[[nodiscard]] Bytes Joined(std::initializer_list<Bytes> parts);

[[nodiscard]] Bytes ItemBytes(const Item& item);
[[nodiscard]] Bytes MessageBytes(std::uint32_t id, const std::vector<Item>& items);

[[nodiscard]] Item UInt(std::uint32_t id, std::uint32_t value);
[[nodiscard]] Item Int(std::uint32_t id, std::int32_t value);
[[nodiscard]] Item Text(std::uint32_t id, const std::u16string& text);
[[nodiscard]] Item Nested(std::uint32_t id, const std::vector<Item>& items);

// The items of a well-formed message; none if parsing has to refuse it.
[[nodiscard]] std::optional<std::vector<Item>> Parse(std::span<const std::uint8_t> bytes);

// The value as it stands in a message to which it was appended: the terminator of a string is zero.
[[nodiscard]] Bytes Terminated(const Item& item);

// The characters of a wide string item; the last unit counts as the terminator.
[[nodiscard]] std::u16string TextOf(const Item& item);

// The bytes of a message after another was nested into it.
[[nodiscard]] Bytes WithNested(const Bytes& outer, const Bytes& inner);

} // namespace MessageModel
