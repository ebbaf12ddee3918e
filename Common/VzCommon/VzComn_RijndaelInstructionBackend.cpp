#include "VzComn_RijndaelBackend.h"

#if defined(__x86_64__)

#include <immintrin.h>

// Only this file may hold these instructions; everything else has to run on any processor.
#define AES_CODE __attribute__((target("aes,sse4.1")))

namespace VzCommon::Cryptograph
{

namespace
{

// As many blocks as the processor keeps under way at once: a round takes some cycles, but one can start
// every cycle.
constexpr std::size_t Lanes = 8;
using Bundle = __m128i[Lanes];

AES_CODE inline __m128i Load(const std::uint8_t* block)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(block));
}

AES_CODE inline void Store(std::uint8_t* block, __m128i value)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(block), value);
}

AES_CODE inline __m128i RoundKey(const RijndaelRoundKeys& keys, std::uint32_t round)
{
    return Load(keys.bytes + round * RijndaelBlockSize);
}

AES_CODE inline __m128i EncryptBlock(const RijndaelRoundKeys& keys, __m128i block)
{
    block = _mm_xor_si128(block, RoundKey(keys, 0));
    for (std::uint32_t round = 1; round < keys.rounds; ++round)
    {
        block = _mm_aesenc_si128(block, RoundKey(keys, round));
    }
    return _mm_aesenclast_si128(block, RoundKey(keys, keys.rounds));
}

AES_CODE inline __m128i DecryptBlock(const RijndaelRoundKeys& keys, __m128i block)
{
    block = _mm_xor_si128(block, RoundKey(keys, keys.rounds));
    for (std::uint32_t round = keys.rounds - 1; round > 0; --round)
    {
        block = _mm_aesdec_si128(block, RoundKey(keys, round));
    }
    return _mm_aesdeclast_si128(block, RoundKey(keys, 0));
}

AES_CODE inline void EncryptBundle(const RijndaelRoundKeys& keys, Bundle& bundle)
{
    const __m128i first = RoundKey(keys, 0);
    for (__m128i& block : bundle)
    {
        block = _mm_xor_si128(block, first);
    }
    for (std::uint32_t round = 1; round < keys.rounds; ++round)
    {
        const __m128i key = RoundKey(keys, round);
        for (__m128i& block : bundle)
        {
            block = _mm_aesenc_si128(block, key);
        }
    }
    const __m128i last = RoundKey(keys, keys.rounds);
    for (__m128i& block : bundle)
    {
        block = _mm_aesenclast_si128(block, last);
    }
}

AES_CODE inline void DecryptBundle(const RijndaelRoundKeys& keys, Bundle& bundle)
{
    const __m128i first = RoundKey(keys, keys.rounds);
    for (__m128i& block : bundle)
    {
        block = _mm_xor_si128(block, first);
    }
    for (std::uint32_t round = keys.rounds - 1; round > 0; --round)
    {
        const __m128i key = RoundKey(keys, round);
        for (__m128i& block : bundle)
        {
            block = _mm_aesdec_si128(block, key);
        }
    }
    const __m128i last = RoundKey(keys, 0);
    for (__m128i& block : bundle)
    {
        block = _mm_aesdeclast_si128(block, last);
    }
}

AES_CODE inline void LoadBundle(Bundle& bundle, const std::uint8_t* input)
{
    for (std::size_t lane = 0; lane < Lanes; ++lane)
    {
        bundle[lane] = Load(input + lane * RijndaelBlockSize);
    }
}

AES_CODE inline void StoreBundle(std::uint8_t* output, const Bundle& bundle)
{
    for (std::size_t lane = 0; lane < Lanes; ++lane)
    {
        Store(output + lane * RijndaelBlockSize, bundle[lane]);
    }
}

