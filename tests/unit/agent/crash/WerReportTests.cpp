#include <gmock/gmock.h>

#include <algorithm>
#include <tuple>

#include "FakeModules.h"
#include "FakeReporting.h"
#include "LogCapture.h"
#include "ObjectCounts.h"
#include "WerReport.h"

using ::testing::ElementsAre;

namespace
{
constexpr wchar_t loaded[] = L": [INFO] Load 'wer.dll' successfully";

class WerReportTest : public ::testing::Test
{
protected:
    bool Report() { return ReportByWer(&fault.pointers, L"QxSessionAgent"); }

    // What was called, each thing once.
    [[nodiscard]] std::vector<std::string> Steps() const
    {
        std::vector<std::string> steps = reporting.calls;
        steps.erase(std::unique(steps.begin(), steps.end()), steps.end());
        return steps;
    }

    TestSupport::LogCapture log;
    FakeReporting reporting;
    FakeModules modules;
    RaisedFault fault{FakeModules::libraryStart + 0x1F2E};
};

class WerExportTest : public WerReportTest, public ::testing::WithParamInterface<const char*>
{
};

class WerOutcomeTest : public WerReportTest,
                       public ::testing::WithParamInterface<std::tuple<int, const wchar_t*>>
{
};
} // namespace

TEST_F(WerReportTest, MakesAReportGivesItADumpAndSubmitsIt)
{
    EXPECT_TRUE(Report());
    EXPECT_THAT(Steps(),
                ElementsAre("wer.dll", "WerReportCreate", "WerReportSetParameter", "WerReportAddDump",
                            "WerReportSubmit", "WerReportCloseHandle", "FreeLibrary"));
    EXPECT_EQ(std::count(reporting.calls.begin(), reporting.calls.end(), "WerReportSetParameter"), 8);
    EXPECT_THAT(log.Texts(), ElementsAre(loaded, L": [INFO] Crash dump generation succeed with result code:1",
                                         L": [INFO] Report queued."));
}

TEST_F(WerReportTest, DescribesTheReport)
{
    EXPECT_TRUE(Report());
    EXPECT_EQ(reporting.eventType, L"APPCRASH");
    EXPECT_EQ(reporting.reportKind, 2);
    EXPECT_EQ(reporting.information.dwSize, 2208U);
    EXPECT_STREQ(reporting.information.wzFriendlyEventName, L"Crash Dump Event");
    EXPECT_STREQ(reporting.information.wzApplicationName, L"QxSessionAgent");
    EXPECT_STREQ(reporting.information.wzDescription, L"Critical runtime problem");
}

TEST_F(WerReportTest, LeavesTheRestOfTheDescriptionEmpty)
{
    EXPECT_TRUE(Report());
    EXPECT_EQ(reporting.information.hProcess, nullptr);
    EXPECT_STREQ(reporting.information.wzConsentKey, L"");
    EXPECT_STREQ(reporting.information.wzApplicationPath, L"");
    EXPECT_EQ(reporting.information.hwndParent, nullptr);
}

TEST_F(WerReportTest, CutsANameThatIsLongerThanItsRoom)
{
    EXPECT_TRUE(ReportByWer(&fault.pointers, std::wstring(300, L'n')));
    EXPECT_EQ(reporting.information.wzApplicationName, std::wstring(127, L'n'));
    EXPECT_STREQ(reporting.information.wzDescription, L"Critical runtime problem");
}

TEST_F(WerReportTest, DumpsTheCrashedThreadOfThisProcess)
{
    EXPECT_TRUE(Report());
    EXPECT_EQ(reporting.dumpProcess, GetCurrentProcess());
    EXPECT_EQ(reporting.dumpThread, GetCurrentThread());
    EXPECT_EQ(reporting.dumpType, 2);
    EXPECT_EQ(reporting.exceptionPointers, &fault.pointers);
    EXPECT_FALSE(reporting.areClientPointers);
    EXPECT_EQ(reporting.dumpRest, 0);
}

TEST_F(WerReportTest, AsksTheUserAndSubmitsOutOfTheProcess)
{
    EXPECT_TRUE(Report());
    EXPECT_EQ(reporting.consent, 4);
    EXPECT_EQ(reporting.submitFlags, 32U);
}

TEST_F(WerReportTest, WithoutTheLibraryThereIsNoReport)
{
    reporting.hasLibraries = false;
    EXPECT_FALSE(Report());
    EXPECT_THAT(reporting.calls, ElementsAre("wer.dll"));
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] Load 'wer.dll' faulty"));
}

TEST_P(WerExportTest, IsNeeded)
{
    reporting.missing = {GetParam()};
    EXPECT_FALSE(Report());
    EXPECT_THAT(reporting.calls, ElementsAre("wer.dll", "FreeLibrary"));
    EXPECT_THAT(log.Texts(), ElementsAre(loaded));
}

INSTANTIATE_TEST_SUITE_P(EachButTheSubmission, WerExportTest,
                         ::testing::Values("WerReportCreate", "WerReportAddDump", "WerReportSetParameter",
                                           "WerReportAddFile", "WerReportSetUIOption",
                                           "WerReportCloseHandle"));

