#include <gmock/gmock.h>

#include "FakeModules.h"
#include "FakeReporting.h"
#include "FakeTimestamps.h"
#include "LogCapture.h"
#include "WerReport.h"

using ::testing::ElementsAre;

namespace
{
using Parameter = FakeReporting::Parameter;

class WerParameterTest : public ::testing::Test
{
protected:
    WerParameterTest()
    {
        modules.GiveVersion(modules.programPath, {3, 1, 0, 77});
        modules.GiveVersion(modules.libraryPath, {1, 22, 333, 4444});
    }

    // The values that a report is given, in order.
    std::vector<std::wstring> Values()
    {
        EXPECT_TRUE(ReportByWer(&fault.pointers, L"QxSessionAgent"));
        std::vector<std::wstring> values;
        for (const Parameter& parameter : reporting.parameters)
        {
            values.push_back(parameter.value);
        }
        return values;
    }

    TestSupport::LogCapture log;
    FakeReporting reporting;
    FakeModules modules;
    RaisedFault fault{FakeModules::libraryStart + 0x1F2E};
};
} // namespace

TEST_F(WerParameterTest, AreEightInTheOrderOfTheirNumbers)
{
    EXPECT_TRUE(ReportByWer(&fault.pointers, L"Another name"));
    EXPECT_THAT(reporting.parameters, ElementsAre(Parameter{0, L"Application Name", L"QxSessionAgent.exe"},
                                                  Parameter{1, L"Application Version", L"3.1.0.77"},
                                                  Parameter{2, L"Application Timestamp", L"0"},
                                                  Parameter{3, L"Fault Module Name", L"Quenta.dll"},
                                                  Parameter{4, L"Fault Module Version", L"1.22.333.4444"},
                                                  Parameter{5, L"Fault Module Timestamp", L"0"},
                                                  Parameter{6, L"Exception Code", L"c0000005"},
                                                  Parameter{7, L"Exception Offset", L"0000000000001F2E"}));
    EXPECT_EQ(modules.flags, 6U);
    EXPECT_EQ(modules.address, FakeModules::libraryStart + 0x1F2E);
}

TEST_F(WerParameterTest, TimeStampsAreThoseOfTheirModules)
{
    const auto library = reinterpret_cast<HMODULE>(std::uintptr_t{FakeModules::libraryStart});
    const FakeTimestamps timestamps({{GetModuleHandleW(nullptr), 0x00ABCDEF}, {library, 0xFEDCBA98}});
    const std::vector<std::wstring> values = Values();
    EXPECT_EQ(values.at(2), L"abcdef");
    EXPECT_EQ(values.at(5), L"fedcba98");
}

TEST_F(WerParameterTest, AnAddressInNoModuleHasTheTimeStampOfTheProgram)
{
    modules.isInLibrary = false;
    const FakeTimestamps timestamps({{GetModuleHandleW(nullptr), 0x00ABCDEF}});
    EXPECT_EQ(Values().at(5), L"abcdef");
}

TEST_F(WerParameterTest, FailedVersionsAreZeros)
{
    modules.canFetch = false;
    const std::vector<std::wstring> values = Values();
    EXPECT_EQ(values.at(1), L"0.0.0.0");
    EXPECT_EQ(values.at(4), L"0.0.0.0");
}

TEST_F(WerParameterTest, AnAddressInNoModuleCountsFromTheProgramAndHasNoModule)
{
    modules.isInLibrary = false;
    const auto start = reinterpret_cast<std::uintptr_t>(GetModuleHandleW(nullptr));
    fault.record.ExceptionAddress = reinterpret_cast<void*>(start + 0xABC);
    EXPECT_THAT(Values(), ElementsAre(L"QxSessionAgent.exe", L"3.1.0.77", L"0", L"", L"0.0.0.0", L"0",
                                      L"c0000005", L"0000000000000ABC"));
}

TEST_F(WerParameterTest, AnEndlessPathStaysInItsRoom)
{
    modules.libraryPath = L"C:\\" + std::wstring(3000, L'a') + L"\\b.dll";
    EXPECT_EQ(Values().at(3), std::wstring(1020, L'a'));
}

TEST_F(WerParameterTest, ShortCodesAreFilledUp)
{
    fault.record.ExceptionCode = 0x1A;
    EXPECT_EQ(Values().at(6), L"0000001a");
}
