#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// The S-boxes and round tables of FIPS 197, computed by the compiler.
namespace VzCommon::Cryptograph::RijndaelTables
{

using ByteTable = std::array<std::uint8_t, 256>;

// One table for each row of the state: entry x is what a byte x of that row adds to its column, substituted
// and mixed, with row 0 in the lowest byte.
using WordTables = std::array<std::array<std::uint32_t, 256>, 4>;

// Multiplication in GF(2^8) modulo x^8 + x^4 + x^3 + x + 1.
constexpr std::uint8_t Multiply(std::uint8_t left, std::uint8_t right)
{
    unsigned product = 0;
    unsigned shifted = left;
    for (unsigned bits = right; bits != 0; bits >>= 1)
    {
        product ^= (bits & 1U) != 0 ? shifted : 0U;
        shifted = (shifted << 1) ^ ((shifted & 0x80U) != 0 ? 0x11BU : 0U);
    }
    return static_cast<std::uint8_t>(product);
}

constexpr std::uint8_t AffineTransform(std::uint8_t value)
{
    const unsigned twice = value | (static_cast<unsigned>(value) << 8);
    return static_cast<std::uint8_t>(value ^ (twice >> 7) ^ (twice >> 6) ^ (twice >> 5) ^ (twice >> 4) ^
                                     0x63U);
}

// Walks the field by its generator 3 and, in step, by the inverse of that, 0xF6: the two are always each
// other's inverses.
constexpr ByteTable MakeSBox()
{
    ByteTable box{};
    std::uint8_t value = 1;
    std::uint8_t inverse = 1;
    do
    {
        box[value] = AffineTransform(inverse);
        value = Multiply(value, 3);
        inverse = Multiply(inverse, 0xF6);
    } while (value != 1);
    box[0] = AffineTransform(0);
    return box;
}

constexpr ByteTable Invert(const ByteTable& box)
{
    ByteTable inverse{};
    for (std::size_t value = 0; value < box.size(); ++value)
    {
        inverse[box[value]] = static_cast<std::uint8_t>(value);
    }
    return inverse;
}

// The column holds what the mixing matrix makes of row 0; the other rows see it rotated.
constexpr WordTables MakeRoundTables(const ByteTable& box, const std::array<std::uint8_t, 4>& column)
{
    WordTables tables{};
    for (std::size_t value = 0; value < box.size(); ++value)
    {
        for (unsigned row = 0; row < 4; ++row)
        {
            for (unsigned target = 0; target < 4; ++target)
            {
                const std::uint32_t product = Multiply(box[value], column[(target + 4 - row) % 4]);
                tables[row][value] |= product << (8 * target);
            }
        }
    }
    return tables;
}

inline constexpr ByteTable SBox = MakeSBox();
inline constexpr ByteTable InverseSBox = Invert(SBox);
inline constexpr WordTables Round = MakeRoundTables(SBox, {2, 1, 1, 3});
inline constexpr WordTables InverseRound = MakeRoundTables(InverseSBox, {14, 9, 13, 11});

} // namespace VzCommon::Cryptograph::RijndaelTables
