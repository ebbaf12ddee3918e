#include "Arguments.h"

#include <gmock/gmock.h>

#include "ArgumentTable.h"
#include "HelpText.h"
#include "SimulatedChange.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace
{
using Words = std::vector<std::wstring>;

Arguments Parsed(const Words& words)
{
    const ParsedArguments parsed = ParseArguments(words);
    EXPECT_EQ(parsed.error, L"");
    return parsed.arguments;
}

std::wstring ErrorOf(const Words& words)
{
    return ParseArguments(words).error;
}

TEST(NumberTest, IsDecimalOrHexadecimal)
{
    EXPECT_EQ(ParseNumber(L"0"), 0U);
    EXPECT_EQ(ParseNumber(L"6146"), 6146U);
    EXPECT_EQ(ParseNumber(L"010"), 10U);
    EXPECT_EQ(ParseNumber(L"0x1802"), 6146U);
    EXPECT_EQ(ParseNumber(L"0Xe0Ff000E"), 0xE0FF000EU);
    EXPECT_EQ(ParseNumber(L"4294967295"), 4294967295U);
    EXPECT_EQ(ParseNumber(L"0x000000000000000001"), 1U);
}

TEST(NumberTest, IsNothingElse)
{
    for (const wchar_t* text : {L"", L"0x", L"-1", L"+1", L" 1", L"1 ", L"1.5", L"12a", L"0x1g",
                                L"4294967296", L"0x100000000", L"99999999999999999999999", L"\xFF11"})
    {
        EXPECT_EQ(ParseNumber(text), std::nullopt) << testing::PrintToString(std::wstring(text));
    }
}

TEST(NumberTest, OfAStatusMayBeNegativeAsInTheLog)
{
    EXPECT_EQ(ParseStatus(L"-520159225"), 0xE0FF0007U);
    EXPECT_EQ(ParseStatus(L"-2147483648"), 0x80000000U);
    EXPECT_EQ(ParseStatus(L"0x20FF0000"), 0x20FF0000U);
    EXPECT_EQ(ParseStatus(L"-2147483649"), std::nullopt);
    EXPECT_EQ(ParseStatus(L"-"), std::nullopt);
    EXPECT_EQ(ParseStatus(L""), std::nullopt);
}

TEST(ArgumentsTest, OfSendAreCommandAndAddress)
{
    const Arguments arguments = Parsed({L"send", L"{\"a\": \"b c\"}", L"--pid", L"0x20", L"--timeout=7"});
    EXPECT_EQ(arguments.verb, Verb::Send);
    EXPECT_EQ(arguments.command, L"{\"a\": \"b c\"}");
    EXPECT_EQ(arguments.processId, 32U);
    EXPECT_EQ(arguments.timeoutSeconds, 7U);
    EXPECT_EQ(Parsed({L"send", L"--file", L"C:\\a b=c.json"}).file, L"C:\\a b=c.json");
    EXPECT_EQ(Parsed({L"send", L""}).command, L"");
}

TEST(ArgumentsTest, OfSendAreExactlyOneText)
{
    EXPECT_THAT(ErrorOf({L"send"}), HasSubstr(L"needs a command or --file"));
    EXPECT_THAT(ErrorOf({L"send", L"{}", L"--file", L"x"}), HasSubstr(L"not both"));
    EXPECT_THAT(ErrorOf({L"send", L"{}", L"{}"}), HasSubstr(L"unexpected argument"));
}

TEST(ArgumentsTest, BehindTwoDashesAreNoOptions)
{
    EXPECT_EQ(Parsed({L"send", L"--", L"--help"}).command, L"--help");
    EXPECT_EQ(Parsed({L"send", L"-5"}).command, L"-5");
    EXPECT_EQ(Parsed({L"send", L"-"}).command, L"-");
}

TEST(ArgumentsTest, OfWatchAreItsEnds)
{
    const Arguments arguments = Parsed({L"watch", L"--count", L"3", L"--timeout", L"10", L"--all"});
    EXPECT_EQ(arguments.count, 3U);
    EXPECT_EQ(arguments.timeoutSeconds, 10U);
    EXPECT_TRUE(arguments.wantsAll);
    EXPECT_FALSE(arguments.wantsEverything);
    EXPECT_TRUE(Parsed({L"watch", L"--everything"}).wantsEverything);
    EXPECT_FALSE(Parsed({L"watch"}).count.has_value());
    EXPECT_EQ(ErrorOf({L"watch", L"--timeout", L"4294967"}), L"");
    EXPECT_THAT(ErrorOf({L"watch", L"--timeout", L"4294968"}), HasSubstr(L"is not a number of seconds"));
    EXPECT_THAT(ErrorOf({L"watch", L"--timeout", L"1.5"}), HasSubstr(L"is not a number of seconds"));
}

TEST(ArgumentsTest, OfAnswerAreARule)
{
    const Arguments arguments =
        Parsed({L"answer", L"--plugin", L"5", L"--mail", L"0x1802", L"--result", L"0xE0FF000E", L"--status",
                L"-1", L"--json", L"{\"handle\": 4}", L"--delay", L"250", L"--times", L"2"});
    EXPECT_EQ(arguments.rule.pluginId, 5U);
    EXPECT_EQ(arguments.rule.mailId, 0x1802U);
    EXPECT_EQ(arguments.rule.result, 0xE0FF000EU);
    EXPECT_EQ(arguments.rule.status, 0xFFFFFFFFU);
    EXPECT_EQ(arguments.rule.json, L"{\"handle\": 4}");
    EXPECT_EQ(arguments.rule.delayMs, 250U);
    EXPECT_EQ(arguments.rule.times, 2U);
    EXPECT_FALSE(arguments.wantsJson);
}

TEST(ArgumentsTest, OfAnswerNameItemsByWordOrNumber)
{
    const Arguments arguments =
        Parsed({L"answer", L"--plugin", L"0", L"--mail", L"0x2051", L"--drop", L"result", L"--drop",
                L"0xe001d", L"--drop", L"65556", L"--drop", L"json", L"--drop", L"0xE001F"});
    EXPECT_THAT(arguments.rule.drop, ElementsAre(L"result", L"param", L"message", L"json", L"json"));
    EXPECT_THAT(ErrorOf({L"answer", L"--plugin", L"0", L"--mail", L"1", L"--drop", L"0xE0001"}),
                HasSubstr(L"is not result, param, message, json"));
}

TEST(ArgumentsTest, OfAnswerTakeOnlyJsonForJson)
{
    EXPECT_THAT(ErrorOf({L"answer", L"--plugin", L"5", L"--mail", L"1", L"--json", L"{\"a\":"}),
                HasSubstr(L"is not JSON"));
    EXPECT_EQ(Parsed({L"answer", L"--plugin", L"5", L"--mail", L"1", L"--text", L"no JSON"}).rule.json,
              L"no JSON");
}

TEST(ArgumentsTest, OfAnswerAreAnAddressOrAReset)
{
    EXPECT_THAT(ErrorOf({L"answer"}), HasSubstr(L"needs --plugin and --mail"));
    EXPECT_THAT(ErrorOf({L"answer", L"--plugin", L"5"}), HasSubstr(L"needs --plugin and --mail"));
    EXPECT_TRUE(Parsed({L"answer", L"--reset"}).wantsReset);
    EXPECT_THAT(ErrorOf({L"answer", L"--reset", L"--times", L"1"}), HasSubstr(L"stands alone"));
}

TEST(ArgumentsTest, OfMailAreAddressAndText)
{
    const Arguments arguments =
        Parsed({L"mail", L"--plugin", L"0x4E0100", L"--mail", L"7", L"{}", L"--timeout", L"3"});
    EXPECT_EQ(arguments.verb, Verb::Mail);
    EXPECT_EQ(arguments.rule.pluginId, 0x4E0100U);
    EXPECT_EQ(arguments.rule.mailId, 7U);
    EXPECT_EQ(arguments.command, L"{}");
    EXPECT_EQ(arguments.timeoutSeconds, 3U);
    EXPECT_EQ(Parsed({L"mail", L"--plugin", L"5", L"--mail", L"1", L"--file", L"x"}).file, L"x");
    EXPECT_THAT(ErrorOf({L"mail", L"--plugin", L"5"}), HasSubstr(L"needs --plugin and --mail"));
    EXPECT_THAT(ErrorOf({L"mail", L"--plugin", L"5", L"--mail", L"1", L"{}", L"--file", L"x"}),
                HasSubstr(L"not both"));
    EXPECT_EQ(ErrorOf({L"mail", L"--plugin", L"5", L"--mail", L"1", L"--result", L"1"}),
              L"unknown option --result");
}

TEST(ArgumentsTest, OfSimulateAreAChangeAndItsValue)
{
    const Arguments arguments = Parsed({L"simulate", L"battery", L"35", L"--pid", L"44", L"--timeout", L"3"});
    EXPECT_EQ(arguments.verb, Verb::Simulate);
    EXPECT_EQ(arguments.change, L"battery");
    EXPECT_EQ(arguments.value, L"35");
    EXPECT_EQ(arguments.processId, 44U);
    EXPECT_EQ(arguments.timeoutSeconds, 3U);
    EXPECT_EQ(Parsed({L"simulate", L"lock"}).value, std::nullopt);
    EXPECT_EQ(ErrorOf({L"simulate"}), L"simulate needs a change, such as lock");
    EXPECT_EQ(ErrorOf({L"simulate", L"", L"lock"}), L"unknown change ");
    EXPECT_EQ(ErrorOf({L"simulate", L"battery", L"-5"}), L"battery: \"-5\" is not a percentage, 0 to 100");
    EXPECT_EQ(ErrorOf({L"simulate", L"battery", L"5", L"6"}), L"unexpected argument 6");
}

TEST(ArgumentsTest, OfEveryVerbMayStandBeforeIt)
{
    const Arguments arguments = Parsed({L"--json", L"--product", L"b", L"answer", L"--reset"});
    EXPECT_TRUE(arguments.wantsJson);
    EXPECT_EQ(arguments.product, L"b");
    EXPECT_TRUE(Parsed({L"status", L"--json"}).wantsJson);
    EXPECT_EQ(Parsed({L"status", L"--product", L""}).product, L"");
    EXPECT_EQ(Parsed({L"status", L"--product=none"}).product, L"none");
    EXPECT_THAT(ErrorOf({L"status", L"--product", L"X"}), HasSubstr(L"is not a product"));
}

TEST(ArgumentsTest, AreRefusedInOneLineThatNamesThem)
{
    EXPECT_EQ(ErrorOf({}), L"no verb is given");
    EXPECT_EQ(ErrorOf({L"stats"}), L"unknown verb stats");
    EXPECT_EQ(ErrorOf({L"status", L"--count", L"1"}), L"unknown option --count");
    EXPECT_EQ(ErrorOf({L"--count", L"1", L"watch"}), L"unknown option --count");
    EXPECT_EQ(ErrorOf({L"status", L"more"}), L"unexpected argument more");
    EXPECT_EQ(ErrorOf({L"watch", L"--count"}), L"--count needs a value: N");
    EXPECT_EQ(ErrorOf({L"watch", L"--all=1"}), L"--all takes no value");
    EXPECT_EQ(ErrorOf({L"watch", L"--count", L"x"}), L"--count: \"x\" is not a number, decimal or 0x");
}

TEST(ArgumentsTest, NeedNotBeCompleteForHelp)
{
    EXPECT_TRUE(Parsed({L"--help"}).wantsHelp);
    const Arguments arguments = Parsed({L"send", L"--help"});
    EXPECT_TRUE(arguments.wantsHelp);
    EXPECT_EQ(arguments.verb, Verb::Send);
}

TEST(HelpTest, NamesEveryVerbOptionAndExitCode)
{
    const std::wstring program = HelpText(Verb::None);
    for (const VerbRow& row : VerbRows())
    {
        EXPECT_THAT(program, HasSubstr(row.name));
        const std::wstring help = HelpText(row.verb);
        EXPECT_THAT(help, HasSubstr(L"--product"));
        for (int code = 0; code <= 4; ++code)
        {
            EXPECT_THAT(help, HasSubstr(L"\n  " + std::to_wstring(code) + L"  "));
        }
    }
    for (const ChangeRow& row : ChangeRows())
    {
        EXPECT_THAT(HelpText(Verb::Simulate), HasSubstr(row.name));
    }
    EXPECT_THAT(HelpText(Verb::Answer), HasSubstr(L"--json JSON"));
    EXPECT_THAT(HelpText(Verb::Answer), ::testing::Not(HasSubstr(L"output for programs")));
    EXPECT_THAT(HelpText(Verb::Watch), HasSubstr(L"--count N"));
    EXPECT_THAT(HelpText(Verb::Status), ::testing::Not(HasSubstr(L"--count")));
}
} // namespace
