#include "ControlRequest.h"

#include <gmock/gmock.h>

#include "JsonQuote.h"
#include "QxCommon_JsonDb.h"

namespace
{
std::wstring RoundTrip(const std::wstring& text)
{
    QxCommon::JsonDb parsed;
    EXPECT_EQ(parsed.ParseFromString(L"{\"t\":" + JsonQuote(text) + L"}"), 0U);
    return parsed[L"t"].AsString();
}

TEST(ControlRequestTest, QuotesEveryTextSoThatItComesBack)
{
    std::wstring everything;
    for (wchar_t unit = 0; unit < 0xD800; ++unit)
    {
        everything += unit;
    }
    everything += L"\xE000\xFFFD\xD83D\xDE00 \\\" \\\\ {\"a\":\"b\\\"c\"}";
    EXPECT_EQ(RoundTrip(everything), everything);
    EXPECT_EQ(RoundTrip(L""), L"");
}

TEST(ControlRequestTest, ReplacesHalvesOfPairs)
{
    EXPECT_EQ(RoundTrip(L"a\xD800z"), L"a\xFFFDz");
}

TEST(ControlRequestTest, WritesTheRequestsAsLaidDown)
{
    EXPECT_EQ(ControlRequest::Send(7, L"{\"a\":\"\n\"}", 60000),
              LR"({"processId":7,"command":"{\"a\":\"\n\"}","timeoutMs":60000})");
    EXPECT_EQ(ControlRequest::Watch(18446744073709551615ULL, 1000, 100),
              LR"({"after":18446744073709551615,"waitMs":1000,"max":100})");
    EXPECT_EQ(ControlRequest::WatchFromNow(), LR"({"waitMs":0,"fromNow":true})");
    EXPECT_EQ(ControlRequest::ResetAnswers(), LR"({"reset":true})");
}

TEST(ControlRequestTest, LeavesOutOfARuleWhatIsNotSet)
{
    ControlRequest::AnswerRule rule;
    rule.pluginId = 5;
    rule.mailId = 0x1802;
    EXPECT_EQ(ControlRequest::Answer(rule), LR"({"pluginId":5,"mailId":6146})");
    rule.status = 1;
    rule.result = 0xE0FF000E;
    rule.json = L"";
    rule.delayMs = 0;
    rule.drop = {L"result", L"json"};
    rule.times = 2;
    EXPECT_EQ(ControlRequest::Answer(rule),
              LR"({"pluginId":5,"mailId":6146,"status":1,"result":3774808078,"json":"","delayMs":0,)"
              LR"("drop":["result","json"],"times":2})");
}
} // namespace
