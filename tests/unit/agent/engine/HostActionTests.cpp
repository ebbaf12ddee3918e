// What the service's actions do to an engine, and what comes back.
#include "EngineHostTest.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
class HostActionTest : public EngineHostTest
{
protected:
    HostActionTest() { InstallProbe(); }

    // What the probe library was asked since the last look.
    std::wstring NewEvents()
    {
        const std::wstring all = Events();
        const std::wstring fresh = all.substr(m_seen);
        m_seen = all.size();
        return fresh;
    }

private:
    std::size_t m_seen = 0;
};

struct Row
{
    std::uint32_t action;
    const wchar_t* event;
    const wchar_t* data;
    AgentStatus status;
};

// On a plain engine, with all members that any action reads.
constexpr Row rows[] = {
    {8193, L"Perform();", L"null", 4711},
    {8194, L"Signal();", L"null", Status::Success},
    {8195, L"Query();", L"{\"from\":\"Query\"}", Status::Success},
    {8196, L"QueryByKey();", L"{\"from\":\"QueryByKey\"}", Status::Success},
    {8197, L"PutDetails(,[1,{\"d\":2}]);", L"null", Status::Success},
    {16385, L"PerformFix(fix 1,{\"p\":null});", L"null", -4711},
    {16387, L"QueryFix(fix 1);", L"{\"from\":\"QueryFix\"}", Status::Success},
    {16388, L"QueryFixDetail(fix 1);", L"{\"from\":\"QueryFixDetail\"}", Status::Success},
    {4098, L"end();", L"null", Status::Success},
};

TEST_F(HostActionTest, EachActionRunsItsOperationAndAnswersWithDataAndStatusAlone)
{
    Create(L"plain");
    NewEvents();
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.action);
        const std::wstring command =
            ActionOn(L"1", row.action,
                     L",\"details\":[1,{\"d\":2}],\"fixSessionId\":\"fix 1\",\"param\":{\"p\":null},"
                     L"\"itemId\":\"i\",\"sessionId\":\"s\",\"data\":5,\"retCode\":7");
        EXPECT_EQ(ReplyTo(command), PlainAnswer(row.data, row.status));
        EXPECT_EQ(NewEvents(), row.event);
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(HostActionTest, MembersThatAreMissingAreEmptyOrNull)
{
    Create(L"plain");
    NewEvents();
    for (const std::uint32_t action : {8197U, 16385U, 16387U, 16388U})
    {
        ReplyTo(ActionOn(L"1", action));
    }
    EXPECT_EQ(NewEvents(), L"PutDetails(,null);PerformFix(,null);QueryFix();QueryFixDetail();");
}

