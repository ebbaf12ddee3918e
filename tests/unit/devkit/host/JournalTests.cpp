// The bounds of the journal, in memory and on disk.
#include "Journal.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <thread>

#include "EventNames.h"
#include "QxCommon_JsonDb.h"
#include "TempDir.h"

namespace
{
using SvcHost::Journal;
using SvcHost::JournalFile;
using SvcHost::JournalRecord;

JournalRecord Record(const std::wstring& request)
{
    JournalRecord record;
    record.kind = L"mail";
    record.request = request;
    return record;
}
} // namespace

TEST(JournalTest, KeepsTheNewestRecordsAndTellsHowManyAreLost)
{
    Journal journal(L"", {.records = 3});
    for (int i = 1; i <= 10; ++i)
    {
        journal.Add(Record(std::to_wstring(i)));
    }
    const Journal::Page page = journal.Read(2, 100, {});
    ASSERT_EQ(page.records.size(), 3U);
    EXPECT_EQ(page.records[0]->sequence, 8U);
    EXPECT_EQ(page.records[2]->request, L"10");
    EXPECT_EQ(page.lost, 5U);
    EXPECT_EQ(page.next, 10U);
}

TEST(JournalTest, KeepsTenThousandRecordsByDefault)
{
    Journal journal(L"");
    for (int i = 0; i < 10'001; ++i)
    {
        journal.Add(Record(L""));
    }
    const Journal::Page page = journal.Read(0, 20'000, {});
    EXPECT_EQ(page.records.size(), 10'000U);
    EXPECT_EQ(page.lost, 1U);
}

TEST(JournalTest, CutsALongRequestWithAMark)
{
    Journal journal(L"");
    journal.Add(Record(std::wstring(32 * 1024, L'a')));
    journal.Add(Record(std::wstring(32 * 1024 + 1, L'a')));
    const Journal::Page page = journal.Read(0, 2, {});
    EXPECT_EQ(page.records[0]->request, std::wstring(32 * 1024, L'a'));
    EXPECT_EQ(page.records[1]->request->size(), 32U * 1024);
    EXPECT_TRUE(page.records[1]->request->ends_with(L"a...[cut]"));
}

TEST(JournalTest, HoldsNoMoreThanItsTotal)
{
    Journal journal(L"", {.totalBytes = 1000});
    for (int i = 0; i < 10; ++i)
    {
        journal.Add(Record(std::wstring(100, L'a')));
    }
    EXPECT_EQ(journal.Read(0, 100, {}).records.size(), 5U);
}

TEST(JournalTest, BeginsAnewForAReaderOfAnEarlierOne)
{
    Journal journal(L"");
    journal.Add(Record(L""));
    const Journal::Page page = journal.Read(500, 100, {});
    EXPECT_EQ(page.records.size(), 1U);
    EXPECT_EQ(page.next, 1U);
}

TEST(JournalTest, IsOneLineOfJsonARecordOnDisk)
{
    const TestSupport::TempDir folder;
    {
        Journal journal(folder.Path(L"Host\\Test.journal.jsonl"));
        journal.Add(Record(L"{\"a\":\"\\\"\n\x00E9\xD800\"}"));
        journal.Add(Record(L"second"));
    }
    const std::string text = folder.Read(L"Host\\Test.journal.jsonl");
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
    EXPECT_NE(text.find("\"kind\":\"mail\""), std::string::npos);
    EXPECT_NE(text.find("\\\\\\\"\\n\xC3\xA9\xEF\xBF\xBD"), std::string::npos) << text;
}

TEST(JournalTest, GoesOnInTheFileOfTheLastRun)
{
    const TestSupport::TempDir folder;
    for (int run = 0; run < 2; ++run)
    {
        Journal(folder.Path(L"Host\\Test.jsonl")).Add(Record(L"x"));
    }
    const std::string text = folder.Read(L"Host\\Test.jsonl");
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
}

TEST(JournalTest, HasAFileAndOneBeforeItAndNeverMoreThanTheCap)
{
    const TestSupport::TempDir folder;
    JournalFile file(folder.Path(L"Host\\Test.jsonl"), 100);
    for (int i = 0; i < 50; ++i)
    {
        file.Write(std::wstring(29, L'a'));
    }
    EXPECT_LE(folder.Read(L"Host\\Test.jsonl").size(), 100U);
    EXPECT_EQ(folder.Read(L"Host\\Test.jsonl.1").size(), 90U);
    file.Write(std::wstring(200, L'b'));
    EXPECT_LE(folder.Read(L"Host\\Test.jsonl").size(), 100U);
}

TEST(JournalTest, LosesNothingInMemoryWhereTheFileCannotBeWritten)
{
    const TestSupport::TempDir folder;
    folder.Write(L"Host", "a file where the folder should be");
    Journal journal(folder.Path(L"Host\\Test.jsonl"));
    journal.Add(Record(L"x"));
    EXPECT_EQ(journal.Last(), 1U);
}

TEST(JournalTest, KeepsTheOrderOfManyWriters)
{
    Journal journal(L"");
    std::vector<std::thread> writers;
    for (int i = 0; i < 4; ++i)
    {
        writers.emplace_back(
            [&journal]
            {
                for (int record = 0; record < 250; ++record)
                {
                    journal.Add(Record(L"x"));
                }
            });
    }
    for (std::thread& writer : writers)
    {
        writer.join();
    }
    const Journal::Page page = journal.Read(0, 1000, {});
    ASSERT_EQ(page.records.size(), 1000U);
    for (std::size_t i = 0; i < 1000; ++i)
    {
        EXPECT_EQ(page.records[i]->sequence, i + 1);
    }
}

TEST(EventNameTest, TellsEveryEvent)
{
    using SvcHost::EventName;
    EXPECT_EQ(EventName(L"{\"eventId\":0}"), L"StartedInMode1");
    EXPECT_EQ(EventName(L"{\"eventId\":1}"), L"LoggedOff");
    EXPECT_EQ(EventName(L"{\"eventId\":16}"), L"SessionActive");
    EXPECT_EQ(EventName(L"{\"eventId\":17}"), L"SessionInactive");
    EXPECT_EQ(EventName(L"{\"eventId\":18}"), L"StartFinished");
    EXPECT_EQ(EventName(L"{\"eventId\":19}"), L"TrayClosing");
    EXPECT_EQ(EventName(L"{\"eventId\":23,\"type\":1}"), L"NetworkConnected");
    EXPECT_EQ(EventName(L"{\"eventId\":24,\"type\":1}"), L"NetworkConnectionLost");
    EXPECT_EQ(EventName(L"{\"eventId\":32768}"), L"PowerChange");
    EXPECT_EQ(EventName(L"{\"eventId\":32768,\"eventType\":2}"), L"PowerSourceChange");
    EXPECT_EQ(EventName(L"{\"eventId\":32768,\"eventType\":5}"), L"ResumeFromSuspend");
    EXPECT_EQ(EventName(L"{\"eventId\":99}"), L"Event 99");
    EXPECT_EQ(EventName(L"{}"), L"");
    EXPECT_EQ(EventName(L"no JSON"), L"");
}

TEST(EventNameTest, LooksIntoNoMoreThanTheJournalKeeps)
{
    const std::wstring request = L"{\"eventId\":18}";
    const std::wstring longest = request + std::wstring(SvcHost::LongestEvent - request.size(), L' ');
    EXPECT_EQ(SvcHost::LongestEvent, Journal::Limits().requestBytes / sizeof(wchar_t));
    EXPECT_EQ(SvcHost::EventName(longest), L"StartFinished");
    EXPECT_EQ(SvcHost::EventName(longest + L' '), L"");
}
