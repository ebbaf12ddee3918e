#include "ProductProgram.h"

#include <gmock/gmock.h>

#include <windows.h>

#include "FakeProduct.h"
#include "ObjectCounts.h"

namespace
{
std::wstring SystemProgram(const wchar_t* name)
{
    wchar_t folder[MAX_PATH];
    GetSystemDirectoryW(folder, MAX_PATH);
    return std::wstring(folder) + L"\\" + name;
}

TEST(ProductProgramTest, IsFoundBySuffix)
{
    EXPECT_STREQ(FindProductProgram(L"M")->fileName, L"qxctl_M.exe");
    EXPECT_STREQ(FindProductProgram(L"b")->fileName, L"qxctl_B.exe");
    EXPECT_STREQ(FindProductProgram(L"")->fileName, L"qxctl.exe");
    EXPECT_STREQ(FindProductProgram(L"none")->fileName, L"qxctl.exe");
    EXPECT_EQ(FindProductProgram(L"X"), nullptr);
    EXPECT_EQ(FindProductProgram(L"Melvio"), nullptr);
}

TEST(ProductProgramTest, OfNoSuffixStandsForTheProductWithTheTray)
{
    const FakeProduct product(L"qxctl.exe");
    EXPECT_STREQ(DefaultProductProgram().fileName, L"qxctl_M.exe");
    EXPECT_TRUE(IsRunning(*FindProductProgram(L"none")));
    EXPECT_FALSE(IsRunning(*FindProductProgram(L"M")));
}

TEST(ProductProgramTest, OfASuffixStandsForItsOwnProduct)
{
    const FakeProduct product(L"qxctl_B.exe");
    EXPECT_STREQ(DefaultProductProgram().fileName, L"qxctl_B.exe");
    EXPECT_TRUE(IsRunning(DefaultProductProgram()));
}

TEST(ProductProgramTest, TakesTheArgumentsUnchanged)
{
    EXPECT_EQ(ArgumentsOf(L"qxctl"), L"");
    EXPECT_EQ(ArgumentsOf(L"qxctl send \"{\\\"a\\\": 1}\" \\\\\" *"), L" send \"{\\\"a\\\": 1}\" \\\\\" *");
    EXPECT_EQ(ArgumentsOf(L"\"C:\\a b\\qxctl.exe\"  x"), L"  x");
    EXPECT_EQ(ArgumentsOf(L"\"C:\\a b\\\" x"), L" x");
    EXPECT_EQ(ArgumentsOf(L"C:\\\"a b\"\\qxctl\tx"), L"\tx");
    EXPECT_EQ(ArgumentsOf(L""), L"");
}

TEST(ProductProgramTest, PassesTheExitCodeOn)
{
    const ProgramRun run = RunProgram(SystemProgram(L"cmd.exe"), L" /c exit 42");
    EXPECT_EQ(run.error, 0U);
    EXPECT_EQ(run.exitCode, 42U);
    EXPECT_EQ(RunProgram(SystemProgram(L"nothing.exe"), L"").error, static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

TEST(ProductProgramTest, LeavesNoHandleBehind)
{
    const std::wstring path = SystemProgram(L"cmd.exe");
    EXPECT_EQ(TestSupport::GrowthOf([&path] { static_cast<void>(RunProgram(path, L" /c exit 0")); }, 5), "");
}
} // namespace
