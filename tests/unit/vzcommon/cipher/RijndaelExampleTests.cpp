#include "CipherBytes.h"

#include <gtest/gtest.h>

using namespace CipherTest;
using namespace VzCommon::Cryptograph;

namespace
{

// The example vectors of NIST SP 800-38A, appendix F, by heading.
struct Example
{
    CipherMode mode;
    const char* key;
    const char* ciphered;
};

constexpr const char* Key128 = "2b7e151628aed2a6abf7158809cf4f3c";
constexpr const char* Key192 = "8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b";
constexpr const char* Key256 = "603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4";
constexpr const char* Vector = "000102030405060708090a0b0c0d0e0f";
constexpr const char* Plain = "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                              "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710";

// The published examples of one-bit feedback end after 16 bits.
constexpr Example Examples[] = {
    {CipherMode::Ecb, Key128,
     "3ad77bb40d7a3660a89ecaf32466ef97f5d3d58503b9699de785895a96fdbaaf"
     "43b1cd7f598ece23881b00e3ed0306887b0c785e27e8ad3f8223207104725dd4"},
    {CipherMode::Ecb, Key192,
     "bd334f1d6e45f25ff712a214571fa5cc974104846d0ad3ad7734ecb3ecee4eef"
     "ef7afd2270e2e60adce0ba2face6444e9a4b41ba738d6c72fb16691603c18e0e"},
    {CipherMode::Ecb, Key256,
     "f3eed1bdb5d2a03c064b5a7e3db181f8591ccb10d410ed26dc5ba74a31362870"
     "b6ed21b99ca6f4f9f153e7b1beafed1d23304b7a39f9f3ff067d8d8f9e24ecc7"},
    {CipherMode::Cbc, Key128,
     "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
     "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7"},
    {CipherMode::Cbc, Key192,
     "4f021db243bc633d7178183a9fa071e8b4d9ada9ad7dedf4e5e738763f69145a"
     "571b242012fb7ae07fa9baac3df102e008b0e27988598881d920a9e64f5615cd"},
    {CipherMode::Cbc, Key256,
     "f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
     "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b"},
    {CipherMode::Cfb, Key128, "68b3"},
    {CipherMode::Cfb, Key192, "9359"},
    {CipherMode::Cfb, Key256, "9029"},
};

class RijndaelExampleTest : public testing::TestWithParam<Backend>
{
};

TEST_P(RijndaelExampleTest, GivesThePublishedExamplesInBothDirections)
{
    if (!HasBackend(GetParam()))
    {
        GTEST_SKIP() << "this processor has no AES instructions";
    }
    for (const Example& example : Examples)
    {
        const Bytes key = FromHex(example.key);
        const Setting setting{example.mode, key.size(), GetParam()};
        SCOPED_TRACE(NameOf(setting));
        const std::string expected = example.ciphered;
        const std::string plain = std::string(Plain).substr(0, expected.size());

        const Bytes ciphered =
            ConvertAll(setting, CipherDirection::Encrypt, key, FromHex(Vector), FromHex(plain));
        EXPECT_EQ(ToHex(ciphered).substr(0, expected.size()), expected);
        const Bytes deciphered =
            ConvertAll(setting, CipherDirection::Decrypt, key, FromHex(Vector), ciphered);
        EXPECT_EQ(ToHex(deciphered), plain);
    }
}

INSTANTIATE_TEST_SUITE_P(All, RijndaelExampleTest, testing::Values(Backend::Table, Backend::Instructions),
                         [](const auto& test)
                         { return test.param == Backend::Table ? "Table" : "Instructions"; });

} // namespace
