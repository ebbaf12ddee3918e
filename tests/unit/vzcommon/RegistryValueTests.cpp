#include "VzComn_RegistryValue.h"

#include "ImportPatch.h"
#include "ObjectCounts.h"
#include "TempRegistry.h"
#include "UniqueName.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

using TestSupport::ImportPatch;
using TestSupport::TempRegistry;
using namespace VzCommon::Storage;

namespace
{

constexpr wchar_t subkey[] = L"SOFTWARE\\NorvaneSoft\\Melvio";

class RegistryValueTest : public testing::Test
{
protected:
    TempRegistry hive{HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER};
    std::uint32_t error = 99;
    const std::uint32_t three = 3;
};

TEST_F(RegistryValueTest, ReadsANumberOfTheLocalMachine)
{
    hive.SetDword(HKEY_LOCAL_MACHINE, subkey, L"DumpNumberLimit", 4294967295U);
    EXPECT_EQ(ReadRegistryDword(subkey, L"DumpNumberLimit", &three, 0, &error), 4294967295U);
    EXPECT_EQ(error, 0U);
    EXPECT_EQ(ReadRegistryDword(subkey, L"DumpNumberLimit", &three, RegistryView::Bits64, nullptr),
              4294967295U);
}

TEST_F(RegistryValueTest, GivesTheDefaultAndTheSystemsCodeForAMissingNumber)
{
    EXPECT_EQ(ReadRegistryDword(subkey, L"DumpNumberLimit", &three, 0, &error), 3U);
    EXPECT_EQ(error, 2U) << "the key is missing";
    hive.SetString(HKEY_LOCAL_MACHINE, subkey, L"Text", L"5");
    error = 99;
    EXPECT_EQ(ReadRegistryDword(subkey, L"DumpNumberLimit", &three, 0, &error), 3U);
    EXPECT_EQ(error, 2U) << "the value is missing";
    EXPECT_EQ(ReadRegistryDword(subkey, L"Text", &three, 0, &error), 3U);
    EXPECT_EQ(error, 13U);
    EXPECT_EQ(ReadRegistryDword(subkey, L"Text", nullptr, 0, nullptr), 0U);
}

TEST_F(RegistryValueTest, ReadsATextOfTheGivenRoot)
{
    hive.SetString(HKEY_LOCAL_MACHINE, subkey, L"ProductPath", L"C:\\Product");
    hive.SetString(HKEY_CURRENT_USER, subkey, L"ProductPath", L"elsewhere");
    EXPECT_EQ(ReadRegistryString(HKEY_LOCAL_MACHINE, subkey, L"ProductPath", L"d", 0, &error),
              L"C:\\Product");
    EXPECT_EQ(error, 0U);
    EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, subkey, L"ProductPath", L"d", 0, nullptr), L"elsewhere");
}

TEST_F(RegistryValueTest, GivesTheDefaultAndTheSystemsCodeForAMissingText)
{
    EXPECT_EQ(ReadRegistryString(HKEY_LOCAL_MACHINE, subkey, L"ProductPath", L"d", 0, &error), L"d");
    EXPECT_EQ(error, 2U);
    hive.SetDword(HKEY_LOCAL_MACHINE, subkey, L"ProductPath", 5);
    EXPECT_EQ(ReadRegistryString(HKEY_LOCAL_MACHINE, subkey, L"ProductPath", L"d", 0, &error), L"d");
    EXPECT_EQ(error, 13U);
    EXPECT_EQ(ReadRegistryString(nullptr, subkey, L"ProductPath", L"d", 0, &error), L"d");
    EXPECT_NE(error, 0U);
}

REGSAM s_access = 0;

LSTATUS WINAPI FakeRegOpenKeyExW(HKEY /*root*/, const wchar_t* /*path*/, DWORD /*options*/, REGSAM access,
                                 HKEY* /*key*/)
{
    s_access = access;
    return ERROR_FILE_NOT_FOUND;
}

