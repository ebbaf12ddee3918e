#include <gmock/gmock.h>

#include <cwchar>

#include "FakeModules.h"
#include "FileVersion.h"
#include "LogCapture.h"
#include "ObjectCounts.h"
#include "ScarceMemory.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
class FileVersionTest : public ::testing::Test
{
protected:
    FileVersionTest() { modules.GiveVersion(L"C:\\x\\a.dll", {1, 22, 333, 4444}); }

    // The version of a file that has one, by a call that gives the answer.
    std::wstring Version(bool expected)
    {
        FaultText text;
        std::wmemset(text, L'#', faultTextLength);
        EXPECT_EQ(GetFileVersionText(L"C:\\x\\a.dll", text), expected);
        return text;
    }

    TestSupport::LogCapture log;
    FakeModules modules;
};
} // namespace

TEST_F(FileVersionTest, GivesTheFourPartsOfTheFileVersion)
{
    EXPECT_EQ(Version(true), L"1.22.333.4444");
    EXPECT_THAT(modules.versionFiles, ElementsAre(L"C:\\x\\a.dll"));
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(FileVersionTest, GivesTheLargestPartsWithoutASign)
{
    modules.GiveVersion(L"C:\\x\\a.dll", {65535, 65535, 65535, 65535});
    EXPECT_EQ(Version(true), L"65535.65535.65535.65535");
}

TEST_F(FileVersionTest, AFileWithoutAVersionHasZeros)
{
    FaultText text = L"9.9.9.9";
    EXPECT_FALSE(GetFileVersionText(L"C:\\x\\other.dll", text));
    EXPECT_STREQ(text, L"0.0.0.0");
    EXPECT_THAT(log.Texts(), IsEmpty()) << "nothing is wrong with such a file";
}

TEST_F(FileVersionTest, AVersionThatCannotBeReadLeavesZeros)
{
    modules.canFetch = false;
    EXPECT_EQ(Version(false), L"0.0.0.0");
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] GetFileVersionInfo() fails"));
}

TEST_F(FileVersionTest, WithoutMemoryForTheVersionThereAreZeros)
{
    std::wstring version;
    {
        FaultText text;
        const NoMemory none;
        EXPECT_FALSE(GetFileVersionText(L"C:\\x\\a.dll", text));
        version.assign(text);
    }
    EXPECT_EQ(version, L"0.0.0.0");
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] GetFileVersionInfo() fails"));
}

TEST_F(FileVersionTest, AVersionWithoutNumbersLeavesZeros)
{
    modules.canQuery = false;
    EXPECT_EQ(Version(false), L"0.0.0.0");
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] VerQueryValue() fails"));
}

TEST_F(FileVersionTest, NumbersThatEndEarlyAreNone)
{
    modules.fixedLength = sizeof(VS_FIXEDFILEINFO) - 1;
    EXPECT_EQ(Version(false), L"0.0.0.0");
    modules.fixedLength = 0;
    EXPECT_EQ(Version(false), L"0.0.0.0");
    EXPECT_THAT(log.Texts(),
                ElementsAre(L": [INFO] VerQueryValue() fails", L": [INFO] VerQueryValue() fails"));
}

TEST_F(FileVersionTest, NumbersThatAreNowhereAreNone)
{
    modules.hasFixedPart = false;
    EXPECT_EQ(Version(false), L"0.0.0.0");
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] VerQueryValue() fails"));
}

TEST(FileVersionOfTheSystemTest, ALibraryOfTheSystemHasOne)
{
    FaultText text;
    EXPECT_TRUE(GetFileVersionText(L"kernel32.dll", text));
    EXPECT_STRNE(text, L"0.0.0.0");
}

TEST(FileVersionOfTheSystemTest, WhatIsNoFileHasNone)
{
    TestSupport::LogCapture log;
    for (const wchar_t* name : {L"", L"C:\\no such folder\\a.dll", L"C:\\windows"})
    {
        FaultText text;
        EXPECT_FALSE(GetFileVersionText(name, text)) << name;
        EXPECT_STREQ(text, L"0.0.0.0");
    }
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST(FileVersionOfTheSystemTest, LeavesNothingBehind)
{
    EXPECT_EQ(TestSupport::GrowthOf(
                  []
                  {
                      FaultText text;
                      static_cast<void>(GetFileVersionText(L"kernel32.dll", text));
                  }),
              "");
}
