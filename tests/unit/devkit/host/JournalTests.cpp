// The bounds of the journal, in memory and on disk.
#include "Journal.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

#include <filesystem>
#include <thread>

#include "EventNames.h"
#include "ImportPatch.h"
#include "LogCapture.h"
#include "QxCommon_JsonDb.h"
#include "TempDir.h"
#include "VzComn_Handle.h"

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

void MakeFolder(const std::wstring& path, const wchar_t* rights)
{
    SECURITY_ATTRIBUTES attributes{sizeof(attributes), nullptr, FALSE};
    ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(
        rights, SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr));
    const VzCommon::LocalMemory descriptor(attributes.lpSecurityDescriptor);
    ASSERT_TRUE(CreateDirectoryW(path.c_str(), &attributes));
}

std::wstring RightsOf(const std::wstring& path)
{
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    std::wstring name = path;
    EXPECT_EQ(GetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                                    nullptr, nullptr, &descriptor),
              static_cast<DWORD>(ERROR_SUCCESS));
    const VzCommon::LocalMemory owner(descriptor);
    wchar_t* text = nullptr;
    EXPECT_TRUE(ConvertSecurityDescriptorToStringSecurityDescriptorW(
        descriptor, SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &text, nullptr));
    const VzCommon::LocalMemory textOwner(text);
    return text != nullptr ? text : L"";
}

// Every object belongs to the users.
DWORD WINAPI TellAStranger(HANDLE /*object*/, SE_OBJECT_TYPE /*type*/, SECURITY_INFORMATION /*what*/,
                           PSID* owner, PSID* /*group*/, PACL* /*dacl*/, PACL* /*sacl*/,
                           PSECURITY_DESCRIPTOR* descriptor)
{
    DWORD size = SECURITY_MAX_SID_SIZE;
    *descriptor = LocalAlloc(LMEM_FIXED, size);
    *owner = *descriptor;
    return CreateWellKnownSid(WinBuiltinUsersSid, nullptr, *owner, &size) ? ERROR_SUCCESS : GetLastError();
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

TEST(JournalTest, TakesTheFolderOfEverybodyForAdministratorsAlone)
{
    const TestSupport::TempDir folder;
    const std::wstring path = folder.Path(L"Host");
    MakeFolder(path, L"D:(A;OICI;FA;;;WD)");
    const std::wstring file = folder.Write(L"Host\\Test.jsonl", "old\n");
    ASSERT_NE(RightsOf(path).find(L";WD)"), std::wstring::npos);
    ASSERT_NE(RightsOf(file).find(L";WD)"), std::wstring::npos);
    Journal(path + L"\\Test.jsonl").Add(Record(L"x"));
    EXPECT_GT(folder.Read(L"Host\\Test.jsonl").size(), 10U);
    EXPECT_EQ(RightsOf(file).find(L";WD)"), std::wstring::npos) << RightsOf(file).c_str();
    EXPECT_EQ(RightsOf(path).find(L";WD)"), std::wstring::npos) << RightsOf(path).c_str();
}

TEST(JournalTest, WritesNothingIntoAFolderOfSomebodyElse)
{
    const TestSupport::LogCapture log;
    const TestSupport::TempDir folder;
    const std::wstring path = folder.Path(L"Host");
    MakeFolder(path, L"D:(A;OICI;FA;;;WD)");
    const TestSupport::ImportPatch patch(nullptr, "GetSecurityInfo", &TellAStranger);
    Journal journal(path + L"\\Test.jsonl");
    journal.Add(Record(L"x"));
    EXPECT_EQ(journal.Last(), 1U);
    EXPECT_FALSE(std::filesystem::exists(path + L"\\Test.jsonl"));
    EXPECT_THAT(log.Texts(), testing::Contains(testing::HasSubstr(L"it belongs to somebody else")));
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
