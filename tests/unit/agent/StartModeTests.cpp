#include "StartMode.h"

#include <gmock/gmock.h>

#include "FakeProduct.h"
#include "LogCapture.h"
#include "SplashLaunch.h"
#include "UiLaunch.h"

// Stand in for the launchers, so that the order of the start functions can be seen.
namespace
{
std::vector<std::wstring> g_calls;
AgentStatus g_consoleStatus = Status::Success;
} // namespace

AgentStatus ShowQxUi(const std::wstring& arguments)
{
    g_calls.push_back(L"console " + arguments);
    return g_consoleStatus;
}

AgentStatus ShowSplash()
{
    g_calls.emplace_back(L"splash");
    return Status::Success;
}

namespace
{
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StartModeTest : public ::testing::Test
{
protected:
    AgentStatus Build(const std::wstring& json)
    {
        config.ParseFromString(json);
        return BuildStartModeTable(config, table);
    }

    FakeProduct product{L"QxSessionAgent_M.exe"};
    TestSupport::LogCapture log{logLevels};
    QxCommon::JsonDb config;
    StartModeTable table;
};

TEST_F(StartModeTest, PutsAnItemIntoTheQueueOfEachOfItsModes)
{
    EXPECT_EQ(Build(LR"({"startMode":{"console":{"startFunc":"ShowQxUi","modeId":[1,5]}}})"),
              Status::Success);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] Push console to 1", L": [INFO] Push console to 5"));
    RunStartMode(table, 1);
    RunStartMode(table, 5);
    EXPECT_THAT(g_calls, ElementsAre(L"console ", L"console "));
}

TEST_F(StartModeTest, RunsSmallestSequenceFirstWhateverTheNames)
{
    Build(LR"({"startMode":{
        "a":{"sequence":2,"startFunc":"ShowQxUi","startArgs":"two","modeId":[1]},
        "b":{"sequence":1,"startFunc":"ShowQxUi","startArgs":"one","modeId":[1]},
        "c":{"sequence":3,"startFunc":"ShowSplash","modeId":[1]},
        "d":{"sequence":-4,"startFunc":"ShowQxUi","startArgs":"negative","modeId":[1]},
        "e":{"startFunc":"ShowQxUi","startArgs":"zero","modeId":[1]}}})");
    RunStartMode(table, 1);
    EXPECT_THAT(g_calls,
                ElementsAre(L"console negative", L"console zero", L"console one", L"console two", L"splash"));
}

TEST_F(StartModeTest, ReadsASequenceThatIsTextAsANumber)
{
    Build(LR"({"startMode":{
        "a":{"sequence":"7","startFunc":"ShowQxUi","startArgs":"7","modeId":[1]},
        "b":{"sequence":"x","startFunc":"ShowQxUi","startArgs":"0","modeId":[1]},
        "c":{"sequence":6,"startFunc":"ShowQxUi","startArgs":"6","modeId":[1]},
        "d":{"sequence":"99999999999","startFunc":"ShowQxUi","startArgs":"0","modeId":[1]}}})");
    RunStartMode(table, 1);
    EXPECT_THAT(g_calls, ElementsAre(L"console 0", L"console 0", L"console 6", L"console 7"));
}

TEST_F(StartModeTest, LeavesOutAnItemWithoutModesInSilence)
{
    EXPECT_EQ(Build(LR"({"startMode":{"a":{"modeId":[]},"b":{},"c":{"modeId":5},"d":{"modeId":"5"},
                         "e":{"modeId":{"0":5}},"f":null,"g":7,"h":"text","i":[5]}})"),
              Status::Success);
    EXPECT_THAT(table, IsEmpty());
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(StartModeTest, TakesAModeThatCannotBeReadAsModeZero)
{
    Build(LR"({"startMode":{"a":{"modeId":[-1,null,"x",{},"4294967296"]}}})");
    EXPECT_EQ(table.size(), 1U);
    EXPECT_EQ(table[0].size(), 5U);
}

TEST_F(StartModeTest, KeepsTheLargestModeNumberAsMinusOne)
{
    Build(LR"({"startMode":{"x":{"modeId":[4294967295]}}})");
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] Push x to -1"));
}

TEST_F(StartModeTest, RunsAnItemTwiceThatNamesItsModeTwice)
{
    Build(LR"({"startMode":{"x":{"startFunc":"ShowQxUi","modeId":[7,"7"]}}})");
    RunStartMode(table, 7);
    EXPECT_THAT(g_calls, ElementsAre(L"console ", L"console "));
}

TEST_F(StartModeTest, GoesThroughTheNamesInOrderOfTheirCharacters)
{
    Build(LR"({"startMode":{"b":{"modeId":[1]},"B":{"modeId":[1]},"a":{"modeId":[1]}}})");
    EXPECT_THAT(log.Texts(),
                ElementsAre(L": [INFO] Push B to 1", L": [INFO] Push a to 1", L": [INFO] Push b to 1"));
}