TEST_F(RegistryValueTest, TakesTheGivenViewOrThatOfTheSystemAndNeverBoth)
{
    const ImportPatch patch(nullptr, "RegOpenKeyExW", &FakeRegOpenKeyExW);
    const std::pair<std::uint32_t, REGSAM> views[] = {{0, 0x101}, {1, 0x201}, {2, 0x101}};
    for (const auto& [view, access] : views)
    {
        EXPECT_EQ(ReadRegistryDword(subkey, L"a", &three, view, &error), 3U);
        EXPECT_EQ(s_access, access);
        s_access = 0;
        EXPECT_EQ(ReadRegistryString(HKEY_LOCAL_MACHINE, subkey, L"a", L"d", view, &error), L"d");
        EXPECT_EQ(s_access, access);
    }
}

TEST_F(RegistryValueTest, ReportsAnyOtherExceptionByOneNumber)
{
    const ImportPatch patch(
        nullptr, "RegOpenKeyExW",
        +[](HKEY, const wchar_t*, DWORD, REGSAM, HKEY*) -> LSTATUS
        { throw std::runtime_error("unexpected"); });
    EXPECT_EQ(ReadRegistryDword(subkey, L"a", &three, 0, &error), 3U);
    EXPECT_EQ(error, 0x800300FDU);
    error = 99;
    EXPECT_EQ(ReadRegistryString(HKEY_LOCAL_MACHINE, subkey, L"a", L"d", 0, &error), L"d");
    EXPECT_EQ(error, 0x800300FDU);
}

TEST_F(RegistryValueTest, DeletesAnExceptionOfTheLibraryThatIsNoStores)
{
    static int deleted = 0;

    struct Foreign : VzCommon::Exception::Base
    {
        Foreign() : Base(7, 1, "file") {}

        ~Foreign() override { ++deleted; }
    };

    const ImportPatch patch(
        nullptr, "RegOpenKeyExW",
        +[](HKEY, const wchar_t*, DWORD, REGSAM, HKEY*) -> LSTATUS { throw new Foreign; });
    EXPECT_EQ(ReadRegistryDword(subkey, L"a", &three, 0, &error), 3U);
    EXPECT_EQ(error, 0x800300FDU);
    EXPECT_EQ(deleted, 1);
}

decltype(&std::malloc) s_malloc = nullptr;
constexpr std::size_t refusedSize = 200000;

void* __cdecl RefuseMuch(std::size_t size)
{
    return size < refusedSize ? s_malloc(size) : nullptr;
}

TEST_F(RegistryValueTest, GivesAnEmptyTextWithoutMemoryForTheDefault)
{
    const std::wstring longDefault(refusedSize, L'd');
    const ImportPatch patch(nullptr, "malloc", &RefuseMuch);
    s_malloc = patch.Original<decltype(std::malloc)>();
    EXPECT_EQ(ReadRegistryString(HKEY_LOCAL_MACHINE, subkey, L"Missing", longDefault, 0, &error), L"");
    EXPECT_EQ(error, 0x800300FDU);
}

TEST_F(RegistryValueTest, LeavesNoKeyOpen)
{
    hive.SetString(HKEY_LOCAL_MACHINE, subkey, L"Text", L"x");
    EXPECT_EQ(TestSupport::GrowthOf(
                  []
                  {
                      (void)ReadRegistryString(HKEY_LOCAL_MACHINE, subkey, L"Text", L"d", 0, nullptr);
                      (void)ReadRegistryString(HKEY_LOCAL_MACHINE, subkey, L"Missing", L"d", 0, nullptr);
                      (void)ReadRegistryDword(subkey, L"Text", nullptr, 0, nullptr);
                      (void)ReadRegistryDword(L"No\\Key", L"Text", nullptr, 0, nullptr);
                  }),
              "");
}

} // namespace
