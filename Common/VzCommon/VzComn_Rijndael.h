#pragma once

#include "VzComn_RijndaelBackend.h"
#include "VzComn_SymmetricCipher.h"

namespace VzCommon::Cryptograph
{

// Rijndael with blocks of 128 bits, that is AES, padded in the manner of PKCS#7. Used by one thread at a
// time.
//
//     Rijndael cipher;
//     cipher.Initialize(CipherDirection::Decrypt, key, 16, CipherMode::Cbc, iv, 16, &error);
//     cipher.Convert(input, inputLength, output, inputLength, &produced, &error);
class Rijndael final : public SymmetricCipherBase
{
public:
    static constexpr std::size_t BlockSize = RijndaelBlockSize;

    // The backend has to be one of VzComn_RijndaelBackend.h.
    explicit Rijndael(const RijndaelBackend& roundBackend = BestRijndaelBackend());
    ~Rijndael() override;

    bool Initialize(CipherDirection newDirection, const std::uint8_t* key, std::size_t newKeyLength,
                    CipherMode newMode, const std::uint8_t* iv, std::size_t ivLength,
                    std::uint32_t* error) override;
    bool Convert(const std::uint8_t* input, std::size_t inputLength, std::uint8_t* output,
                 std::size_t outputLength, std::size_t* outputCount, std::uint32_t* error) override;
    bool Uninitialize(std::uint32_t* error) override;
    bool Update(const std::uint8_t* input, std::size_t inputLength, std::uint8_t* output,
                std::size_t outputLength, std::size_t* outputCount, std::uint32_t* error) override;
    bool Finish(std::uint8_t* output, std::size_t outputLength, std::size_t* outputCount,
                std::uint32_t* error) override;

    [[nodiscard]] std::size_t GetBlockSize() const override { return BlockSize; }

    [[nodiscard]] std::size_t GetKeySize() const override { return keyLength; }

    // What Initialize does once its arguments are found good, in any state: drops a message under way.
    // Without an iv the vector is zero. False, with nothing changed, for a null key or a key length that
    // there is not.
    bool SetUp(CipherDirection newDirection, const std::uint8_t* key, std::size_t newKeyLength,
               CipherMode newMode, const std::uint8_t* iv);

private:
    [[nodiscard]] std::size_t Held() const { return blockFill + tailFill; }

    [[nodiscard]] std::size_t BlocksDue(std::size_t inputLength) const;
    [[nodiscard]] bool HasLastBlock(std::size_t furtherInput) const;
    [[nodiscard]] bool TakesInput() const;
    bool Judge(bool stateFits, const std::uint8_t* input, std::size_t inputLength, const std::uint8_t* output,
               std::size_t outputLength, std::size_t blocks, std::size_t* outputCount,
               std::uint32_t* error) const;
    std::size_t TakeIn(const std::uint8_t* input, std::size_t length, std::uint8_t* output);
    std::size_t TopUp(const std::uint8_t* input, std::size_t length);
    void ReleaseBlock(std::uint8_t* output);
    void Hold(const std::uint8_t* input, std::size_t length);
    std::size_t PutLast(std::uint8_t* output);
    std::size_t DropPadding(std::uint8_t* lastBlock);
    void ProcessBlocks(const std::uint8_t* input, std::uint8_t* output, std::size_t blocks);
    void ProcessCfb(const std::uint8_t* input, std::uint8_t* output, std::size_t blocks);
    void Wipe();

    std::uint8_t block[BlockSize]{};
    std::size_t blockFill = 0;
    std::size_t padCount = 0; // as found in the last deciphered block
    std::uint8_t chain[BlockSize]{};
    RijndaelSchedule schedule{};
    CipherDirection direction = CipherDirection::Encrypt;
    CipherMode mode = CipherMode::Ecb;
    std::uint32_t rounds = 0;
    std::size_t keyLength = 0;
    CipherState state = CipherState::Uninitialized;

    // When deciphering, what has come in behind a whole held block. A message that ends here had a length
    // that is no multiple of the block, and the tail is dropped.
    std::uint8_t tail[BlockSize]{};
    std::size_t tailFill = 0;
    const RijndaelBackend& backend;
};

} // namespace VzCommon::Cryptograph
