#include "VzComn_HexText.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace VzCommon
{

namespace
{

constexpr std::uint8_t NoDigit = 0x80;

constexpr std::array<std::uint8_t, 256> MakeDigitValues()
{
    std::array<std::uint8_t, 256> values{};
    values.fill(NoDigit);
    for (unsigned value = 0; value < 16; ++value)
    {
        values[static_cast<std::uint8_t>("0123456789abcdef"[value])] = static_cast<std::uint8_t>(value);
        values[static_cast<std::uint8_t>("0123456789ABCDEF"[value])] = static_cast<std::uint8_t>(value);
    }
    return values;
}

constexpr std::array<std::uint8_t, 256> DigitValues = MakeDigitValues();

std::uint8_t ReadAnyPair(std::string_view pair)
{
    std::array<char, 3> text{};
    std::copy(pair.begin(), pair.end(), text.begin());
    return static_cast<std::uint8_t>(std::strtol(text.data(), nullptr, 16));
}

} // namespace

void DecodeHexPairs(std::string_view text, std::uint8_t* bytes, std::size_t count)
{
    const std::size_t wholePairs = std::min(count, text.size() / 2);
    for (std::size_t pair = 0; pair < wholePairs; ++pair)
    {
        // Two digits are looked up, which gives the same and is many times faster.
        const unsigned high = DigitValues[static_cast<std::uint8_t>(text[2 * pair])];
        const unsigned low = DigitValues[static_cast<std::uint8_t>(text[2 * pair + 1])];
        bytes[pair] = ((high | low) & NoDigit) == 0 ? static_cast<std::uint8_t>(high << 4 | low)
                                                    : ReadAnyPair(text.substr(2 * pair, 2));
    }
    for (std::size_t pair = wholePairs; pair < count; ++pair)
    {
        bytes[pair] = 2 * pair < text.size() ? ReadAnyPair(text.substr(2 * pair)) : 0;
    }
}

} // namespace VzCommon
