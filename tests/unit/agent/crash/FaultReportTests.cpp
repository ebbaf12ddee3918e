#include <gmock/gmock.h>

#include "FakeModules.h"
#include "FakeReporting.h"
#include "FakeVersion.h"
#include "FaultReport.h"
#include "LogCapture.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
constexpr wchar_t sent[] = L": [INFO] Succeed to send crashed dump to Microsoft.";
constexpr wchar_t notSent[] = L": [ERROR] Failed to send crashed dump to Microsoft.";

class FaultReportTest : public ::testing::Test
{
protected:
    // The last line of a report on that version of Windows.
    std::wstring ReportOn(DWORD major, DWORD minor)
    {
        const FakeVersion version(major, minor);
        log.Clear();
        reporting.calls.clear();
        ReportToSystem(&fault.pointers, L"QxSessionAgent");
        return log.Texts().back();
    }

    TestSupport::LogCapture log;
    FakeReporting reporting;
    RaisedFault fault{0x1234};
};
} // namespace

TEST_F(FaultReportTest, Windows2000HasNoReportingAndLoadsNoLibrary)
{
    EXPECT_EQ(ReportOn(5, 0), notSent);
    EXPECT_THAT(reporting.calls, IsEmpty());
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] OsVer.dwPlatformId=2, OsVer.dwMajorVersion=5, "
                                         L"OsVer.dwMinorVersion=0, awcSupportMode=3",
                                         notSent));
}

TEST_F(FaultReportTest, WindowsXpReportsByTheOlderLibrary)
{
    EXPECT_EQ(ReportOn(5, 1), sent);
    EXPECT_THAT(reporting.calls, ElementsAre("Faultrep.dll", "ReportFault", "FreeLibrary"));
    EXPECT_EQ(reporting.exceptionPointers, &fault.pointers);
}

TEST_F(FaultReportTest, AnyAnswerOfTheOlderLibraryIsASuccess)
{
    reporting.faultCode = 3;
    EXPECT_EQ(ReportOn(5, 1), sent);
}

TEST_F(FaultReportTest, VistaAndLaterReportByTheNewerLibrary)
{
    EXPECT_EQ(ReportOn(6, 0), sent);
    EXPECT_EQ(reporting.calls.front(), "wer.dll");
    EXPECT_EQ(reporting.exceptionPointers, &fault.pointers);
    EXPECT_STREQ(reporting.information.wzApplicationName, L"QxSessionAgent");
    EXPECT_EQ(ReportOn(10, 0), sent);
    EXPECT_EQ(reporting.calls.front(), "wer.dll");
}

TEST_F(FaultReportTest, WithoutTheLibraryNothingIsSent)
{
    reporting.hasLibraries = false;
    EXPECT_EQ(ReportOn(5, 1), notSent);
    EXPECT_THAT(reporting.calls, ElementsAre("Faultrep.dll")) << "and no other in its place";
    EXPECT_EQ(ReportOn(6, 0), notSent);
    EXPECT_THAT(reporting.calls, ElementsAre("wer.dll"));
}

TEST_F(FaultReportTest, ARefusedSubmissionIsNotSent)
{
    reporting.submitCode = E_FAIL;
    EXPECT_EQ(ReportOn(6, 1), notSent);
}

TEST_F(FaultReportTest, TheOutcomeIsSaidAtItsLevel)
{
    ReportOn(6, 0);
    EXPECT_EQ(log.Messages().back().tag, L".w.");
    ReportOn(5, 0);
    EXPECT_EQ(log.Messages().back().tag, L"!!!");
}
