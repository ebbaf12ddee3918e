#include "VzComn_CreationNames.h"

#include "FakeOsVersion.h"

#include <gtest/gtest.h>

namespace
{

using TestSupport::FakeOsVersion;
using VzCommon::CreationNames;

struct Row
{
    const wchar_t* given;
    const wchar_t* global;
    const wchar_t* local;
};

} // namespace

TEST(CreationNamesTest, PutsEachPrefixInFront)
{
    const Row rows[] = {
        {L"Melvio", L"Global\\Melvio", L"Local\\Melvio"},
        {L"Global\\x", L"Global\\x", L"Local\\Global\\x"},
        {L"Local\\x", L"Global\\Local\\x", L"Local\\x"},
        {L"aGlobal\\b", L"aGlobal\\b", L"Local\\aGlobal\\b"},
        {L"bLocal\\", L"Global\\bLocal\\", L"bLocal\\"},
        {L"global\\x", L"Global\\global\\x", L"Local\\global\\x"},
        {L"LOCAL\\x", L"Global\\LOCAL\\x", L"Local\\LOCAL\\x"},
        {L"Global", L"Global\\Global", L"Local\\Global"},
        {L"Global\\", L"Global\\", L"Local\\Global\\"},
        {L" ", L"Global\\ ", L"Local\\ "},
    };
    for (const Row& row : rows)
    {
        const CreationNames names(row.given);
        EXPECT_EQ(names.GetGlobalName(), row.global);
        EXPECT_EQ(names.GetLocalName(), row.local);
    }
}

TEST(CreationNamesTest, AnEmptyNameStaysEmpty)
{
    const CreationNames names(L"");
    EXPECT_EQ(names.GetGlobalName(), L"");
    EXPECT_EQ(names.GetLocalName(), L"");
}

TEST(CreationNamesTest, AreEmptyWhenTheSystemVersionIsUnknown)
{
    const FakeOsVersion version(DWORD{122});
    const CreationNames names(L"Melvio");
    EXPECT_EQ(names.GetGlobalName(), L"");
    EXPECT_EQ(names.GetLocalName(), L"");
}

TEST(CreationNamesTest, AreTheNameItselfBeforeNamespaces)
{
    const FakeOsVersion version(FakeOsVersion::System{VER_PLATFORM_WIN32_NT, 4, 0, 0, 1});
    const CreationNames names(L"Melvio");
    EXPECT_EQ(names.GetGlobalName(), L"Melvio");
    EXPECT_EQ(names.GetLocalName(), L"Melvio");
}
