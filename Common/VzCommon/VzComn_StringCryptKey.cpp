// This is the one place where a product sets the key of its enciphered files. Take four random numbers; four
// zeroes mean that there is no key, and no enciphered file is then readable.
//
// An enciphered file is "QXJSONDB" followed by the hexadecimal digits of the UTF-8 text under AES-128 in CBC
// mode with a zero vector. With KEY as the 32 digits of the key's bytes (of each piece the lowest byte
// first):
//
//     { printf QXJSONDB; openssl enc -aes-128-cbc -K KEY -iv 0 -in a.json | xxd -p | tr -d '\n'; } > b.json

#include "VzComn_StringCryptKey.h"

namespace VzCommon::Cryptograph::StringCryptKey
{

// Deliberate: out of order and a cache line apart, so that no two pieces stand side by side in the program.
alignas(64) const volatile std::uint32_t Piece2 = 0x5817C3C0;
alignas(64) const volatile std::uint32_t Piece0 = 0xDC2F6402;
alignas(64) const volatile std::uint32_t Piece3 = 0xC3A9A7D7;
alignas(64) const volatile std::uint32_t Piece1 = 0x75731225;

} // namespace VzCommon::Cryptograph::StringCryptKey
