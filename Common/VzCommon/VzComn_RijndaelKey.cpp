#include "VzComn_RijndaelKey.h"

#include "VzComn_RijndaelTables.h"
#include "VzComn_RijndaelWord.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace VzCommon::Cryptograph
{

using RijndaelTables::InverseRound;
using RijndaelTables::SBox;

namespace
{

constexpr std::size_t WordSize = 4;

std::uint32_t SubstituteWord(std::uint32_t word)
{
    return JoinBytes(SBox[ByteOf<0>(word)], SBox[ByteOf<1>(word)], SBox[ByteOf<2>(word)],
                     SBox[ByteOf<3>(word)]);
}

// The inverse round table undoes a substitution that a round key has not had, hence the SBox in front of it.
std::uint32_t UnmixColumn(std::uint32_t word)
{
    return InverseRound[0][SBox[ByteOf<0>(word)]] ^ InverseRound[1][SBox[ByteOf<1>(word)]] ^
           InverseRound[2][SBox[ByteOf<2>(word)]] ^ InverseRound[3][SBox[ByteOf<3>(word)]];
}

} // namespace

void ExpandRijndaelKey(const std::uint8_t* key, std::size_t keyLength, RijndaelSchedule& schedule)
{
    const std::size_t keyWords = keyLength / WordSize;
    const std::size_t words = (RijndaelRounds(keyLength) + 1) * RijndaelBlockSize / WordSize;
    std::memset(schedule, 0, sizeof(schedule));
    std::memcpy(schedule, key, keyLength);

    std::uint8_t roundConstant = 1;
    for (std::size_t word = keyWords; word < words; ++word)
    {
        std::uint32_t previous = LoadWord(schedule + (word - 1) * WordSize);
        if (word % keyWords == 0)
        {
            previous = SubstituteWord(std::rotr(previous, 8)) ^ roundConstant;
            roundConstant = RijndaelTables::Multiply(roundConstant, 2);
        }
        else if (keyWords > 6 && word % keyWords == 4)
        {
            previous = SubstituteWord(previous);
        }
        const std::uint32_t earlier = LoadWord(schedule + (word - keyWords) * WordSize);
        StoreWord(schedule + word * WordSize, earlier ^ previous);
    }
}

void InvertRijndaelSchedule(RijndaelSchedule& schedule, std::uint32_t rounds)
{
    std::uint8_t* const end = schedule + rounds * RijndaelBlockSize;
    for (std::uint8_t* word = schedule + RijndaelBlockSize; word < end; word += WordSize)
    {
        StoreWord(word, UnmixColumn(LoadWord(word)));
    }
}

} // namespace VzCommon::Cryptograph
