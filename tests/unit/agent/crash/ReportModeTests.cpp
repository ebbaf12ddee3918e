#include <gmock/gmock.h>

#include "FakeVersion.h"
#include "LogCapture.h"
#include "ReportMode.h"

using ::testing::ElementsAre;

namespace
{
struct Decision
{
    DWORD major;
    DWORD minor;
    ReportMode mode;
};

class ReportModeTest : public ::testing::TestWithParam<Decision>
{
};
} // namespace

TEST_P(ReportModeTest, FollowsTheVersion)
{
    const Decision& decision = GetParam();
    TestSupport::LogCapture log;
    const FakeVersion version(decision.major, decision.minor);
    EXPECT_EQ(GetReportMode(), decision.mode);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] OsVer.dwPlatformId=2, OsVer.dwMajorVersion=" +
                                         std::to_wstring(decision.major) + L", OsVer.dwMinorVersion=" +
                                         std::to_wstring(decision.minor) + L", awcSupportMode=" +
                                         std::to_wstring(static_cast<unsigned>(decision.mode))));
}

INSTANTIATE_TEST_SUITE_P(
    Windows, ReportModeTest,
    ::testing::Values(Decision{4, 0, ReportMode::None}, Decision{4, 90, ReportMode::None},
                      Decision{5, 0, ReportMode::None}, Decision{5, 1, ReportMode::Faultrep},
                      Decision{5, 2, ReportMode::Faultrep}, Decision{6, 0, ReportMode::Wer},
                      Decision{6, 1, ReportMode::Wer}, Decision{6, 3, ReportMode::Wer},
                      Decision{10, 0, ReportMode::Wer}, Decision{4294967295, 0, ReportMode::Wer}),
    [](const auto& decision)
    { return std::to_string(decision.param.major) + "_" + std::to_string(decision.param.minor); });

TEST(ReportModeEdgeTest, TheNumbersAreThoseOfTheLog)
{
    EXPECT_EQ(static_cast<unsigned>(ReportMode::Wer), 1U);
    EXPECT_EQ(static_cast<unsigned>(ReportMode::Faultrep), 2U);
    EXPECT_EQ(static_cast<unsigned>(ReportMode::None), 3U);
}

TEST(ReportModeEdgeTest, AVersionThatIsNotToldHasNoReporting)
{
    TestSupport::LogCapture log;
    FakeVersion version(6, 1);
    version.Refuse();
    EXPECT_EQ(GetReportMode(), ReportMode::None);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] OsVer.dwPlatformId=0, OsVer.dwMajorVersion=0, "
                                         L"OsVer.dwMinorVersion=0, awcSupportMode=3"));
}

TEST(ReportModeEdgeTest, AsksWithARecordOfTheKnownSize)
{
    const FakeVersion version(6, 1);
    static_cast<void>(GetReportMode());
    EXPECT_EQ(version.Size(), 276U);
}

TEST(ReportModeEdgeTest, ThisSystemHasTheNewerReporting)
{
    EXPECT_EQ(GetReportMode(), ReportMode::Wer);
}
