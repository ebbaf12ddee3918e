#include "Handles.h"
#include "ImportPatch.h"
#include "LogTest.h"
#include "WaitUntil.h"

#include <filesystem>

namespace
{

using VzDbgLog::FileHandle;
using Names = std::vector<std::wstring>;

constexpr int mostClosed = 20;

class RetentionTest : public LogTest
{
protected:
    // A file last written so many days ago.
    void WriteOld(const std::wstring& name, int days) const
    {
        const std::wstring path = folder.Write(name, "old\r\n");
        const FileHandle file(
            CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        FILETIME now{};
        GetSystemTimeAsFileTime(&now);
        ULARGE_INTEGER time{{now.dwLowDateTime, now.dwHighDateTime}};
        time.QuadPart -= static_cast<ULONGLONG>(days) * 24 * 3600 * 10'000'000;
        const FILETIME old{time.LowPart, time.HighPart};
        ASSERT_TRUE(SetFileTime(file.Get(), nullptr, nullptr, &old));
    }

    // Closed files of the family, the one of n days at index n - 1.
    Names WriteClosed(int count) const
    {
        Names names;
        for (int days = 1; days <= count; ++days)
        {
            names.push_back(L"qda_Agent_s7.20200101-0000" + std::to_wstring(99 - days) + L"-000.log");
            WriteOld(names.back(), days);
        }
        return names;
    }

    [[nodiscard]] bool Exists(const std::wstring& name) const
    {
        return std::filesystem::exists(folder.Path(name));
    }
};

BOOL WINAPI CallClosedFilesLinks(HANDLE file, BY_HANDLE_FILE_INFORMATION* information)
{
    const BOOL result = GetFileInformationByHandle(file, information);
    wchar_t path[MAX_PATH]{};
    GetFinalPathNameByHandleW(file, path, MAX_PATH, 0);
    if (std::wstring_view(path).find(L".20200101-") != std::wstring_view::npos)
    {
        information->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    }
    return result;
}

void WINAPI NeverFire(PTP_TIMER /*timer*/, FILETIME* /*due*/, DWORD /*period*/, DWORD /*window*/) {}

TEST_F(RetentionTest, DeletesTheOldestBeyondTwentyAtTheStart)
{
    Names expected = WriteClosed(26);
    const TestLog log(library, Config());
    expected.resize(mostClosed);
    expected.push_back(Name(L".log"));
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(Files(), expected);
}

TEST_F(RetentionTest, CountsEveryFormOfTheFamily)
{
    const Names forms = {L"qda_Agent_s0.log",
                         L"qda_Agent_s4294967295.999.log",
                         L"QDA_AGENT_S3.20200101-000000-000.LOG",
                         L"qda_Agent_s3.20200101-000000-000-99.log",
                         L"qda_Agent_s3.2.20200101-000000-000.log",
                         L"qda_Agent_s3_p4_20200101-000000.log",
                         L"qda_Agent_s3_p4294967295_20200101-000000.2.20200101-000000-000-1.log"};
    for (const std::wstring& name : forms)
    {
        WriteOld(name, 100);
    }
    WriteClosed(mostClosed);
    const TestLog log(library, Config());
    for (const std::wstring& name : forms)
    {
        EXPECT_FALSE(Exists(name)) << std::string(name.begin(), name.end());
    }
    EXPECT_EQ(Files().size(), std::size_t{mostClosed + 1});
}

TEST_F(RetentionTest, LeavesForeignFilesAlone)
{
    const Names foreign = {L"qda_Agent_s1.txt",
                           L"qda_Agent_s1.log.bak",
                           L"qda_Agent_s.log",
                           L"qda_Agent_sx.log",
                           L"qda_Agent_s12345678901.log",
                           L"qda_Agent2_s1.log",
                           L"xqda_Agent_s1.log",
                           L"qda_Agent_s1-copy.log",
                           L"qda_Agent_s1_p12.log",
                           L"qda_Agent_s1.1234.log",
                           L"qda_Agent_s1..log",
                           L"qda_Agent_s1.20200101-000000.log",
                           L"qda_Agent_s1.20200101-000000-000-100.log",
                           L"qda_Agent_s1.20200101-000000-000.2.log",
                           L"qda_Agent_s1_s2.log"};
    for (const std::wstring& name : foreign)
    {
        WriteOld(name, 100);
    }
    std::filesystem::create_directory(folder.Path(L"qda_Agent_s9.log"));
    WriteClosed(mostClosed + 5);
    const TestLog log(library, Config());
    for (const std::wstring& name : foreign)
    {
        EXPECT_TRUE(Exists(name)) << std::string(name.begin(), name.end());
    }
    EXPECT_TRUE(Exists(L"qda_Agent_s9.log"));
    EXPECT_EQ(Files().size(), foreign.size() + 1 + mostClosed + 1);
}

TEST_F(RetentionTest, NeitherDeletesNorCountsAFileThatIsBeingWritten)
{
    const Names closed = WriteClosed(mostClosed + 3);
    const FileHandle newest(CreateFileW(folder.Path(closed.front()).c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                        nullptr, OPEN_EXISTING, 0, nullptr));
    const FileHandle oldest(CreateFileW(folder.Path(closed.back()).c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                        nullptr, OPEN_EXISTING, 0, nullptr));
    const TestLog log(library, Config());
    EXPECT_TRUE(Exists(closed.back()));
    EXPECT_TRUE(Exists(closed[mostClosed]));
    EXPECT_FALSE(Exists(closed[mostClosed + 1]));
}

TEST_F(RetentionTest, NeitherDeletesNorCountsALink)
{
    const TestSupport::ImportPatch patch(nullptr, "GetFileInformationByHandle", &CallClosedFilesLinks,
                                         library.Module());
    WriteClosed(mostClosed + 5);
    WriteOld(L"qda_Agent_s7.log", 100);
    const TestLog log(library, Config());
    EXPECT_EQ(Files().size(), std::size_t{mostClosed + 5 + 2});
}

TEST_F(RetentionTest, DeletesAgainWhenAFileIsClosed)
{
    const Names closed = WriteClosed(mostClosed);
    VzDbgConfig config = Config();
    config.logUnitType = 1;
    const TestLog log(library, config);
    EXPECT_EQ(log.Trace(L"one\r\n", At(1, 1)), 0U);
    EXPECT_TRUE(Exists(closed.back()));
    EXPECT_EQ(log.Trace(L"two\r\n", At(2, 1)), 0U);
    EXPECT_TRUE(TestSupport::WaitUntil([&] { return !Exists(closed.back()); }));
    EXPECT_TRUE(Exists(closed[mostClosed - 2]));
}

TEST_F(RetentionTest, IsDoneBeforeTheLogHasEndedWhateverTheThreadPoolDoes)
{
    const TestSupport::ImportPatch patch(nullptr, "SetThreadpoolTimer", &NeverFire, library.Module());
    VzDbgConfig config = Config();
    config.logUnitType = 2;
    {
        const TestLog log(library, config);
        for (WORD line = 0; line < 100; ++line)
        {
            ASSERT_EQ(log.Trace(L"line\r\n", At(static_cast<WORD>(1 + line / 24), line % 24)), 0U);
        }
    }
    EXPECT_EQ(Files().size(), std::size_t{mostClosed});
    EXPECT_TRUE(Exists(Name(L".log")));
}

} // namespace
