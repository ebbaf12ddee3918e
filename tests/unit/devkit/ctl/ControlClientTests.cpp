#include "ControlClient.h"

#include <gmock/gmock.h>

#include "ControlMails.h"
#include "FakeLink.h"
#include "ObjectCounts.h"
#include "WaitUntil.h"

namespace
{
constexpr std::chrono::seconds limit{30};
constexpr AgentStatus timedOut = Status::FromBits(0xE0FE05B4U);

MailAnswer AnswerTo(const FakeLink::Reply& reply)
{
    const FakeLink link([reply](const FakeLink::Sent&) { return reply; });
    ControlClient client;
    return client.Mail(Control::PluginId, Control::Status, L"{}", limit);
}

TEST(ControlClientTest, SendsTheMailInTheFormOfTheAgentsMails)
{
    const FakeLink link([](const FakeLink::Sent&) { return FakeLink::Reply{}; });
    ControlClient client;
    EXPECT_FALSE(client.Mail(0x4E0003, 0x10031, L"{\"a\":1}", limit).Failed());
    ASSERT_EQ(link.Calls().size(), 1U);
    const FakeLink::Sent sent = link.Calls()[0];
    EXPECT_EQ(sent.commandId, 0x2051U);
    EXPECT_EQ(sent.second, 1U);
    EXPECT_EQ(sent.trackingId.size(), 36U);
    EXPECT_EQ(sent.outerId, 0x10014U);
    EXPECT_EQ(sent.param, 0x10014U);
    EXPECT_EQ(sent.innerId, 0x10014U);
    EXPECT_EQ(sent.request, L"{\"a\":1}");
    EXPECT_EQ(sent.jsonFlag, 0U);
    EXPECT_EQ(sent.processId, GetCurrentProcessId());
    EXPECT_EQ(sent.threadId, sent.executingThread);
    EXPECT_EQ(sent.pluginId, 0x4E0003U);
    EXPECT_EQ(sent.mailId, 0x10031U);
}

TEST(ControlClientTest, GivesEachMailATrackingIdOfItsOwnOnOneConnection)
{
    const FakeLink link([](const FakeLink::Sent&) { return FakeLink::Reply{}; });
    ControlClient client;
    static_cast<void>(client.Mail(1, 1, L"{}", limit));
    static_cast<void>(client.Mail(1, 1, L"{}", limit));
    EXPECT_NE(link.Calls()[0].trackingId, link.Calls()[1].trackingId);
    EXPECT_EQ(link.Managers(), 1);
}

TEST(ControlClientTest, GivesTheReplyOfAnAnswer)
{
    const MailAnswer answer = AnswerTo({.json = L"{\"x\":\"\x4E09\"}\n"});
    EXPECT_FALSE(answer.Failed());
    EXPECT_EQ(answer.result, Status::Success);
    EXPECT_EQ(answer.json, L"{\"x\":\"\x4E09\"}\n");
}

TEST(ControlClientTest, GivesResultAndReplyOfARefusal)
{
    const MailAnswer answer = AnswerTo({.result = 0xE0FF000E, .json = L"{\"y\":1}"});
    EXPECT_TRUE(answer.Failed());
    EXPECT_EQ(answer.call, 0);
    EXPECT_EQ(answer.result, Status::NotFound);
    EXPECT_EQ(answer.json, L"{\"y\":1}");
}

TEST(ControlClientTest, TakesAnAnswerWithoutResultForARefusal)
{
    const MailAnswer answer = AnswerTo({.hasResult = false});
    EXPECT_EQ(answer.call, 0);
    EXPECT_TRUE(Status::Failed(answer.result));
    EXPECT_EQ(answer.json, L"");
}

TEST(ControlClientTest, TakesAnAnswerWithoutReply)
{
    for (const FakeLink::Reply& reply :
         {FakeLink::Reply{.hasParam = false}, FakeLink::Reply{.hasMessage = false},
          FakeLink::Reply{.hasJson = false}})
    {
        const MailAnswer answer = AnswerTo(reply);
        EXPECT_FALSE(answer.Failed());
        EXPECT_EQ(answer.json, L"");
    }
}

TEST(ControlClientTest, EndsTheConnectionOfAFailedCallAndMakesANewOne)
{
    const FakeLink link([](const FakeLink::Sent& sent)
                        { return FakeLink::Reply{.call = sent.mailId == 1 ? Status::UnknownClient : 0}; });
    ControlClient client;
    EXPECT_EQ(client.Mail(1, 1, L"{}", limit).call, Status::UnknownClient);
    EXPECT_TRUE(TestSupport::WaitUntil([&link] { return link.LiveManagers() == 0; }));
    EXPECT_EQ(client.Mail(1, 2, L"{}", limit).call, 0);
    EXPECT_EQ(link.Managers(), 2);
}

TEST(ControlClientTest, SendsNothingWithoutATrackingId)
{
    FakeLink link([](const FakeLink::Sent&) { return FakeLink::Reply{}; });
    link.FailTrackingIds(Status::InvalidParameter);
    ControlClient client;
    EXPECT_EQ(client.Mail(1, 1, L"{}", limit).call, Status::InvalidParameter);
    EXPECT_TRUE(link.Calls().empty());
}

TEST(ControlClientTest, LeavesACallThatHangsAndItsConnection)
{
    const HANDLE release = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    FakeLink link(
        [release](const FakeLink::Sent& sent)
        {
            WaitForSingleObject(release, sent.mailId == 1 ? INFINITE : 0);
            return FakeLink::Reply{};
        });
    {
        ControlClient client;
        EXPECT_EQ(client.Mail(1, 1, L"{}", std::chrono::milliseconds(50)).call, timedOut);
        EXPECT_EQ(client.Mail(1, 2, L"{}", limit).call, 0);
        EXPECT_EQ(link.Managers(), 2);
    }
    EXPECT_EQ(link.LiveManagers(), 1);
    SetEvent(release);
    EXPECT_TRUE(TestSupport::WaitUntil([&link] { return link.LiveManagers() == 0; }));
    CloseHandle(release);
}

TEST(ControlClientTest, LeavesNothingBehind)
{
    int round = 0;
    const FakeLink link([&round](const FakeLink::Sent&)
                        { return FakeLink::Reply{.call = ++round % 2 == 0 ? Status::UnknownClient : 0}; });
    EXPECT_EQ(TestSupport::GrowthOf(
                  []
                  {
                      ControlClient client;
                      static_cast<void>(client.Mail(1, 1, L"{}", limit));
                  }),
              "");
    EXPECT_TRUE(TestSupport::WaitUntil([&link] { return link.LiveManagers() == 0; }));
}

TEST(ControlClientTest, NamesTheErrorOfALibraryThatIsMissing)
{
    EXPECT_EQ(LoadLink(L"C:\\NoSuchFolder"), Status::FromSystemError(ERROR_MOD_NOT_FOUND));
}
} // namespace
