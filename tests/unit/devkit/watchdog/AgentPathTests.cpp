#include "AgentPath.h"

#include <gtest/gtest.h>

#include "FakeProduct.h"
#include "TempRegistry.h"

namespace
{
class AgentPathTest : public ::testing::Test
{
    FakeProduct m_product{L"QxWatchDog_M.exe", L"C:\\Product\\win32"};

protected:
    TestSupport::TempRegistry registry;
};
} // namespace

TEST_F(AgentPathTest, LeadsOneFolderUpWhereNoProductIsRegistered)
{
    EXPECT_EQ(WatchDog::AgentPath(), L"C:\\Product\\QxSessionAgent_M.exe");
}

TEST_F(AgentPathTest, LeadsToTheRegisteredProduct)
{
    registry.SetString(HKEY_LOCAL_MACHINE, L"SOFTWARE\\NorvaneSoft\\Melvio", L"ProductPath", L"D:\\Elsewhere",
                       KEY_WOW64_64KEY);
    EXPECT_EQ(WatchDog::AgentPath(), L"D:\\Elsewhere\\QxSessionAgent_M.exe");
}
