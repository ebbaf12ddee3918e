#include "CommandTest.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
class ConsoleCommandTest : public CommandTest
{
};

// What ShowPopup gets for a "param" of that JSON text.
std::wstring ParamOf(const std::wstring& json)
{
    TheConsole().calls.clear();
    ReplyTo(L"{\"JD_COMMAND_ID\":1000,\"param\":" + json + L"}");
    const std::wstring call = TheConsole().calls.at(0);
    const std::wstring before = L"popup <> 0 <";
    return call.substr(before.size(), call.size() - before.size() - 1);
}

TEST_F(ConsoleCommandTest, OpensAPopup)
{
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":1000,\"nFeatureId\":\"Main Console\",\"param\":1,\"popupId\":7}"),
              L"{\"JD_COMMAND_ID\":1000,\"nFeatureId\":\"Main Console\",\"param\":1,\"popupId\":7,"
              L"\"retCode\":553582592}");
    EXPECT_THAT(TheConsole().calls, ElementsAre(L"popup <Main Console> 7 <1>"));
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(ConsoleCommandTest, OpensPopupZeroWithNullForKeysThatAreMissing)
{
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":1000}"),
              L"{\"JD_COMMAND_ID\":1000,\"nFeatureId\":null,\"param\":null,\"popupId\":null,"
              L"\"retCode\":553582592}");
    EXPECT_THAT(TheConsole().calls, ElementsAre(L"popup <> 0 <null>"));
}

TEST_F(ConsoleCommandTest, PutsABackslashBeforeEveryQuote)
{
    EXPECT_EQ(ParamOf(L"\"x\""), L"\\\"x\\\"");
    EXPECT_EQ(ParamOf(L"\"\""), L"\\\"\\\"");
    EXPECT_EQ(ParamOf(L"\"say \\\"hi\\\"\""), L"\\\"say \\\\\"hi\\\\\"\\\"");
    // Nothing else is touched, a backslash before a quote included.
    EXPECT_EQ(ParamOf(L"\"a\\\"b\""), L"\\\"a\\\\\"b\\\"");
    EXPECT_EQ(ParamOf(L"\"C:\\\\\""), L"\\\"C:\\\\\\\"");
}

TEST_F(ConsoleCommandTest, PassesEveryKindOfValueAsCompactJson)
{
    EXPECT_EQ(ParamOf(L" { \"b\" : [ 1, true ], \"a\" : { \"c\" : null } } "),
              L"{\\\"a\\\":{\\\"c\\\":null},\\\"b\\\":[1,true]}");
    EXPECT_EQ(ParamOf(L"[]"), L"[]");
    EXPECT_EQ(ParamOf(L"-5"), L"-5");
    EXPECT_EQ(ParamOf(L"false"), L"false");
    EXPECT_EQ(ParamOf(L"\"\x4E09\""), L"\\\"\\u4e09\\\"");
}

TEST_F(ConsoleCommandTest, KeepsLineFeedsAndBlanksInsideTheValue)
{
    EXPECT_EQ(ParamOf(L"\" a\\n\\n \""), L"\\\" a\\n\\n \\\"");
}

TEST_F(ConsoleCommandTest, DoesNotEscapeTheFeature)
{
    ReplyTo(L"{\"JD_COMMAND_ID\":1000,\"nFeatureId\":\" a\\\"b\\\\ \",\"param\":0,\"popupId\":4294967295}");
    EXPECT_THAT(TheConsole().calls, ElementsAre(L"popup < a\"b\\ > 4294967295 <0>"));
}

TEST_F(ConsoleCommandTest, ReportsAPopupThatFailed)
{
    TheConsole().answer = Status::FromSystemError(2);
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":1000,\"nFeatureId\":\"f\",\"param\":1,\"popupId\":7}"),
              L"{\"JD_COMMAND_ID\":1000,\"nFeatureId\":\"f\",\"param\":1,\"popupId\":7,"
              L"\"retCode\":-520224766}");
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] Show Popup failed..."));
}

TEST_F(ConsoleCommandTest, OpensTheConsoleInAMode)
{
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":1001,\"modeId\":100}"),
              L"{\"JD_COMMAND_ID\":1001,\"modeId\":100,\"retCode\":553582592}");
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":1001}"),
              L"{\"JD_COMMAND_ID\":1001,\"modeId\":null,\"retCode\":553582592}");
    EXPECT_THAT(TheConsole().calls, ElementsAre(L"mode <-m 100>", L"mode <-m 0>"));
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(ConsoleCommandTest, PassesALargeModeAsANegativeNumberAndReportsItAsItIs)
{
    TheConsole().answer = Status::Failure;
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":1001,\"modeId\":4294967295}"),
              L"{\"JD_COMMAND_ID\":1001,\"modeId\":4294967295,\"retCode\":-520159231}");
    EXPECT_THAT(TheConsole().calls, ElementsAre(L"mode <-m -1>"));
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] SHow Monitor Failed..., ModeID: 4294967295"));
}

TEST_F(ConsoleCommandTest, PassesOnASuccessOfAnotherNumber)
{
    TheConsole().answer = 5;
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":1001,\"modeId\":1}"),
              L"{\"JD_COMMAND_ID\":1001,\"modeId\":1,\"retCode\":5}");
    EXPECT_THAT(log.Texts(), IsEmpty());
}
} // namespace
