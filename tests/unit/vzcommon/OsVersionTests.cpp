// The product asks the system once in the life of a process: each case here needs a process of its own, which
// CTest gives it.
#include "VzComn_OsVersion.h"

#include "FakeExports.h"
#include "FakeOsVersion.h"
#include "ObjectCounts.h"

#include <gtest/gtest.h>

#include <set>

namespace
{

using TestSupport::FakeExports;
using TestSupport::FakeOsVersion;
using VzCommon::IsNative64;
using VzCommon::IsOsVersion;
using VzCommon::s_versionError;

std::set<unsigned> FittingCodes()
{
    std::set<unsigned> codes;
    for (unsigned code = 0; code < 200; ++code)
    {
        if (IsOsVersion(code))
        {
            codes.insert(code);
        }
    }
    return codes;
}

void WINAPI Intel32(SYSTEM_INFO* info)
{
    info->wProcessorArchitecture = PROCESSOR_ARCHITECTURE_INTEL;
}

void WINAPI Amd64(SYSTEM_INFO* info)
{
    info->wProcessorArchitecture = PROCESSOR_ARCHITECTURE_AMD64;
}

void WINAPI Arm64(SYSTEM_INFO* info)
{
    info->wProcessorArchitecture = 12;
}

struct Row
{
    const char* name;
    FakeOsVersion::System system;
    std::set<unsigned> codes; // on a 64-bit system
};

// Keeps the bytes of the record out of the names of the tests.
void PrintTo(const Row& row, std::ostream* stream)
{
    *stream << row.name;
}

constexpr DWORD nt = VER_PLATFORM_WIN32_NT;
constexpr DWORD win9x = VER_PLATFORM_WIN32_WINDOWS;

const Row rows[] = {
    {"Windows98", {win9x, 4, 10, 0, 0}, {2}},
    {"WindowsMe", {win9x, 4, 90, 0, 0}, {1, 2}},
    {"WindowsNt4", {nt, 4, 0, 6, 1}, {101}},
    {"Windows2000", {nt, 5, 0, 4, 1}, {3, 101, 102}},
    {"WindowsXpSp1", {nt, 5, 1, 1, 1}, {5, 7, 101, 102, 103}},
    {"WindowsXpSp2", {nt, 5, 1, 2, 1}, {5, 7, 101, 102, 103, 104}},
    {"WindowsXpSp3", {nt, 5, 1, 3, 1}, {5, 7, 101, 102, 103, 104, 105}},
    {"WindowsXp64", {nt, 5, 2, 2, 1}, {6, 7, 101, 102, 103, 104, 105}},
    {"Server2003", {nt, 5, 2, 0, 3}, {4, 101, 102, 103, 104, 105, 114}},
    {"Vista", {nt, 6, 0, 0, 1}, {9, 10, 101, 102, 103, 104, 105, 106}},
    {"VistaSp1", {nt, 6, 0, 1, 1}, {9, 10, 101, 102, 103, 104, 105, 106, 107}},
    {"VistaSp2", {nt, 6, 0, 2, 1}, {9, 10, 101, 102, 103, 104, 105, 106, 107, 108}},
    {"Server2008Sp2", {nt, 6, 0, 2, 3}, {9, 10, 101, 102, 103, 104, 105, 106, 107, 108, 114}},
    {"Windows7", {nt, 6, 1, 0, 1}, {12, 13, 101, 102, 103, 104, 105, 106, 107, 108, 109}},
    {"Windows7Sp1", {nt, 6, 1, 1, 1}, {12, 13, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110}},
    {"Server2008R2", {nt, 6, 1, 1, 3}, {12, 13, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 114}},
    {"Windows8", {nt, 6, 2, 0, 1}, {15, 16, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111}},
    {"Windows81", {nt, 6, 3, 0, 1}, {18, 19, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111, 112}},
    {"Windows10", {nt, 10, 0, 0, 1}, {21, 22, 101, 102, 103, 104, 105, 106, 107, 108, 110, 111, 112, 113}},
    {"Server2016",
     {nt, 10, 0, 0, 3},
     {21, 22, 101, 102, 103, 104, 105, 106, 107, 108, 110, 111, 112, 113, 114}},
    {"AfterWindows10", {nt, 10, 1, 0, 1}, {101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111, 112, 113}},
};

class OsVersionTest : public testing::TestWithParam<Row>
{
};

} // namespace

TEST_P(OsVersionTest, FitsExactlyItsCodes)
{
    FakeExports exports;
    exports.Set("GetNativeSystemInfo", &Amd64);
    const FakeOsVersion version(GetParam().system);
    EXPECT_EQ(FittingCodes(), GetParam().codes);
    EXPECT_EQ(s_versionError, 0U);
}

