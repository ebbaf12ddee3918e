#include "Container.h"

#include "VzComn_Rijndael.h"
#include "VzComn_StringCryptKey.h"

#include <array>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace Container
{
namespace
{

using namespace VzCommon::Cryptograph;
using Key = std::array<std::uint8_t, 16>;

Key ProductKey()
{
    Key key{};
    const std::array<std::uint32_t, 4> pieces = {StringCryptKey::Piece0, StringCryptKey::Piece1,
                                                 StringCryptKey::Piece2, StringCryptKey::Piece3};
    for (std::size_t i = 0; i < key.size(); ++i)
    {
        key[i] = static_cast<std::uint8_t>(pieces[i / 4] >> (8 * (i % 4)));
    }
    return key;
}

std::vector<std::uint8_t> Encipher(std::string_view text, const Key& key)
{
    const Key iv{};
    std::vector<std::uint8_t> output(text.size() + iv.size());
    std::size_t produced = 0;
    std::uint32_t error = 0;
    Rijndael cipher;
    if (!cipher.Initialize(CipherDirection::Encrypt, key.data(), key.size(), CipherMode::Cbc, iv.data(),
                           iv.size(), &error) ||
        !cipher.Convert(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), output.data(),
                        output.size(), &produced, &error))
    {
        throw std::runtime_error("enciphering failed");
    }
    output.resize(produced);
    return output;
}

std::string Digits(const std::vector<std::uint8_t>& bytes)
{
    std::string digits(magic);
    for (const std::uint8_t byte : bytes)
    {
        digits += "0123456789abcdef"[byte >> 4];
        digits += "0123456789abcdef"[byte & 0xF];
    }
    return digits;
}

} // namespace

std::string Of(std::string_view text, Padding padding)
{
    std::vector<std::uint8_t> bytes = Encipher(text, ProductKey());
    if (padding == Padding::None)
    {
        bytes.resize(text.size());
    }
    return Digits(bytes);
}

std::string UnderAnotherKey(std::string_view text)
{
    Key key = ProductKey();
    key.front() ^= 1;
    return Digits(Encipher(text, key));
}

} // namespace Container
