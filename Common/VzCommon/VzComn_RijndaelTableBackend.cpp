#include "VzComn_RijndaelBackend.h"
#include "VzComn_RijndaelTables.h"
#include "VzComn_RijndaelWord.h"

#include <cstring>

namespace VzCommon::Cryptograph
{

namespace
{

using RijndaelTables::ByteTable;
using RijndaelTables::WordTables;

struct Columns
{
    std::uint32_t c0;
    std::uint32_t c1;
    std::uint32_t c2;
    std::uint32_t c3;
};

Columns Load(const std::uint8_t* block)
{
    return {LoadWord(block), LoadWord(block + 4), LoadWord(block + 8), LoadWord(block + 12)};
}

void Store(std::uint8_t* block, const Columns& columns)
{
    StoreWord(block, columns.c0);
    StoreWord(block + 4, columns.c1);
    StoreWord(block + 8, columns.c2);
    StoreWord(block + 12, columns.c3);
}

Columns operator^(const Columns& left, const Columns& right)
{
    return {left.c0 ^ right.c0, left.c1 ^ right.c1, left.c2 ^ right.c2, left.c3 ^ right.c3};
}

// One column of a full round. The arguments are the columns that its rows come from.
inline std::uint32_t MixRows(const WordTables& tables, std::uint32_t row0, std::uint32_t row1,
                             std::uint32_t row2, std::uint32_t row3)
{
    return tables[0][ByteOf<0>(row0)] ^ tables[1][ByteOf<1>(row1)] ^ tables[2][ByteOf<2>(row2)] ^
           tables[3][ByteOf<3>(row3)];
}

// One column of the last round, which does not mix.
inline std::uint32_t JoinRows(const ByteTable& box, std::uint32_t row0, std::uint32_t row1,
                              std::uint32_t row2, std::uint32_t row3)
{
    return JoinBytes(box[ByteOf<0>(row0)], box[ByteOf<1>(row1)], box[ByteOf<2>(row2)], box[ByteOf<3>(row3)]);
}

Columns EncryptBlock(const RijndaelRoundKeys& keys, const Columns& plain)
{
    const WordTables& tables = RijndaelTables::Round;
    const ByteTable& box = RijndaelTables::SBox;
    const std::uint8_t* roundKey = keys.bytes;
    const std::uint8_t* const lastKey = roundKey + keys.rounds * RijndaelBlockSize;

    Columns s = plain ^ Load(roundKey);
    for (roundKey += RijndaelBlockSize; roundKey != lastKey; roundKey += RijndaelBlockSize)
    {
        const Columns mixed = {
            MixRows(tables, s.c0, s.c1, s.c2, s.c3), MixRows(tables, s.c1, s.c2, s.c3, s.c0),
            MixRows(tables, s.c2, s.c3, s.c0, s.c1), MixRows(tables, s.c3, s.c0, s.c1, s.c2)};
        s = mixed ^ Load(roundKey);
    }
    const Columns joined = {JoinRows(box, s.c0, s.c1, s.c2, s.c3), JoinRows(box, s.c1, s.c2, s.c3, s.c0),
                            JoinRows(box, s.c2, s.c3, s.c0, s.c1), JoinRows(box, s.c3, s.c0, s.c1, s.c2)};
    return joined ^ Load(lastKey);
}

Columns DecryptBlock(const RijndaelRoundKeys& keys, const Columns& ciphered)
{
    const WordTables& tables = RijndaelTables::InverseRound;
    const ByteTable& box = RijndaelTables::InverseSBox;
    const std::uint8_t* roundKey = keys.bytes + keys.rounds * RijndaelBlockSize;

    Columns s = ciphered ^ Load(roundKey);
    for (roundKey -= RijndaelBlockSize; roundKey != keys.bytes; roundKey -= RijndaelBlockSize)
    {
        const Columns mixed = {
            MixRows(tables, s.c0, s.c3, s.c2, s.c1), MixRows(tables, s.c1, s.c0, s.c3, s.c2),
            MixRows(tables, s.c2, s.c1, s.c0, s.c3), MixRows(tables, s.c3, s.c2, s.c1, s.c0)};
        s = mixed ^ Load(roundKey);
    }
    const Columns joined = {JoinRows(box, s.c0, s.c3, s.c2, s.c1), JoinRows(box, s.c1, s.c0, s.c3, s.c2),
                            JoinRows(box, s.c2, s.c1, s.c0, s.c3), JoinRows(box, s.c3, s.c2, s.c1, s.c0)};
    return joined ^ Load(keys.bytes);
}

void EncryptEcb(const RijndaelRoundKeys& keys, const std::uint8_t* input, std::uint8_t* output,
                std::size_t blocks)
{
    for (std::size_t at = 0; at < blocks * RijndaelBlockSize; at += RijndaelBlockSize)
    {
        Store(output + at, EncryptBlock(keys, Load(input + at)));
    }
}

void DecryptEcb(const RijndaelRoundKeys& keys, const std::uint8_t* input, std::uint8_t* output,
                std::size_t blocks)
{
    for (std::size_t at = 0; at < blocks * RijndaelBlockSize; at += RijndaelBlockSize)
    {
        Store(output + at, DecryptBlock(keys, Load(input + at)));
    }
}

void EncryptCbc(const RijndaelRoundKeys& keys, std::uint8_t* chain, const std::uint8_t* input,
                std::uint8_t* output, std::size_t blocks)
{
    Columns previous = Load(chain);
    for (std::size_t at = 0; at < blocks * RijndaelBlockSize; at += RijndaelBlockSize)
    {
        previous = EncryptBlock(keys, Load(input + at) ^ previous);
        Store(output + at, previous);
    }
    Store(chain, previous);
}

void DecryptCbc(const RijndaelRoundKeys& keys, std::uint8_t* chain, const std::uint8_t* input,
                std::uint8_t* output, std::size_t blocks)
{
    Columns previous = Load(chain);
    for (std::size_t at = 0; at < blocks * RijndaelBlockSize; at += RijndaelBlockSize)
    {
        const Columns ciphered = Load(input + at);
        Store(output + at, DecryptBlock(keys, ciphered) ^ previous);
        previous = ciphered;
    }
    Store(chain, previous);
}

} // namespace

const RijndaelBackend& RijndaelTableBackend()
{
    static constexpr RijndaelBackend backend{EncryptEcb, DecryptEcb, EncryptCbc, DecryptCbc};
    return backend;
}

const RijndaelBackend& BestRijndaelBackend()
{
    static const RijndaelBackend& best =
        RijndaelInstructionBackend() != nullptr ? *RijndaelInstructionBackend() : RijndaelTableBackend();
    return best;
}

} // namespace VzCommon::Cryptograph
