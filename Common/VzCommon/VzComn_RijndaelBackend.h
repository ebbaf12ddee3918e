#pragma once

#include "VzComn_RijndaelKey.h"

#include <cstddef>
#include <cstdint>

namespace VzCommon::Cryptograph
{

// The round keys of one direction and how many rounds there are. Weak.
struct RijndaelRoundKeys
{
    const std::uint8_t* bytes;
    std::uint32_t rounds;
};

// One way of running the rounds over whole blocks: four functions without a state. Any thread. The output is
// the input itself or does not overlap it. Deciphering takes the schedule of the inverse cipher. The chain is
// the CBC vector: read as the block before the first one, left as the one after the last.
struct RijndaelBackend
{
    using Blocks = void (*)(const RijndaelRoundKeys& keys, const std::uint8_t* input, std::uint8_t* output,
                            std::size_t blocks);
    using ChainedBlocks = void (*)(const RijndaelRoundKeys& keys, std::uint8_t* chain,
                                   const std::uint8_t* input, std::uint8_t* output, std::size_t blocks);

    Blocks encryptEcb;
    Blocks decryptEcb;
    ChainedBlocks encryptCbc;
    ChainedBlocks decryptCbc;
};

// Lookup tables; runs on every processor.
const RijndaelBackend& RijndaelTableBackend();

// The processor's AES instructions. Null where this processor has none.
const RijndaelBackend* RijndaelInstructionBackend();

// The fastest one of this processor, which is asked once.
const RijndaelBackend& BestRijndaelBackend();

} // namespace VzCommon::Cryptograph
