#pragma once

#include <cstddef>
#include <string_view>

// What the JSON library's reader may be given, so that no text keeps it busy for hours: its time grows with
// the square of a line full of comments, and with the square of a number's digits.
namespace QxCommon::JsonBounds
{

struct Bounds
{
    std::size_t length; // of the text, up to its first number of more than a thousand characters
    bool keepsComments; // false if there are so many in such long lines that the reader should drop them
};

[[nodiscard]] Bounds Of(std::string_view text);

} // namespace QxCommon::JsonBounds