// Stores from the last block to the first, so that output may be the input: each block still finds the
// ciphertext in front of it.
AES_CODE inline void StoreUnchained(std::uint8_t* output, const Bundle& bundle, const std::uint8_t* input,
                                    __m128i chain)
{
    for (std::size_t lane = Lanes - 1; lane > 0; --lane)
    {
        const __m128i before = Load(input + (lane - 1) * RijndaelBlockSize);
        Store(output + lane * RijndaelBlockSize, _mm_xor_si128(bundle[lane], before));
    }
    Store(output, _mm_xor_si128(bundle[0], chain));
}

AES_CODE void EncryptEcb(const RijndaelRoundKeys& keys, const std::uint8_t* input, std::uint8_t* output,
                         std::size_t blocks)
{
    for (; blocks >= Lanes; blocks -= Lanes)
    {
        Bundle bundle;
        LoadBundle(bundle, input);
        EncryptBundle(keys, bundle);
        StoreBundle(output, bundle);
        input += sizeof(Bundle);
        output += sizeof(Bundle);
    }
    for (std::size_t at = 0; at < blocks * RijndaelBlockSize; at += RijndaelBlockSize)
    {
        Store(output + at, EncryptBlock(keys, Load(input + at)));
    }
}

AES_CODE void DecryptEcb(const RijndaelRoundKeys& keys, const std::uint8_t* input, std::uint8_t* output,
                         std::size_t blocks)
{
    for (; blocks >= Lanes; blocks -= Lanes)
    {
        Bundle bundle;
        LoadBundle(bundle, input);
        DecryptBundle(keys, bundle);
        StoreBundle(output, bundle);
        input += sizeof(Bundle);
        output += sizeof(Bundle);
    }
    for (std::size_t at = 0; at < blocks * RijndaelBlockSize; at += RijndaelBlockSize)
    {
        Store(output + at, DecryptBlock(keys, Load(input + at)));
    }
}

AES_CODE void EncryptCbc(const RijndaelRoundKeys& keys, std::uint8_t* chain, const std::uint8_t* input,
                         std::uint8_t* output, std::size_t blocks)
{
    __m128i previous = Load(chain);
    for (std::size_t at = 0; at < blocks * RijndaelBlockSize; at += RijndaelBlockSize)
    {
        previous = EncryptBlock(keys, _mm_xor_si128(Load(input + at), previous));
        Store(output + at, previous);
    }
    Store(chain, previous);
}

AES_CODE void DecryptCbc(const RijndaelRoundKeys& keys, std::uint8_t* chain, const std::uint8_t* input,
                         std::uint8_t* output, std::size_t blocks)
{
    __m128i previous = Load(chain);
    for (; blocks >= Lanes; blocks -= Lanes)
    {
        Bundle bundle;
        LoadBundle(bundle, input);
        const __m128i last = bundle[Lanes - 1];
        DecryptBundle(keys, bundle);
        StoreUnchained(output, bundle, input, previous);
        previous = last;
        input += sizeof(Bundle);
        output += sizeof(Bundle);
    }
    for (std::size_t at = 0; at < blocks * RijndaelBlockSize; at += RijndaelBlockSize)
    {
        const __m128i ciphered = Load(input + at);
        Store(output + at, _mm_xor_si128(DecryptBlock(keys, ciphered), previous));
        previous = ciphered;
    }
    Store(chain, previous);
}

bool ProcessorHasAes()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("aes") != 0 && __builtin_cpu_supports("sse4.1") != 0;
}

} // namespace

const RijndaelBackend* RijndaelInstructionBackend()
{
    static constexpr RijndaelBackend backend{EncryptEcb, DecryptEcb, EncryptCbc, DecryptCbc};
    static const bool present = ProcessorHasAes();
    return present ? &backend : nullptr;
}

} // namespace VzCommon::Cryptograph

#else

namespace VzCommon::Cryptograph
{

const RijndaelBackend* RijndaelInstructionBackend()
{
    return nullptr;
}

} // namespace VzCommon::Cryptograph

#endif