TEST_F(WerReportTest, ALibraryThatCannotSubmitIsUsedUpToThere)
{
    reporting.missing = {"WerReportSubmit"};
    EXPECT_FALSE(Report());
    EXPECT_THAT(Steps(), ElementsAre("wer.dll", "WerReportCreate", "WerReportSetParameter",
                                     "WerReportAddDump", "WerReportCloseHandle", "FreeLibrary"));
    EXPECT_THAT(log.Texts(),
                ElementsAre(loaded, L": [INFO] Unexpected return value from WerReportSubmit():0"));
}

TEST_F(WerReportTest, AReportThatCannotBeMadeEndsIt)
{
    reporting.createCode = E_ACCESSDENIED;
    reporting.created = nullptr;
    EXPECT_FALSE(Report());
    EXPECT_THAT(reporting.calls, ElementsAre("wer.dll", "WerReportCreate", "FreeLibrary"));
    EXPECT_THAT(log.Texts(), ElementsAre(loaded));
}

TEST_F(WerReportTest, ASuccessWithoutAReportEndsIt)
{
    reporting.created = nullptr;
    EXPECT_FALSE(Report());
    EXPECT_THAT(reporting.calls, ElementsAre("wer.dll", "WerReportCreate", "FreeLibrary"));
}

TEST_F(WerReportTest, AFailureThatLeavesAReportClosesIt)
{
    reporting.createCode = E_FAIL;
    EXPECT_FALSE(Report());
    EXPECT_THAT(reporting.calls,
                ElementsAre("wer.dll", "WerReportCreate", "WerReportCloseHandle", "FreeLibrary"));
}

TEST_F(WerReportTest, EverySuccessMakesTheReport)
{
    reporting.createCode = S_FALSE;
    reporting.dumpCode = S_FALSE;
    reporting.submitCode = S_FALSE;
    EXPECT_TRUE(Report());
}

TEST_F(WerReportTest, ARefusedParameterIsPassedOver)
{
    reporting.parameterCode = E_INVALIDARG;
    EXPECT_TRUE(Report());
    EXPECT_EQ(reporting.parameters.size(), 8U);
}

TEST_F(WerReportTest, AReportWithoutItsDumpIsNotSubmitted)
{
    reporting.dumpCode = E_NOTIMPL;
    EXPECT_FALSE(Report());
    EXPECT_THAT(Steps(), ElementsAre("wer.dll", "WerReportCreate", "WerReportSetParameter",
                                     "WerReportAddDump", "WerReportCloseHandle", "FreeLibrary"));
    EXPECT_THAT(
        log.Texts(),
        ElementsAre(loaded, L": [INFO] Crash dump generation failed on this result code:-2147467263"));
}

TEST_F(WerReportTest, ARefusedSubmissionSaysItsOutcomeAlone)
{
    reporting.submitCode = E_FAIL;
    reporting.outcome = WerDisabled;
    EXPECT_FALSE(Report());
    EXPECT_THAT(log.Texts(), ElementsAre(loaded, L": [INFO] Error reporting was disabled."));
    EXPECT_EQ(reporting.calls.back(), "FreeLibrary");
}

TEST_F(WerReportTest, ASubmissionThatTellsNothingHasTheOutcomeZero)
{
    reporting.outcome = -1;
    EXPECT_TRUE(Report());
    EXPECT_THAT(log.Texts(), ElementsAre(loaded, L": [INFO] Crash dump generation succeed with result code:0",
                                         L": [INFO] Unexpected return value from WerReportSubmit():0"));
}

TEST_P(WerOutcomeTest, IsSaidInWords)
{
    const auto& [outcome, words] = GetParam();
    reporting.outcome = outcome;
    EXPECT_TRUE(Report()) << "whatever became of it, the report was taken";
    EXPECT_THAT(log.Texts(), ElementsAre(loaded,
                                         L": [INFO] Crash dump generation succeed with result code:" +
                                             std::to_wstring(outcome),
                                         std::wstring(L": [INFO] ") + words));
}

INSTANTIATE_TEST_SUITE_P(
    EachValue, WerOutcomeTest,
    ::testing::Values(std::tuple(1, L"Report queued."), std::tuple(2, L"Report uploaded."),
                      std::tuple(3, L"Debug button clicked."), std::tuple(4, L"Report submission failed."),
                      std::tuple(5, L"Error reporting was disabled."), std::tuple(6, L"Report was canceled."),
                      std::tuple(7, L"Queuing was disabled."), std::tuple(8, L"Report was asynchronous."),
                      std::tuple(0, L"Unexpected return value from WerReportSubmit():0"),
                      std::tuple(9, L"Unexpected return value from WerReportSubmit():9"),
                      std::tuple(77777, L"Unexpected return value from WerReportSubmit():77777")),
    [](const auto& outcome) { return std::to_string(std::get<0>(outcome.param)); });

TEST(WerReportOfTheSystemTest, LeavesNothingBehind)
{
    RaisedFault fault(reinterpret_cast<std::uintptr_t>(GetModuleHandleW(L"kernel32.dll")) + 0x1000);
    EXPECT_EQ(TestSupport::GrowthOf([&fault]
                                    { static_cast<void>(ReportByWer(&fault.pointers, L"QxSessionAgent")); }),
              "");
}
