#include "CipherBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

using namespace VzCommon::Cryptograph;

namespace CipherTest
{

Bytes FromHex(const std::string& text)
{
    Bytes bytes;
    EXPECT_EQ(text.size() % 2, 0U) << text;
    EXPECT_EQ(text.find_first_not_of("0123456789abcdefABCDEF"), std::string::npos) << text;
    for (std::size_t at = 0; at + 1 < text.size(); at += 2)
    {
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(at, 2), nullptr, 16)));
    }
    return bytes;
}

std::string ToHex(const Bytes& bytes)
{
    std::string text;
    for (const std::uint8_t byte : bytes)
    {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 0xF];
    }
    return text;
}

Bytes Slice(const Bytes& bytes, std::size_t from, std::size_t to)
{
    return {bytes.begin() + static_cast<std::ptrdiff_t>(from),
            bytes.begin() + static_cast<std::ptrdiff_t>(to)};
}

Bytes RandomBytes(std::size_t count, std::uint32_t seed)
{
    std::mt19937 random(seed);
    Bytes bytes(count);
    std::generate(bytes.begin(), bytes.end(),
                  [&random] { return static_cast<std::uint8_t>(random() >> 24); });
    return bytes;
}

bool HasBackend(Backend backend)
{
    return backend == Backend::Table || RijndaelInstructionBackend() != nullptr;
}

const RijndaelBackend& GetBackend(Backend backend)
{
    return backend == Backend::Table ? RijndaelTableBackend() : *RijndaelInstructionBackend();
}

void PrintTo(Backend backend, std::ostream* stream)
{
    *stream << (backend == Backend::Table ? "Table" : "Instructions");
}

std::vector<Setting> AllSettings()
{
    std::vector<Setting> settings;
    for (const CipherMode mode : {CipherMode::Ecb, CipherMode::Cbc, CipherMode::Cfb})
    {
        for (const std::size_t keyLength : {16U, 24U, 32U})
        {
            settings.push_back({mode, keyLength, Backend::Table});
            settings.push_back({mode, keyLength, Backend::Instructions});
        }
    }
    return settings;
}

std::vector<Setting> OneOfEachMode()
{
    std::vector<Setting> settings;
    for (const Backend backend : {Backend::Table, Backend::Instructions})
    {
        settings.push_back({CipherMode::Ecb, 32, backend});
        settings.push_back({CipherMode::Cbc, 16, backend});
        settings.push_back({CipherMode::Cfb, 24, backend});
    }
    return settings;
}

std::string NameOf(const Setting& setting)
{
    constexpr std::array modes = {"Ecb", "Cbc", "Cfb"};
    return modes[static_cast<std::size_t>(setting.mode)] + std::string("Key") +
           std::to_string(setting.keyLength) + (setting.backend == Backend::Table ? "Table" : "Instructions");
}

void PrintTo(const Setting& setting, std::ostream* stream)
{
    *stream << NameOf(setting);
}

Bytes ConvertAll(const Setting& setting, CipherDirection direction, const Bytes& key, const Bytes& iv,
                 const Bytes& input)
{
    Rijndael cipher(GetBackend(setting.backend));
    Bytes output(input.size() + BlockSize);
    std::size_t count = 0;
    std::uint32_t error = 0;
    EXPECT_TRUE(
        cipher.Initialize(direction, key.data(), key.size(), setting.mode, iv.data(), iv.size(), &error));
    EXPECT_TRUE(cipher.Convert(input.data(), input.size(), output.data(), output.size(), &count, &error))
        << error;
    output.resize(count);
    return output;
}

} // namespace CipherTest
