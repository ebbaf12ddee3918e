#include "VzComn_Rijndael.h"

#include "VzComn_Error.h"
#include "VzComn_SecureWipe.h"

#include <algorithm>
#include <cstring>

namespace VzCommon::Cryptograph
{

namespace
{

bool IsMissing(const void* pointer, std::size_t length)
{
    return pointer == nullptr && length != 0;
}

// How many bytes of padding the block ends in; 0 if it is none.
std::size_t CountPadding(const std::uint8_t* block)
{
    const std::uint8_t count = block[Rijndael::BlockSize - 1];
    if (count > Rijndael::BlockSize)
    {
        return 0;
    }
    const std::uint8_t* const end = block + Rijndael::BlockSize;
    return std::all_of(end - count, end, [count](std::uint8_t byte) { return byte == count; }) ? count : 0;
}

void ShiftLeft(std::uint8_t (&bits)[Rijndael::BlockSize], unsigned incomingBit)
{
    unsigned carry = incomingBit;
    for (std::size_t at = Rijndael::BlockSize; at-- > 0;)
    {
        const unsigned shifted = (static_cast<unsigned>(bits[at]) << 1) | carry;
        bits[at] = static_cast<std::uint8_t>(shifted);
        carry = shifted >> 8;
    }
}

} // namespace

Rijndael::Rijndael(const RijndaelBackend& roundBackend) : backend(roundBackend) {}

Rijndael::~Rijndael()
{
    Wipe();
}

bool Rijndael::Initialize(CipherDirection newDirection, const std::uint8_t* key, std::size_t newKeyLength,
                          CipherMode newMode, const std::uint8_t* iv, std::size_t ivLength,
                          std::uint32_t* error)
{
    if (state == CipherState::Converting || state == CipherState::Finished)
    {
        return Fail(error, CipherError::WrongState);
    }
    if (!IsRijndaelKeyLength(newKeyLength))
    {
        return Fail(error, CipherError::WrongKeyLength);
    }
    const bool chained = newMode != CipherMode::Ecb;
    if (key == nullptr || newMode > CipherMode::Cfb || newDirection > CipherDirection::Decrypt ||
        (chained && (iv == nullptr || ivLength != BlockSize)))
    {
        return Fail(error, CipherError::InvalidParameter);
    }
    SetUp(newDirection, key, newKeyLength, newMode, chained ? iv : nullptr);
    return Succeed(error);
}

bool Rijndael::SetUp(CipherDirection newDirection, const std::uint8_t* key, std::size_t newKeyLength,
                     CipherMode newMode, const std::uint8_t* iv)
{
    if (key == nullptr || !IsRijndaelKeyLength(newKeyLength))
    {
        return false;
    }
    Wipe();
    direction = newDirection;
    mode = newMode;
    keyLength = newKeyLength;
    rounds = RijndaelRounds(newKeyLength);
    if (iv != nullptr)
    {
        std::memcpy(chain, iv, sizeof(chain));
    }
    ExpandRijndaelKey(key, newKeyLength, schedule);
    // Deliberate: CFB deciphers with the forward cipher too.
    if (direction == CipherDirection::Decrypt && mode != CipherMode::Cfb)
    {
        InvertRijndaelSchedule(schedule, rounds);
    }
    state = CipherState::Initialized;
    return true;
}

bool Rijndael::Uninitialize(std::uint32_t* error)
{
    Wipe();
    return Succeed(error);
}

bool Rijndael::Convert(const std::uint8_t* input, std::size_t inputLength, std::uint8_t* output,
                       std::size_t outputLength, std::size_t* outputCount, std::uint32_t* error)
{
    // Judged for both halves before the first, so that a failure leaves the message as it was.
    const std::size_t blocks = BlocksDue(inputLength) + (HasLastBlock(inputLength) ? 1 : 0);
    if (!Judge(TakesInput(), input, inputLength, output, outputLength, blocks, outputCount, error))
    {
        return false;
    }
    *outputCount = TakeIn(input, inputLength, output);
    *outputCount += PutLast(output + *outputCount);
    return Succeed(error);
}

bool Rijndael::Update(const std::uint8_t* input, std::size_t inputLength, std::uint8_t* output,
                      std::size_t outputLength, std::size_t* outputCount, std::uint32_t* error)
{
    if (!Judge(TakesInput(), input, inputLength, output, outputLength, BlocksDue(inputLength), outputCount,
               error))
    {
        return false;
    }
    *outputCount = TakeIn(input, inputLength, output);
    return Succeed(error);
}

bool Rijndael::Finish(std::uint8_t* output, std::size_t outputLength, std::size_t* outputCount,
                      std::uint32_t* error)
{
    const bool begun = state == CipherState::Converting;
    const std::size_t blocks = HasLastBlock(0) ? 1 : 0;
    if (!Judge(begun, nullptr, 0, output, outputLength, blocks, outputCount, error))
    {
        return false;
    }
    *outputCount = PutLast(output);
    return Succeed(error);
}

// What Update, Finish and Convert have in common: sets outputCount to 0, and is true if nothing is wrong and
// the output has room for so many blocks.
bool Rijndael::Judge(bool stateFits, const std::uint8_t* input, std::size_t inputLength,
                     const std::uint8_t* output, std::size_t outputLength, std::size_t blocks,
                     std::size_t* outputCount, std::uint32_t* error) const
{
    if (outputCount == nullptr)
    {
        return Fail(error, CipherError::InvalidParameter);
    }
    *outputCount = 0;
    if (!stateFits)
    {
        return Fail(error, CipherError::WrongState);
    }
    if (IsMissing(input, inputLength) || IsMissing(output, outputLength))
    {
        return Fail(error, CipherError::InvalidParameter);
    }
    return blocks <= outputLength / BlockSize || Fail(error, CipherError::OutputTooSmall);
}

bool Rijndael::TakesInput() const
{
    return state == CipherState::Initialized || state == CipherState::Converting;
}

// The blocks that so much further input completes, less the one that deciphering holds back.
std::size_t Rijndael::BlocksDue(std::size_t inputLength) const
{
    const std::size_t whole = inputLength / BlockSize + (Held() + inputLength % BlockSize) / BlockSize;
    return direction == CipherDirection::Decrypt && whole > 0 ? whole - 1 : whole;
}

// Enciphering always ends in a padded block; deciphering only has a last block if the message had a whole
// one.
bool Rijndael::HasLastBlock(std::size_t furtherInput) const
{
    return direction == CipherDirection::Encrypt || furtherInput >= BlockSize ||
           Held() + furtherInput >= BlockSize;
}

// Goes through the held block until nothing is held, then straight from input to output. Returns the bytes
// written.
std::size_t Rijndael::TakeIn(const std::uint8_t* input, std::size_t length, std::uint8_t* output)
{
    state = CipherState::Converting;
    std::size_t blocks = BlocksDue(length);
    const std::size_t produced = blocks * BlockSize;
    for (; blocks > 0 && Held() > 0; --blocks)
    {
        const std::size_t taken = TopUp(input, length);
        input += taken;
        length -= taken;
        ReleaseBlock(output);
        output += BlockSize;
    }
    if (blocks > 0)
    {
        ProcessBlocks(input, output, blocks);
        input += blocks * BlockSize;
        length -= blocks * BlockSize;
    }
    Hold(input, length);
    return produced;
}

// Fills the block from the input; returns how much that took.
std::size_t Rijndael::TopUp(const std::uint8_t* input, std::size_t length)
{
    const std::size_t taken = std::min(BlockSize - blockFill, length);
    if (taken > 0)
    {
        std::memcpy(block + blockFill, input, taken);
        blockFill += taken;
    }
    return taken;
}

// Processes the held block; the tail moves up into its place.
void Rijndael::ReleaseBlock(std::uint8_t* output)
{
    ProcessBlocks(block, output, 1);
    std::memcpy(block, tail, sizeof(block));
    blockFill = tailFill;
    tailFill = 0;
}

void Rijndael::Hold(const std::uint8_t* input, std::size_t length)
{
    const std::size_t taken = TopUp(input, length);
    if (length > taken)
    {
        std::memcpy(tail + tailFill, input + taken, length - taken);
        tailFill += length - taken;
    }
}

// Ends the message with the held block. Returns the bytes written.
std::size_t Rijndael::PutLast(std::uint8_t* output)
{
    std::size_t produced = 0;
    if (HasLastBlock(0))
    {
        // Nothing is missing from the block that deciphering holds.
        const std::size_t missing = BlockSize - blockFill;
        std::memset(block + blockFill, static_cast<int>(missing), missing);
        ProcessBlocks(block, output, 1);
        produced = direction == CipherDirection::Decrypt ? DropPadding(output) : BlockSize;
    }
    SecureWipe(block, sizeof(block));
    blockFill = 0;
    tailFill = 0;
    state = CipherState::Finished;
    return produced;
}

// Zeroes the padding of the deciphered last block; returns the bytes in front of it.
std::size_t Rijndael::DropPadding(std::uint8_t* lastBlock)
{
    padCount = CountPadding(lastBlock);
    const std::size_t kept = BlockSize - padCount;
    std::memset(lastBlock + kept, 0, padCount);
    return kept;
}

void Rijndael::ProcessBlocks(const std::uint8_t* input, std::uint8_t* output, std::size_t blocks)
{
    const RijndaelRoundKeys keys{schedule, rounds};
    const bool decrypt = direction == CipherDirection::Decrypt;
    if (mode == CipherMode::Cfb)
    {
        ProcessCfb(input, output, blocks);
    }
    else if (mode == CipherMode::Cbc)
    {
        decrypt ? backend.decryptCbc(keys, chain, input, output, blocks)
                : backend.encryptCbc(keys, chain, input, output, blocks);
    }
    else
    {
        decrypt ? backend.decryptEcb(keys, input, output, blocks)
                : backend.encryptEcb(keys, input, output, blocks);
    }
}

// One step a bit, the highest bit of each byte first: the top bit of the enciphered vector is the key stream,
// and the ciphertext bit moves into the vector from below.
void Rijndael::ProcessCfb(const std::uint8_t* input, std::uint8_t* output, std::size_t blocks)
{
    const RijndaelRoundKeys keys{schedule, rounds};
    std::uint8_t stream[BlockSize];
    for (std::size_t at = 0; at < blocks * BlockSize; ++at)
    {
        unsigned out = 0;
        for (unsigned in = input[at], bit = 0; bit < 8; ++bit, in <<= 1)
        {
            backend.encryptEcb(keys, chain, stream, 1);
            const unsigned inBit = (in >> 7) & 1U;
            const unsigned outBit = inBit ^ (stream[0] >> 7);
            ShiftLeft(chain, direction == CipherDirection::Decrypt ? inBit : outBit);
            out = (out << 1) | outBit;
        }
        output[at] = static_cast<std::uint8_t>(out);
    }
    SecureWipe(stream, sizeof(stream));
}

void Rijndael::Wipe()
{
    SecureWipe(block, sizeof(block));
    SecureWipe(tail, sizeof(tail));
    SecureWipe(chain, sizeof(chain));
    SecureWipe(schedule, sizeof(schedule));
    blockFill = 0;
    tailFill = 0;
    padCount = 0;
    rounds = 0;
    keyLength = 0;
    state = CipherState::Uninitialized;
}

} // namespace VzCommon::Cryptograph
