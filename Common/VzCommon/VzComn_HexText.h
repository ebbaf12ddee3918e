#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace VzCommon
{

// Reads the text in pairs of characters, each as strtol in base 16 reads it: "5g" is 5, "-1" is 0xFF, and a
// pair that is no number, or that the text is too short for, is 0. Writes count bytes.
void DecodeHexPairs(std::string_view text, std::uint8_t* bytes, std::size_t count);

} // namespace VzCommon
