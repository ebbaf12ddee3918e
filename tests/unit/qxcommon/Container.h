#pragma once

#include <string>
#include <string_view>

// Makes the container form of JSON files, which the product itself only reads.
namespace Container
{

inline constexpr std::string_view magic = "QXJSONDB";

enum class Padding
{
    Standard,
    None // the text has to fill whole blocks
};

// The file's bytes for a text, enciphered under the product's key.
[[nodiscard]] std::string Of(std::string_view text, Padding padding = Padding::Standard);

// The same under a key that is not the product's.
[[nodiscard]] std::string UnderAnotherKey(std::string_view text);

} // namespace Container