INSTANTIATE_TEST_SUITE_P(Systems, OsVersionTest, testing::ValuesIn(rows),
                         [](const testing::TestParamInfo<Row>& row) { return row.param.name; });

namespace
{

class NarrowOsVersionTest : public testing::TestWithParam<Row>
{
};

const Row narrowRows[] = {
    {"Vista", {nt, 6, 0, 0, 1}, {8, 10}},       {"Windows7", {nt, 6, 1, 0, 1}, {11, 13}},
    {"Windows8", {nt, 6, 2, 0, 1}, {14, 16}},   {"Windows81", {nt, 6, 3, 0, 1}, {17, 19}},
    {"Windows10", {nt, 10, 0, 0, 1}, {20, 22}},
};

} // namespace

TEST_P(NarrowOsVersionTest, IsToldFromTheWideOne)
{
    FakeExports exports;
    exports.Set("GetNativeSystemInfo", &Intel32);
    const FakeOsVersion version(GetParam().system);
    std::set<unsigned> codes = FittingCodes();
    codes.erase(codes.lower_bound(100), codes.end());
    EXPECT_EQ(codes, GetParam().codes);
}

INSTANTIATE_TEST_SUITE_P(Systems, NarrowOsVersionTest, testing::ValuesIn(narrowRows),
                         [](const testing::TestParamInfo<Row>& row) { return row.param.name; });

TEST(OsVersionQueryTest, FillsTwoRecordsOnce)
{
    const FakeOsVersion version(FakeOsVersion::System{nt, 6, 1, 0, 1});
    EXPECT_TRUE(IsOsVersion(13));
    EXPECT_TRUE(IsOsVersion(109));
    EXPECT_EQ(FakeOsVersion::Queries(), (std::vector<DWORD>{276, 284}));
    const FakeOsVersion later(FakeOsVersion::System{nt, 10, 0, 0, 1});
    EXPECT_FALSE(IsOsVersion(113));
    EXPECT_TRUE(FakeOsVersion::Queries().empty());
}

TEST(OsVersionQueryTest, FailureIsToldByTheErrorAlone)
{
    const FakeOsVersion version(DWORD{122});
    EXPECT_FALSE(IsOsVersion(102));
    EXPECT_EQ(s_versionError, 122U);
}

TEST(OsVersionQueryTest, FailureOfTheSecondRecordCountsToo)
{
    const FakeOsVersion version(DWORD{87}, 1);
    EXPECT_FALSE(IsOsVersion(102));
    EXPECT_EQ(s_versionError, 87U);
}

TEST(OsVersionQueryTest, AFailedQueryIsTriedAgain)
{
    const FakeOsVersion version(DWORD{122});
    EXPECT_FALSE(IsOsVersion(102));
    FakeOsVersion::Heal({nt, 10, 0, 0, 1});
    EXPECT_TRUE(IsOsVersion(102));
    EXPECT_EQ(s_versionError, 0U);
}

TEST(OsVersionQueryTest, AnswersForTheRunningSystem)
{
    EXPECT_TRUE(IsOsVersion(VzCommon::OsVersion::Windows2000OrLater));
    EXPECT_TRUE(IsOsVersion(VzCommon::OsVersion::VistaOrLater));
    EXPECT_FALSE(IsOsVersion(2));
}

TEST(Native64Test, AnswersForTheRunningSystem)
{
    EXPECT_TRUE(IsNative64());
}

TEST(Native64Test, IsFalseOnANarrowSystem)
{
    FakeExports exports;
    exports.Set("GetNativeSystemInfo", &Intel32);
    EXPECT_FALSE(IsNative64());
    exports.Set("GetNativeSystemInfo", &Amd64);
    EXPECT_FALSE(IsNative64()); // the first answer stays
}

TEST(Native64Test, IsFalseOnAnotherWideProcessor)
{
    FakeExports exports;
    exports.Set("GetNativeSystemInfo", &Arm64);
    EXPECT_FALSE(IsNative64());
}

TEST(Native64Test, IsFalseWithoutTheFunctionAndAsksAgain)
{
    FakeExports exports;
    exports.Remove("GetNativeSystemInfo");
    EXPECT_FALSE(IsNative64());
    exports.Set("GetNativeSystemInfo", &Amd64);
    EXPECT_TRUE(IsNative64());
}

TEST(Native64Test, LeavesNothingBehind)
{
    EXPECT_EQ(TestSupport::GrowthOf([] { static_cast<void>(IsNative64() && IsOsVersion(102)); }), "");
}
