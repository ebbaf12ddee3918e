#pragma once

#include <cstddef>
#include <cstdint>

namespace VzCommon::Cryptograph
{

enum class CipherDirection : std::uint32_t
{
    Encrypt = 0,
    Decrypt = 1
};

enum class CipherMode : std::uint32_t
{
    Ecb = 0,
    Cbc = 1,
    Cfb = 2 // with one bit of feedback
};

enum class CipherState : std::uint32_t
{
    Uninitialized = 0,
    Initialized = 1,
    Converting = 2,
    Finished = 3
};

// The Windows error codes that a cipher reports.
namespace CipherError
{
inline constexpr std::uint32_t WrongState = 1;
inline constexpr std::uint32_t WrongKeyLength = 13;
inline constexpr std::uint32_t InvalidParameter = 87; // also a null pointer
inline constexpr std::uint32_t OutputTooSmall = 122;
} // namespace CipherError

// A block cipher that takes its message in pieces of any size. One message goes Initialize, Update as often
// as wanted, Finish; Uninitialize makes the object ready for the next one. Used by one thread at a time.
//
// Every operation sets error, which may be null, to 0 on success. A failed Update, Finish or Convert has
// consumed and written nothing, so it can be repeated. A pointer may be null only if its length is 0;
// outputCount may not.
class SymmetricCipherBase
{
public:
    SymmetricCipherBase() = default;
    virtual ~SymmetricCipherBase() = default;

    SymmetricCipherBase(const SymmetricCipherBase&) = delete;
    SymmetricCipherBase& operator=(const SymmetricCipherBase&) = delete;

    // Copies key and iv. The iv is not looked at in mode Ecb. Fails with WrongState once a message has begun.
    virtual bool Initialize(CipherDirection newDirection, const std::uint8_t* key, std::size_t newKeyLength,
                            CipherMode newMode, const std::uint8_t* iv, std::size_t ivLength,
                            std::uint32_t* error) = 0;

    // Update and Finish in one call.
    virtual bool Convert(const std::uint8_t* input, std::size_t inputLength, std::uint8_t* output,
                         std::size_t outputLength, std::size_t* outputCount, std::uint32_t* error) = 0;

    // Wipes the key and whatever is held of a message.
    virtual bool Uninitialize(std::uint32_t* error) = 0;

    // Processes the whole blocks that are there; deciphering holds the last one back for Finish. The output
    // may be the input itself in the first call of a message; apart from that the two do not overlap.
    virtual bool Update(const std::uint8_t* input, std::size_t inputLength, std::uint8_t* output,
                        std::size_t outputLength, std::size_t* outputCount, std::uint32_t* error) = 0;

    // Processes what is held, with padding; needs room for one block. Bad padding is no error: the block then
    // comes out whole.
    virtual bool Finish(std::uint8_t* output, std::size_t outputLength, std::size_t* outputCount,
                        std::uint32_t* error) = 0;

    [[nodiscard]] virtual std::size_t GetBlockSize() const = 0;

    // In bytes; 0 without a key.
    [[nodiscard]] virtual std::size_t GetKeySize() const = 0;
};

} // namespace VzCommon::Cryptograph
