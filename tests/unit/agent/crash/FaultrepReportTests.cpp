#include <gmock/gmock.h>

#include "FakeModules.h"
#include "FakeReporting.h"
#include "FaultrepReport.h"
#include "LogCapture.h"
#include "ObjectCounts.h"

using ::testing::ElementsAre;

namespace
{
class FaultrepReportTest : public ::testing::Test
{
protected:
    TestSupport::LogCapture log;
    FakeReporting reporting;
    RaisedFault fault{0x1234};
};

// Every result but 0 says that nothing was sent.
class FaultrepResultTest : public FaultrepReportTest, public ::testing::WithParamInterface<int>
{
};
} // namespace

TEST_F(FaultrepReportTest, HandsTheExceptionToTheSystem)
{
    EXPECT_TRUE(ReportByFaultrep(&fault.pointers));
    EXPECT_THAT(reporting.calls, ElementsAre("Faultrep.dll", "ReportFault", "FreeLibrary"));
    EXPECT_EQ(reporting.exceptionPointers, &fault.pointers);
    EXPECT_EQ(reporting.options, 0U);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] Load 'faultrep.dll' successfully",
                                         L": [INFO] Crash dump generation succeed with result code:0"));
}

TEST_F(FaultrepReportTest, WithoutTheLibraryThereIsNoReport)
{
    reporting.hasLibraries = false;
    EXPECT_FALSE(ReportByFaultrep(&fault.pointers));
    EXPECT_THAT(reporting.calls, ElementsAre("Faultrep.dll"));
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] Load 'faultrep.dll' faulty"));
}

TEST_F(FaultrepReportTest, WithoutTheExportThereIsNoReportAndNoWord)
{
    reporting.missing = {"ReportFault"};
    EXPECT_FALSE(ReportByFaultrep(&fault.pointers));
    EXPECT_THAT(reporting.calls, ElementsAre("Faultrep.dll", "FreeLibrary"));
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] Load 'faultrep.dll' successfully"));
}

TEST_P(FaultrepResultTest, CountsAsSent)
{
    reporting.faultCode = GetParam();
    EXPECT_TRUE(ReportByFaultrep(&fault.pointers));
    EXPECT_EQ(log.Texts().back(),
              L": [INFO] Crash dump generation succeed with result code:" + std::to_wstring(GetParam()));
    EXPECT_EQ(reporting.calls.back(), "FreeLibrary");
}

INSTANTIATE_TEST_SUITE_P(AnyValue, FaultrepResultTest, ::testing::Values(-1, 1, 2, 3, 4, 5, 6, 7, 1000));

TEST(FaultrepReportOfTheSystemTest, LeavesNothingBehind)
{
    RaisedFault fault(0x1234);
    EXPECT_EQ(TestSupport::GrowthOf([&fault] { static_cast<void>(ReportByFaultrep(&fault.pointers)); }), "");
}
