#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <utility>

// What the values of a JSON tree are as numbers and texts of the product.
namespace QxCommon::JsonNumber
{

// 0 if the number is out of the type's range.
template <typename Number, typename Stored>
[[nodiscard]] Number FromInteger(Stored number)
{
    return std::in_range<Number>(number) ? static_cast<Number>(number) : 0;
}

// Cuts the fraction off. 0 if the real, with its fraction, is out of the type's range.
template <typename Number>
[[nodiscard]] Number FromReal(double real)
{
    using Limits = std::numeric_limits<Number>;
    constexpr auto lowest = static_cast<double>(Limits::min());
    constexpr auto highest = static_cast<double>(Limits::max());
    // The highest number of 64 bits is rounded up to one that is out of range.
    constexpr bool isHighestExact = Limits::digits <= std::numeric_limits<double>::digits;
    const bool isInRange = real >= lowest && (isHighestExact ? real <= highest : real < highest);
    return isInRange ? static_cast<Number>(real) : 0;
}

// A decimal number, as far as the text goes on being one; 0 if it does not begin with one. Throws
// std::out_of_range.
[[nodiscard]] std::int32_t ReadInt(const std::wstring& text);
[[nodiscard]] std::uint32_t ReadUInt(const std::wstring& text);
[[nodiscard]] std::uint64_t ReadUInt64(const std::wstring& text);

// Sixteen significant digits, trailing zeros included: 1.5 is "1.500000000000000".
[[nodiscard]] std::wstring FormatReal(double number);

} // namespace QxCommon::JsonNumber
