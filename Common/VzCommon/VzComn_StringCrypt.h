#pragma once

#include <cstddef>
#include <string>

namespace VzCommon::Cryptograph
{

// Deciphers the hexadecimal text of one of the product's enciphered files: AES-128 in CBC mode with a zero
// vector, under the product's key. A wrong key or damaged text is no failure and gives whatever bytes come
// out; false means that there is no key or no memory, and is logged. An odd last digit is ignored. Any
// thread.
bool DecryptStringA(std::string& plain, const std::string& cipherText);

// The same for as many bytes of ciphertext as length says; digits that the text lacks count as 0.
bool DecryptStringA_Sub(std::string& plain, const std::string& cipherText, std::size_t length);

} // namespace VzCommon::Cryptograph
