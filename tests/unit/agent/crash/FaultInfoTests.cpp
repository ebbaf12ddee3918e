#include <gmock/gmock.h>

#include "FakeModules.h"
#include "FaultInfo.h"
#include "LogCapture.h"
#include "ObjectCounts.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace
{
class FaultInfoTest : public ::testing::Test
{
protected:
    FaultInfoTest() { modules.GiveVersion(modules.libraryPath, {1, 22, 333, 4444}); }

    TestSupport::LogCapture log;
    FakeModules modules;
    RaisedFault fault{FakeModules::libraryStart + 0x1F2E};
};
} // namespace

TEST_F(FaultInfoTest, NamesTheModuleItsVersionTheCodeAndTheOffset)
{
    LogFaultInfo(&fault.pointers);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] Fault Module Name: Quenta.dll",
                                         L": [INFO] Fault Module Version1.22.333.4444",
                                         L": [INFO] Exception Code: c0000005",
                                         L": [INFO] Exception Offset: 0000000000001F2E"));
    EXPECT_EQ(modules.address, FakeModules::libraryStart + 0x1F2E);
    EXPECT_EQ(modules.flags, 6U);
}

TEST_F(FaultInfoTest, AsksForTheVersionOfTheWholePath)
{
    LogFaultInfo(&fault.pointers);
    EXPECT_THAT(modules.versionFiles, ElementsAre(modules.libraryPath));
}

TEST_F(FaultInfoTest, ShortCodesAreFilledUp)
{
    fault.record.ExceptionCode = 0x1A;
    LogFaultInfo(&fault.pointers);
    EXPECT_EQ(log.Texts().at(2), L": [INFO] Exception Code: 0000001a");
}

TEST_F(FaultInfoTest, AFailedVersionIsZeros)
{
    modules.canQuery = false;
    LogFaultInfo(&fault.pointers);
    EXPECT_THAT(log.Texts(),
                ElementsAre(L": [INFO] Fault Module Name: Quenta.dll", L": [INFO] VerQueryValue() fails",
                            L": [INFO] Fault Module Version0.0.0.0", L": [INFO] Exception Code: c0000005",
                            L": [INFO] Exception Offset: 0000000000001F2E"));
}

TEST_F(FaultInfoTest, AnAddressInNoModuleHasNoNameAndCountsFromTheProgram)
{
    modules.isInLibrary = false;
    modules.GiveVersion(modules.programPath, {9, 9, 9, 9});
    const auto start = reinterpret_cast<std::uintptr_t>(GetModuleHandleW(nullptr));
    fault.record.ExceptionAddress = reinterpret_cast<void*>(start + 0xABC);
    LogFaultInfo(&fault.pointers);
    EXPECT_THAT(log.Texts(),
                ElementsAre(L": [INFO] Fault Module Version0.0.0.0", L": [INFO] Exception Code: c0000005",
                            L": [INFO] Exception Offset: 0000000000000ABC"));
}

TEST_F(FaultInfoTest, AnAddressBelowTheModuleWraps)
{
    fault.record.ExceptionAddress = reinterpret_cast<void*>(FakeModules::libraryStart - 1);
    LogFaultInfo(&fault.pointers);
    EXPECT_EQ(log.Texts().at(3), L": [INFO] Exception Offset: FFFFFFFFFFFFFFFF");
}

TEST_F(FaultInfoTest, AModuleWithoutAFileHasAnEmptyName)
{
    modules.libraryPath.clear();
    LogFaultInfo(&fault.pointers);
    EXPECT_EQ(log.Texts().at(0), L": [INFO] Fault Module Name: ");
    EXPECT_EQ(log.Texts().at(1), L": [INFO] Fault Module Version0.0.0.0");
}

TEST_F(FaultInfoTest, AnEndlessPathStaysInItsRoom)
{
    modules.libraryPath = L"C:\\" + std::wstring(3000, L'a') + L"\\b.dll";
    LogFaultInfo(&fault.pointers);
    EXPECT_EQ(log.Texts().at(0), L": [INFO] Fault Module Name: " + std::wstring(1020, L'a'));
}

TEST(FaultInfoOfTheSystemTest, FindsALibraryOfTheSystem)
{
    TestSupport::LogCapture log;
    const auto start = reinterpret_cast<std::uintptr_t>(GetModuleHandleW(L"kernel32.dll"));
    RaisedFault fault(start + 0x1000, EXCEPTION_ILLEGAL_INSTRUCTION);
    LogFaultInfo(&fault.pointers);
    const std::vector<std::wstring> texts = log.Texts();
    ASSERT_EQ(texts.size(), 4U);
    EXPECT_EQ(_wcsicmp(texts[0].c_str(), L": [INFO] Fault Module Name: kernel32.dll"), 0);
    EXPECT_THAT(texts[1], StartsWith(L": [INFO] Fault Module Version"));
    EXPECT_NE(texts[1], L": [INFO] Fault Module Version0.0.0.0");
    EXPECT_EQ(texts[2], L": [INFO] Exception Code: c000001d");
    EXPECT_EQ(texts[3], L": [INFO] Exception Offset: 0000000000001000");
}

TEST(FaultInfoOfTheSystemTest, FindsNoModuleAtAWildAddress)
{
    TestSupport::LogCapture log;
    RaisedFault fault(0x10, EXCEPTION_ACCESS_VIOLATION);
    LogFaultInfo(&fault.pointers);
    const std::vector<std::wstring> texts = log.Texts();
    ASSERT_EQ(texts.size(), 3U);
    EXPECT_EQ(texts[0], L": [INFO] Fault Module Version0.0.0.0");
}

TEST(FaultInfoOfTheSystemTest, LeavesNothingBehind)
{
    const auto start = reinterpret_cast<std::uintptr_t>(GetModuleHandleW(L"kernel32.dll"));
    RaisedFault fault(start + 0x1000);
    EXPECT_EQ(TestSupport::GrowthOf([&fault] { LogFaultInfo(&fault.pointers); }), "");
}
