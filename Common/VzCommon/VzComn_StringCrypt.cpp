#include "VzComn_StringCrypt.h"

#include "VzComn_HexText.h"
#include "VzComn_LogFront.h"
#include "VzComn_Rijndael.h"
#include "VzComn_RijndaelWord.h"
#include "VzComn_SecureWipe.h"
#include "VzComn_StringCryptKey.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace VzCommon::Cryptograph
{

namespace
{

constexpr std::size_t KeyLength = 16;

struct FreeMemory
{
    void operator()(void* memory) const noexcept { std::free(memory); }
};

using Buffer = std::unique_ptr<std::uint8_t, FreeMemory>;

// Zeroed, and not null for a length of 0. Null without memory.
Buffer AllocateBuffer(std::size_t length)
{
    return Buffer(static_cast<std::uint8_t*>(std::calloc(std::max<std::size_t>(length, 1), 1)));
}

// The product's key for as long as the object lives, which is meant to be on the stack.
class ComposedKey
{
public:
    ComposedKey()
    {
        StoreWord(key, StringCryptKey::Piece0);
        StoreWord(key + 4, StringCryptKey::Piece1);
        StoreWord(key + 8, StringCryptKey::Piece2);
        StoreWord(key + 12, StringCryptKey::Piece3);
    }

    ~ComposedKey() { SecureWipe(key, sizeof(key)); }

    ComposedKey(const ComposedKey&) = delete;
    ComposedKey& operator=(const ComposedKey&) = delete;

    // Null if the product has none.
    [[nodiscard]] const std::uint8_t* Get() const
    {
        return std::any_of(key, key + KeyLength, [](std::uint8_t byte) { return byte != 0; }) ? key : nullptr;
    }

private:
    std::uint8_t key[KeyLength]{};
};

bool SetUpCipher(Rijndael& cipher)
{
    const ComposedKey key;
    if (!cipher.SetUp(CipherDirection::Decrypt, key.Get(), KeyLength, CipherMode::Cbc, nullptr))
    {
        LOG_PRINTF(LogLevel::Error,
                   L"*** VzCommon::Cryptograph::DecryptStringA_Sub() - cRijndael.Initialize() was failed.");
        return false;
    }
    return true;
}

bool Decipher(Rijndael& cipher, const std::uint8_t* ciphered, std::uint8_t* decoded, std::size_t length,
              std::size_t& produced)
{
    std::uint32_t error = 0;
    bool converted = cipher.Update(ciphered, length, decoded, length, &produced, &error);
    if (converted && produced < length)
    {
        std::size_t last = 0;
        converted = cipher.Finish(decoded + produced, length - produced, &last, &error);
        produced += last;
    }
    if (!converted)
    {
        LOG_PRINTF(LogLevel::Error,
                   L"*** VzCommon::Cryptograph::DecryptStringA_Sub() - cRijndael.Convert() was failed. [%d]",
                   static_cast<int>(error));
    }
    return converted;
}

} // namespace

bool DecryptStringA(std::string& plain, const std::string& cipherText)
{
    if (!DecryptStringA_Sub(plain, cipherText, cipherText.size() / 2))
    {
        // Deliberate: the line names an operation that there is not.
        LOG_PRINTF(LogLevel::Error,
                   L"*** VzCommon::Cryptograph::EncryptStringA() - DecryptStringA_Sub() was failed.");
        return false;
    }
    return true;
}

bool DecryptStringA_Sub(std::string& plain, const std::string& cipherText, std::size_t length)
{
    const Buffer ciphered = AllocateBuffer(length);
    if (ciphered == nullptr)
    {
        LOG_PRINTF(LogLevel::Error,
                   L"*** VzCommon::Cryptograph::DecryptStringA_Sub() - ui8TextCipher was NULL. [0x%08x]",
                   GetLastError());
        return false;
    }
    const Buffer decoded = AllocateBuffer(length);
    if (decoded == nullptr)
    {
        LOG_PRINTF(LogLevel::Error,
                   L"*** VzCommon::Cryptograph::DecryptStringA_Sub() - ui8TextDecoded was NULL. [0x%08x]",
                   GetLastError());
        return false;
    }
    DecodeHexPairs(cipherText, ciphered.get(), length);

    plain.clear();
    Rijndael cipher;
    std::size_t produced = 0;
    if (!SetUpCipher(cipher) || !Decipher(cipher, ciphered.get(), decoded.get(), length, produced))
    {
        return false;
    }
    plain.assign(reinterpret_cast<const char*>(decoded.get()), std::min(produced, length));
    return true;
}

} // namespace VzCommon::Cryptograph
