#include "LogCapture.h"
#include "VzComn_StringCrypt.h"
#include "VzComn_StringCryptKey.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace VzCommon::Cryptograph::StringCryptKey
{

const volatile std::uint32_t Piece0 = 0;
const volatile std::uint32_t Piece1 = 0;
const volatile std::uint32_t Piece2 = 0;
const volatile std::uint32_t Piece3 = 0;

} // namespace VzCommon::Cryptograph::StringCryptKey

namespace
{

TEST(NoKeyTest, NothingIsDecipheredWithoutAKey)
{
    const TestSupport::LogCapture log;
    std::string plain = "what was there before";
    EXPECT_FALSE(VzCommon::Cryptograph::DecryptStringA(plain, std::string(64, 'a')));
    EXPECT_EQ(plain, "");
    EXPECT_THAT(log.Texts(),
                testing::ElementsAre(
                    L"*** VzCommon::Cryptograph::DecryptStringA_Sub() - cRijndael.Initialize() was failed.",
                    L"*** VzCommon::Cryptograph::EncryptStringA() - DecryptStringA_Sub() was failed."));
}

} // namespace
