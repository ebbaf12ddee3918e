#pragma once

#include <cstdint>

// A column of the state as one word: row 0 in the lowest byte, on a machine of any byte order.
namespace VzCommon::Cryptograph
{

constexpr std::uint32_t JoinBytes(std::uint8_t row0, std::uint8_t row1, std::uint8_t row2, std::uint8_t row3)
{
    return row0 | (static_cast<std::uint32_t>(row1) << 8) | (static_cast<std::uint32_t>(row2) << 16) |
           (static_cast<std::uint32_t>(row3) << 24);
}

template <unsigned Row>
constexpr std::uint8_t ByteOf(std::uint32_t word)
{
    static_assert(Row < 4);
    return static_cast<std::uint8_t>(word >> (8 * Row));
}

inline std::uint32_t LoadWord(const std::uint8_t* bytes)
{
    return JoinBytes(bytes[0], bytes[1], bytes[2], bytes[3]);
}

inline void StoreWord(std::uint8_t* bytes, std::uint32_t word)
{
    bytes[0] = ByteOf<0>(word);
    bytes[1] = ByteOf<1>(word);
    bytes[2] = ByteOf<2>(word);
    bytes[3] = ByteOf<3>(word);
}

} // namespace VzCommon::Cryptograph
