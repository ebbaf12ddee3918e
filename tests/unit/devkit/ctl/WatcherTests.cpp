#include "Watcher.h"

#include <gmock/gmock.h>

#include <map>

#include "ControlMails.h"
#include "FakeLink.h"
#include "FakeServiceManager.h"
#include "RecordingOutput.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace
{
// A service with a journal; records come by number.
struct FakeService
{
    int processId = 40;
    std::uint64_t newest = 0;
    std::map<std::uint64_t, std::wstring> otherKinds; // of records that are no mails
    std::vector<std::wstring> watches;                // requests
    std::function<void(FakeService&)> beforeWatch = [](FakeService&) {};
    std::int32_t failure = 0; // of the calls

    FakeLink::Reply Answer(const FakeLink::Sent& sent)
    {
        if (sent.mailId == Control::Watch)
        {
            watches.push_back(sent.request);
            beforeWatch(*this);
        }
        if (failure != 0)
        {
            return {.call = failure};
        }
        return {.json = sent.mailId == Control::Watch ? Records(sent.request) : Identity()};
    }

    [[nodiscard]] std::wstring Identity() const
    {
        return LR"({"service":{"name":"S","startedAt":"T","processId":)" + std::to_wstring(processId) + L"}}";
    }

    [[nodiscard]] std::wstring Records(const std::wstring& text) const
    {
        QxCommon::JsonDb request;
        request.ParseFromString(text);
        const bool isFromNow = request.HasMember(L"fromNow");
        std::uint64_t next = isFromNow ? newest : request[L"after"].AsUInt64();
        std::wstring records;
        for (std::uint32_t left = request[L"max"].AsUInt(); next < newest && left > 0; --left)
        {
            const auto other = otherKinds.find(++next);
            records += (records.empty() ? L"" : L",") +
                       (L"{\"kind\":\"" + (other != otherKinds.end() ? other->second : L"mail")) +
                       L"\",\"sequence\":" + std::to_wstring(next) + L"}";
        }
        return L"{\"records\":[" + records + L"],\"lost\":0,\"next\":" + std::to_wstring(next) + L"}";
    }
};

class WatcherTest : public ::testing::Test
{
protected:
    int Run(std::vector<std::wstring> words)
    {
        words.insert(words.begin(), L"watch");
        const ParsedArguments parsed = ParseArguments(words);
        EXPECT_EQ(parsed.error, L"");
        const FakeLink link([this](const FakeLink::Sent& sent) { return service.Answer(sent); });
        ControlClient client;
        return Watcher(parsed.arguments, client, output).Run();
    }

    FakeService service;
    RecordingOutput output;
};

TEST_F(WatcherTest, PrintsWhatComesFromNowOn)
{
    service.newest = 7;
    service.beforeWatch = [](FakeService& s) { s.newest += s.watches.size() > 1 ? 1 : 0; };
    EXPECT_EQ(Run({L"--count", L"2"}), ExitCode::Ok);
    EXPECT_EQ(output.text, L"{\"kind\":\"mail\",\"sequence\":8}\n{\"kind\":\"mail\",\"sequence\":9}\n");
    EXPECT_THAT(output.notes, ElementsAre(L"watching S, process 40"));
    EXPECT_THAT(service.watches,
                ElementsAre(LR"({"waitMs":0,"fromNow":true})", LR"({"after":7,"waitMs":1000,"max":100})",
                            LR"({"after":8,"waitMs":1000,"max":100})"));
}

TEST_F(WatcherTest, BeginsWithTheJournalWhenAllIsWanted)
{
    service.newest = 250;
    EXPECT_EQ(Run({L"--all", L"--count", L"249"}), ExitCode::Ok);
    EXPECT_THAT(output.text, ::testing::StartsWith(L"{\"kind\":\"mail\",\"sequence\":1}\n"));
    EXPECT_THAT(output.text, ::testing::EndsWith(L"{\"kind\":\"mail\",\"sequence\":249}\n"));
    EXPECT_THAT(service.watches, ElementsAre(LR"({"after":0,"waitMs":1000,"max":100})",
                                             LR"({"after":100,"waitMs":1000,"max":100})",
                                             LR"({"after":200,"waitMs":1000,"max":100})"));
}

TEST_F(WatcherTest, PrintsAndCountsMailsAndEventsAlone)
{
    service.newest = 8;
    service.otherKinds = {{1, L"register"},   {3, L"command"}, {4, L"event"},
                          {5, L"unregister"}, {6, L"gone"},    {7, L"event"}};
    EXPECT_EQ(Run({L"--all", L"--count", L"3"}), ExitCode::Ok);
    EXPECT_EQ(output.text, L"{\"kind\":\"mail\",\"sequence\":2}\n"
                           L"{\"kind\":\"event\",\"sequence\":4}\n"
                           L"{\"kind\":\"event\",\"sequence\":7}\n");
}

TEST_F(WatcherTest, PrintsAndCountsEveryRecordWhenEverythingIsWanted)
{
    service.newest = 3;
    service.otherKinds = {{1, L"register"}, {2, L"command"}};
    EXPECT_EQ(Run({L"--all", L"--everything", L"--count", L"2"}), ExitCode::Ok);
    EXPECT_EQ(output.text, L"{\"kind\":\"register\",\"sequence\":1}\n"
                           L"{\"kind\":\"command\",\"sequence\":2}\n");
}

TEST_F(WatcherTest, EndsInTimeWhereNothingButOtherRecordsCame)
{
    service.newest = 2;
    service.otherKinds = {{1, L"register"}, {2, L"gone"}};
    EXPECT_EQ(Run({L"--all", L"--timeout", L"0", L"--count", L"1"}), ExitCode::TimedOut);
    EXPECT_EQ(output.text, L"");
}

TEST_F(WatcherTest, EndsInTime)
{
    EXPECT_EQ(Run({L"--timeout", L"0"}), ExitCode::Ok);
    EXPECT_EQ(Run({L"--timeout", L"0", L"--count", L"1"}), ExitCode::TimedOut);
    EXPECT_EQ(Run({L"--count", L"0"}), ExitCode::Ok);
    service.newest = 3;
    EXPECT_EQ(Run({L"--timeout", L"1", L"--count", L"4", L"--all"}), ExitCode::TimedOut);
    EXPECT_EQ(output.text, L"{\"kind\":\"mail\",\"sequence\":1}\n{\"kind\":\"mail\",\"sequence\":2}\n{"
                           L"\"kind\":\"mail\",\"sequence\":3}\n");
}

TEST_F(WatcherTest, TellsWhatIsThereWithoutAnyTime)
{
    service.newest = 250;
    EXPECT_EQ(Run({L"--all", L"--timeout", L"0"}), ExitCode::Ok);
    EXPECT_THAT(output.text, ::testing::EndsWith(L"{\"kind\":\"mail\",\"sequence\":250}\n"));
}

TEST_F(WatcherTest, GoesOnWithTheNextServiceFromItsBeginning)
{
    service.newest = 7;
    service.beforeWatch = [](FakeService& s)
    {
        s.failure = s.watches.size() == 2 ? Status::FromSystemError(ERROR_BROKEN_PIPE) : 0;
        s.processId = s.watches.size() >= 2 ? 50 : 40;
        s.newest = s.watches.size() >= 2 ? 2 : 7;
    };
    // The service is back with the third call after the failure.
    const FakeLink link(
        [this, calls = 0](const FakeLink::Sent& sent) mutable
        {
            const bool isBack = service.failure != 0 && sent.mailId == Control::Status && ++calls == 3;
            service.failure = isBack ? 0 : service.failure;
            return service.Answer(sent);
        });
    const ParsedArguments parsed = ParseArguments({L"watch", L"--count", L"2"});
    ControlClient client;
    EXPECT_EQ(Watcher(parsed.arguments, client, output).Run(), ExitCode::Ok);
    EXPECT_EQ(output.text, L"{\"kind\":\"mail\",\"sequence\":1}\n{\"kind\":\"mail\",\"sequence\":2}\n");
    EXPECT_THAT(output.notes,
                ElementsAre(L"watching S, process 40", L"the service is gone; waiting until it is back",
                            L"the service is back: S, process 50"));
}

TEST_F(WatcherTest, GoesOnWhereItWasAfterALostConnection)
{
    service.newest = 7;
    service.beforeWatch = [](FakeService& s) { s.newest += s.watches.size() == 2 ? 1 : 0; };
    const FakeLink link(
        [this, calls = 0](const FakeLink::Sent& sent) mutable
        { return ++calls == 3 ? FakeLink::Reply{.call = Status::UnknownClient} : service.Answer(sent); });
    const ParsedArguments parsed = ParseArguments({L"watch", L"--count", L"1"});
    ControlClient client;
    EXPECT_EQ(Watcher(parsed.arguments, client, output).Run(), ExitCode::Ok);
    EXPECT_EQ(output.text, L"{\"kind\":\"mail\",\"sequence\":8}\n");
    EXPECT_EQ(output.notes.size(), 3U);
}

TEST_F(WatcherTest, GivesUpOnALostServiceInTime)
{
    service.beforeWatch = [](FakeService& s)
    { s.failure = s.watches.size() == 2 ? Status::FromSystemError(ERROR_BROKEN_PIPE) : 0; };
    EXPECT_EQ(Run({L"--timeout", L"1", L"--count", L"1"}), ExitCode::TimedOut);
    EXPECT_EQ(output.notes.size(), 2U);
}

TEST_F(WatcherTest, DoesNotBeginWithoutAService)
{
    const FakeServiceManager manager(SERVICE_STOPPED);
    service.failure = Status::FromSystemError(ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Run({}), ExitCode::NotReachable);
    EXPECT_THAT(output.notes, ElementsAre(HasSubstr(L"is stopped")));
}

TEST_F(WatcherTest, EndsWhenItIsRefused)
{
    service.failure = Status::FromSystemError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(Run({}), ExitCode::NotReachable);
    EXPECT_THAT(output.notes, ElementsAre(HasSubstr(L"the endpoint is not that of ")));
}

TEST_F(WatcherTest, EndsWhenNobodyReadsIt)
{
    service.newest = 7;
    output.takes = 2;
    EXPECT_EQ(Run({L"--all"}), ExitCode::Ok);
    EXPECT_EQ(output.text, L"{\"kind\":\"mail\",\"sequence\":1}\n{\"kind\":\"mail\",\"sequence\":2}\n");
}
} // namespace