TEST_F(HostActionTest, AnEngineThatIsEndedIsUnknownAfterwards)
{
    Create(L"plain");
    EXPECT_EQ(ReplyTo(ActionOn(L"1", 4098)), PlainAnswer(L"null", Status::Success));
    EXPECT_EQ(Living(), 0);
    EXPECT_EQ(ReplyTo(ActionOn(L"1", 4098)), PlainAnswer(L"null", Status::UnknownTrackId));
    EXPECT_EQ(ReplyTo(ActionOn(L"1", 8193)), L"{\"data\":null,\"retCode\":-520159230}");
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(HostActionTest, ANullAnswerFailsTheQuery)
{
    Create(L"silent");
    for (const std::uint32_t action : {8195U, 8196U, 16387U, 16388U})
    {
        EXPECT_EQ(ReplyTo(ActionOn(L"1", action, L",\"x\":1")), L"{\"data\":null,\"retCode\":-520159231}");
    }
    EXPECT_EQ(ReplyTo(ActionOn(L"1", 8193)), PlainAnswer(L"null", Status::NotFound));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(HostActionTest, AnAnswerThatStandsNowhereIsNullAsWell)
{
    Create(L"nowhere");
    for (const std::uint32_t action : {8195U, 8196U, 16387U, 16388U})
    {
        EXPECT_EQ(ReplyTo(ActionOn(L"1", action)), PlainAnswer(L"null", Status::Failure));
    }
}

TEST_F(HostActionTest, WithoutATrackIdNoEngineIsMeant)
{
    Create(L"plain");
    for (const wchar_t* command : {L"{}", L"{\"action\":8193}", L"{\"action\":4098}", L"{\"action\":9}",
                                   L"{\"action\":8193,\"trackId\":null}"})
    {
        EXPECT_EQ(ReplyTo(command), PlainAnswer(L"null", Status::UnknownTrackId));
    }
    EXPECT_EQ(Living(), 1);
}

TEST_F(HostActionTest, AnUnknownActionIsToldWithItsParameters)
{
    Create(L"plain");
    NewEvents();
    EXPECT_EQ(ReplyTo(ActionOn(L"1", 0x4002, L",\"fixSessionId\":\"f\"")),
              L"{\"data\":null,\"retCode\":-520159225}");
    EXPECT_EQ(ReplyTo(ActionOn(L"1", 4294967295)), PlainAnswer(L"null", Status::InvalidParameter));
    EXPECT_EQ(ReplyTo(L"{\"trackId\":1}"), PlainAnswer(L"null", Status::InvalidParameter));
    EXPECT_THAT(
        Lines(),
        ElementsAre(L": [ERROR] Invalid parameters, [nAction=16386][nTrackId=1][wstrFixSessionId=f]",
                    L": [ERROR] Invalid parameters, [nAction=4294967295][nTrackId=1][wstrFixSessionId=]",
                    L": [ERROR] Invalid parameters, [nAction=0][nTrackId=1][wstrFixSessionId=]"));
    EXPECT_EQ(NewEvents(), L"");
}

TEST_F(HostActionTest, AnUnknownActionOnAnUnknownEngineIsAboutTheEngine)
{
    EXPECT_EQ(ReplyTo(ActionOn(L"9", 0x4002)), PlainAnswer(L"null", Status::UnknownTrackId));
    EXPECT_EQ(ReplyTo(ActionOn(L"9", 0)), PlainAnswer(L"null", Status::UnknownTrackId));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(HostActionTest, NumbersAreReadAsTheyCanBe)
{
    Create(L"plain");
    for (const wchar_t* one : {L"1", L"\"1\"", L"1.9", L"true", L"\"1x\""})
    {
        EXPECT_EQ(StatusOf(ActionOn(one, 8193)), 4711) << one;
    }
    for (const wchar_t* other :
         {L"-1", L"2", L"\"\"", L"[1]", L"{}", L"null", L"1e300", L"18446744073709551616",
          L"\"99999999999999999999999999\"", L"\"-99999999999999999999999999\""})
    {
        EXPECT_EQ(ReplyTo(ActionOn(other, 8193)), PlainAnswer(L"null", Status::UnknownTrackId)) << other;
    }
    for (const wchar_t* action : {L"\"8193\"", L"8193.5"})
    {
        EXPECT_EQ(StatusOf(std::wstring(L"{\"trackId\":1,\"action\":") + action + L"}"), 4711) << action;
    }
    for (const wchar_t* action :
         {L"\"0x2001\"", L"\"99999999999999999999999999\"", L"[8193]", L"-1", L"1e99"})
    {
        EXPECT_EQ(StatusOf(std::wstring(L"{\"trackId\":1,\"action\":") + action + L"}"),
                  Status::InvalidParameter)
            << action;
    }
}

TEST_F(HostActionTest, TextsOfOtherTypesReadAsTheyCanBe)
{
    Create(L"plain");
    NewEvents();
    for (const wchar_t* text : {L"5", L"true", L"null", L"[\"f\"]", L"{\"f\":1}"})
    {
        EXPECT_EQ(StatusOf(ActionOn(L"1", 16387, std::wstring(L",\"fixSessionId\":") + text)),
                  Status::Success);
    }
    EXPECT_EQ(NewEvents(), L"QueryFix(5);QueryFix(true);QueryFix();QueryFix();QueryFix();");
}

TEST_F(HostActionTest, ACommandThatIsNoObjectHarmsNothing)
{
    Create(L"plain");
    for (const wchar_t* text : {L"[]", L"[{\"action\":4097}]", L"\"text\"", L"5", L"null"})
    {
        EXPECT_EQ(StatusOf(text), Status::UnknownTrackId) << text;
    }
    EXPECT_EQ(Living(), 1);
}

// A handle on a node of the command would be one on freed memory.
TEST_F(HostActionTest, AnEngineMayKeepWhatItWasGiven)
{
    Create(L"keeper");
    ReplyTo(ActionOn(L"1", 8197,
                     L",\"details\":{\"deep\":[\"a text that does not fit into any small buffer\"]}"));
    for (int again = 0; again < 2; ++again)
    {
        EXPECT_EQ(DataOf(ActionOn(L"1", 8195)),
                  L"{\"deep\":[\"a text that does not fit into any small buffer\"]}");
    }
}
} // namespace
