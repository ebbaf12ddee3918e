#pragma once

#include "VzComn_Rijndael.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

// What the cipher tests share.
namespace CipherTest
{

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::size_t BlockSize = VzCommon::Cryptograph::Rijndael::BlockSize;

// Upper or lower case; anything else fails the test.
Bytes FromHex(const std::string& text);
std::string ToHex(const Bytes& bytes);

// The bytes from one place up to another.
Bytes Slice(const Bytes& bytes, std::size_t from, std::size_t to);

// Reproducible, and different for every seed.
Bytes RandomBytes(std::size_t count, std::uint32_t seed);

enum class Backend
{
    Table,
    Instructions
};

// The fixture's tests are skipped for Instructions on a processor that lacks them.
bool HasBackend(Backend backend);
const VzCommon::Cryptograph::RijndaelBackend& GetBackend(Backend backend);

void PrintTo(Backend backend, std::ostream* stream);

struct Setting
{
    VzCommon::Cryptograph::CipherMode mode;
    std::size_t keyLength;
    Backend backend;
};

// Every mode with every key length on both backends.
std::vector<Setting> AllSettings();

// Every mode on both backends, each mode with another key length.
std::vector<Setting> OneOfEachMode();

// Such as "CbcKey16Table".
std::string NameOf(const Setting& setting);
void PrintTo(const Setting& setting, std::ostream* stream);

// One message in one call, with padding, from a fresh cipher; fails the test if the cipher does.
Bytes ConvertAll(const Setting& setting, VzCommon::Cryptograph::CipherDirection direction, const Bytes& key,
                 const Bytes& iv, const Bytes& input);

} // namespace CipherTest