TEST_F(StartModeTest, PassesArgumentsOfEveryType)
{
    Build(LR"({"startMode":{
        "a":{"sequence":1,"startFunc":"ShowQxUi","startArgs":100,"modeId":[1]},
        "b":{"sequence":2,"startFunc":"ShowQxUi","startArgs":true,"modeId":[1]},
        "c":{"sequence":3,"startFunc":"ShowQxUi","startArgs":["x"],"modeId":[1]},
        "d":{"sequence":4,"startFunc":"ShowQxUi","startArgs":null,"modeId":[1]}}})");
    RunStartMode(table, 1);
    EXPECT_THAT(g_calls, ElementsAre(L"console 100", L"console true", L"console ", L"console "));
}

TEST_F(StartModeTest, RefusesAConfigurationWithoutStartModes)
{
    EXPECT_EQ(Build(LR"({"other":1})"), Status::NoStartMode);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] Invalid JSON config: {\n   \"other\" : 1\n}\n"));
}

TEST_F(StartModeTest, PrintsAnEmptyRootAsNull)
{
    EXPECT_EQ(Build(L"no json"), Status::NoStartMode);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] Invalid JSON config: null\n"));
}

TEST_F(StartModeTest, RefusesARootThatIsNoObject)
{
    EXPECT_EQ(Build(L"[1]"), Status::NoStartMode);
    EXPECT_EQ(Build(L"\"startMode\""), Status::NoStartMode);
}

TEST_F(StartModeTest, SurvivesStartModesOfAnotherType)
{
    for (const wchar_t* value : {L"null", L"5", L"\"text\"", L"[1,{\"modeId\":[1]}]", L"true", L"1.5"})
    {
        EXPECT_EQ(Build(L"{\"startMode\":" + std::wstring(value) + L"}"), Status::Success) << value;
        EXPECT_THAT(table, IsEmpty());
    }
}

TEST_F(StartModeTest, KeepsTheItemsBeforeASyntaxError)
{
    Build(LR"({"startMode":{"a":{"modeId":[5,]},"b":{"modeId":[1]}}})");
    EXPECT_EQ(table.count(5), 1U);
    EXPECT_EQ(table.count(0), 1U);
    EXPECT_EQ(table.count(1), 0U);
}

TEST_F(StartModeTest, SaysWhichStartFunctionIsUnknownAndGoesOn)
{
    Build(LR"({"startMode":{
        "a":{"sequence":1,"startFunc":"showqxui","modeId":[1]},
        "b":{"sequence":2,"modeId":[1]},
        "c":{"sequence":3,"startFunc":"ShowQxUi","modeId":[1]}}})");
    log.Clear();
    EXPECT_EQ(RunStartMode(table, 1), Status::Success);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] Can't find the start function: showqxui",
                                         L": [ERROR] Call the start function failed with ",
                                         L": [ERROR] Can't find the start function: ",
                                         L": [ERROR] Call the start function failed with "));
    EXPECT_THAT(g_calls, ElementsAre(L"console "));
}

TEST_F(StartModeTest, AnswersNotFoundForAnUnknownStartFunction)
{
    QxCommon::JsonDb item;
    item.ParseFromString(LR"({"startFunc":"nobody"})");
    EXPECT_EQ(StartModeItem(item).Run(), Status::NotFound);
}

TEST_F(StartModeTest, GoesOnAfterAStartFunctionThatFails)
{
    g_consoleStatus = Status::FromSystemError(ERROR_FILE_NOT_FOUND);
    Build(LR"({"startMode":{
        "a":{"sequence":1,"startFunc":"ShowQxUi","modeId":[1]},
        "b":{"sequence":2,"startFunc":"ShowSplash","modeId":[1]}}})");
    log.Clear();
    EXPECT_EQ(RunStartMode(table, 1), Status::Success);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] Call the start function failed with "));
    EXPECT_THAT(g_calls, ElementsAre(L"console ", L"splash"));
}

TEST_F(StartModeTest, WarnsOfAModeThatTheConfigurationLacks)
{
    Build(LR"({"startMode":{}})");
    EXPECT_EQ(RunStartMode(table, 5), Status::Success);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [WARN] Can not find the start mode 5"));
}

TEST_F(StartModeTest, LeavesTheTableAsItIs)
{
    Build(LR"({"startMode":{"a":{"startFunc":"ShowQxUi","modeId":[1]}}})");
    RunStartMode(table, 1);
    RunStartMode(table, 1);
    EXPECT_THAT(g_calls, ElementsAre(L"console ", L"console "));
}

// The products without a tray parse their modes and run none of them, not even with a message.
class OtherProductsStartModeTest : public ::testing::TestWithParam<const wchar_t*>
{
};

TEST_P(OtherProductsStartModeTest, RunsNothingAndSaysNothing)
{
    FakeProduct product(GetParam());
    TestSupport::LogCapture log{logLevels};
    QxCommon::JsonDb config;
    StartModeTable table;
    config.ParseFromString(LR"({"startMode":{"a":{"startFunc":"ShowQxUi","modeId":[1]}}})");
    EXPECT_EQ(BuildStartModeTable(config, table), Status::Success);
    log.Clear();
    EXPECT_EQ(RunStartMode(table, 1), Status::Success);
    EXPECT_EQ(RunStartMode(table, 99), Status::Success);
    EXPECT_THAT(g_calls, IsEmpty());
    EXPECT_THAT(log.Texts(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Names, OtherProductsStartModeTest,
                         ::testing::Values(L"QxSessionAgent.exe", L"QxSessionAgent_B.exe", L"my_copy.exe"));
} // namespace
