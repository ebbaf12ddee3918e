#pragma once

#include <cstdint>

// The four pieces of the key of the product's enciphered files; their values stand in
// VzComn_StringCryptKey.cpp. A piece is volatile so that no optimiser puts the pieces together: the whole key
// exists only on the stack of the routine that deciphers, while it sets up its cipher.
namespace VzCommon::Cryptograph::StringCryptKey
{

extern const volatile std::uint32_t Piece0; // bytes 0 to 3 of the key, the first one lowest
extern const volatile std::uint32_t Piece1; // bytes 4 to 7
extern const volatile std::uint32_t Piece2; // bytes 8 to 11
extern const volatile std::uint32_t Piece3; // bytes 12 to 15

} // namespace VzCommon::Cryptograph::StringCryptKey
