#pragma once

#include <cstddef>
#include <cstdint>

namespace VzCommon::Cryptograph
{

inline constexpr std::size_t RijndaelBlockSize = 16;
inline constexpr std::size_t RijndaelMaxRounds = 14;

// Round keys in the order of FIPS 197, one block each, the key itself first.
using RijndaelSchedule = std::uint8_t[RijndaelBlockSize * (RijndaelMaxRounds + 1)];

// 16, 24 or 32 bytes.
constexpr bool IsRijndaelKeyLength(std::size_t keyLength)
{
    return keyLength == 16 || keyLength == 24 || keyLength == 32;
}

constexpr std::uint32_t RijndaelRounds(std::size_t keyLength)
{
    return static_cast<std::uint32_t>(keyLength / 4 + 6);
}

// Fills the schedule from a key of a valid length; bytes behind the last round key become zero.
void ExpandRijndaelKey(const std::uint8_t* key, std::size_t keyLength, RijndaelSchedule& schedule);

// Turns the round keys, in place, into those of the equivalent inverse cipher. They keep their order: the
// inverse cipher uses them from the last to the first.
void InvertRijndaelSchedule(RijndaelSchedule& schedule, std::uint32_t rounds);

} // namespace VzCommon::Cryptograph
