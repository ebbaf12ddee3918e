#include <gmock/gmock.h>

#include <cstring>

#include "ImportPatch.h"
#include "LogCapture.h"
#include "ObjectCounts.h"
#include "QxSensSinkHelper.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
std::vector<std::wstring> g_loaded;
bool g_canLoad = true;
bool g_hasExport = true;
BOOL g_alive = TRUE;
int g_freed = 0;
DWORD* g_flags = nullptr;

HMODULE WINAPI FakeLoadLibrary(LPCWSTR name)
{
    g_loaded.emplace_back(name);
    if (!g_canLoad)
    {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    return GetModuleHandleW(nullptr);
}

BOOL WINAPI FakeFreeLibrary(HMODULE module)
{
    EXPECT_EQ(module, GetModuleHandleW(nullptr));
    ++g_freed;
    return TRUE;
}

BOOL WINAPI FakeIsNetworkAlive(DWORD* flags)
{
    g_flags = flags;
    *flags = 5;
    return g_alive;
}

FARPROC WINAPI FakeGetProcAddress(HMODULE /*module*/, LPCSTR name)
{
    EXPECT_STREQ(name, "IsNetworkAlive");
    SetLastError(ERROR_PROC_NOT_FOUND);
    return g_hasExport ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&FakeIsNetworkAlive)) : nullptr;
}

class NetworkAliveTest : public ::testing::Test
{
protected:
    NetworkAliveTest()
    {
        g_loaded.clear();
        g_canLoad = true;
        g_hasExport = true;
        g_alive = TRUE;
        g_freed = 0;
        g_flags = nullptr;
    }

    TestSupport::LogCapture log{0x0111};
    TestSupport::ImportPatch load{nullptr, "LoadLibraryW", &FakeLoadLibrary};
    TestSupport::ImportPatch unload{nullptr, "FreeLibrary", &FakeFreeLibrary};
    TestSupport::ImportPatch find{nullptr, "GetProcAddress", &FakeGetProcAddress};
    DWORD flags = 0;
};
} // namespace

TEST_F(NetworkAliveTest, GivesTheAnswerAndTheKindsOfTheSystem)
{
    EXPECT_TRUE(CQxSensSinkHelper::IsNetworkAlive(&flags));
    EXPECT_EQ(flags, 5U);
    EXPECT_EQ(g_flags, &flags);
    EXPECT_THAT(g_loaded, ElementsAre(L"sensapi.dll"));
    EXPECT_EQ(g_freed, 1);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(NetworkAliveTest, EveryAnswerButZeroIsAlive)
{
    g_alive = FALSE;
    EXPECT_FALSE(CQxSensSinkHelper::IsNetworkAlive(&flags));
    EXPECT_EQ(flags, 5U) << "as the system left them";
    g_alive = -7;
    EXPECT_TRUE(CQxSensSinkHelper::IsNetworkAlive(&flags));
    EXPECT_EQ(g_freed, 2);
}

TEST_F(NetworkAliveTest, WithoutTheLibraryThereIsNoNetwork)
{
    g_canLoad = false;
    EXPECT_FALSE(CQxSensSinkHelper::IsNetworkAlive(&flags));
    EXPECT_EQ(flags, 0U);
    EXPECT_EQ(g_freed, 0);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] LoadLibrary (sensapi.dll) failed!!! ErrorCode: 126"));
}

TEST_F(NetworkAliveTest, WithoutTheExportThereIsNoNetworkAndNoLine)
{
    g_hasExport = false;
    EXPECT_FALSE(CQxSensSinkHelper::IsNetworkAlive(&flags));
    EXPECT_EQ(flags, 0U);
    EXPECT_EQ(g_freed, 1);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(NetworkAliveTest, NobodyIsAskedWithoutAPlaceForTheKinds)
{
    EXPECT_FALSE(CQxSensSinkHelper::IsNetworkAlive(nullptr));
    EXPECT_EQ(g_flags, nullptr);
    EXPECT_EQ(g_freed, 1);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST(NetworkAliveOfTheSystemTest, LeavesNothingBehind)
{
    EXPECT_EQ(TestSupport::GrowthOf(
                  []
                  {
                      DWORD flags = 0;
                      static_cast<void>(CQxSensSinkHelper::IsNetworkAlive(&flags));
                  }),
              "");
}
