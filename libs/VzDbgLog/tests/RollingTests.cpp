#include "LogTest.h"

#include "Handles.h"

#include <regex>

namespace
{

using RollingTest = LogTest;
using VzDbgLog::FileHandle;

constexpr std::size_t fullSize = 8 * 1024 * 1024;

// A line of 1000 bytes.
std::wstring NumberedLine(std::size_t number)
{
    std::wstring line = std::to_wstring(number) + L" ";
    return line + std::wstring(998 - line.size(), L'.') + L"\r\n";
}

std::string NumberedLines(std::size_t first, std::size_t last)
{
    std::string text;
    for (std::size_t number = first; number <= last; ++number)
    {
        const std::wstring line = NumberedLine(number);
        text.append(line.begin(), line.end());
    }
    return text;
}

// A file that nobody holds, of that size and age.
void WriteFound(const TestSupport::TempDir& folder, const std::wstring& name, std::string_view text,
                int daysOld)
{
    const std::wstring path = folder.Write(name, text);
    const FileHandle file(
        CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    ULARGE_INTEGER time{{now.dwLowDateTime, now.dwHighDateTime}};
    time.QuadPart -= static_cast<ULONGLONG>(daysOld) * 24 * 3600 * 10'000'000;
    const FILETIME old{time.LowPart, time.HighPart};
    ASSERT_TRUE(SetFileTime(file.Get(), nullptr, nullptr, &old));
}

TEST_F(RollingTest, ClosesAFullFileUnderATimeAndNeverSplitsALine)
{
    const std::size_t inOneFile = fullSize / 1000;
    for (const BYTE robust : {BYTE{0}, BYTE{1}})
    {
        VzDbgConfig config = Config();
        config.robust = robust;
        Put(config.logPrefix, robust != 0 ? L"robust" : L"qda");
        TestLog log(library, config);
        for (std::size_t number = 0; number < inOneFile + 5; ++number)
        {
            ASSERT_EQ(log.Trace(NumberedLine(number), At(3, 4)), 0U);
        }
    }
    const std::vector<std::wstring> files = Files();
    ASSERT_EQ(files.size(), 4U);
    EXPECT_EQ(files[0], Name(L".20310503-040708-009.log"));
    EXPECT_EQ(files[1], Name(L".log"));
    for (const std::size_t at : {0, 2})
    {
        const std::string closed = Read(files[at]);
        EXPECT_LE(closed.size(), fullSize);
        EXPECT_GT(closed.size(), fullSize - 5000);
        EXPECT_EQ(closed.size() % 1000, 0U);
        EXPECT_TRUE(closed + Read(files[at + 1]) == NumberedLines(0, inOneFile + 4)) << "lines are missing";
    }
}

TEST_F(RollingTest, KeepsOneFileWhateverTheTimeIfOnlySizeCounts)
{
    for (const DWORD unit : {0U, 3U, 0xFFFFFFFFU})
    {
        VzDbgConfig config = Config();
        config.logUnitType = unit;
        const TestLog log(library, config);
        EXPECT_EQ(log.Trace(L"one\r\n", At(1, 1)) + log.Trace(L"two\r\n", At(2, 2)), 0U);
    }
    EXPECT_EQ(Files(), std::vector<std::wstring>{Name(L".log")});
}

TEST_F(RollingTest, BeginsAFileEachDay)
{
    VzDbgConfig config = Config();
    config.logUnitType = 1;
    const TestLog log(library, config);
    EXPECT_EQ(log.Trace(L"first\r\n", At(1, 0)), 0U);
    EXPECT_EQ(log.Trace(L"later\r\n", At(1, 23)), 0U);
    EXPECT_EQ(log.Trace(L"next\r\n", At(2, 0)), 0U);
    EXPECT_EQ(Read(Name(L".20310502-000708-009.log")), "first\r\nlater\r\n");
    EXPECT_EQ(Read(Name(L".log")), "next\r\n");
}

TEST_F(RollingTest, BeginsAFileEachHour)
{
    VzDbgConfig config = Config();
    config.logUnitType = 2;
    config.robust = 0;
    TestLog log(library, config);
    EXPECT_EQ(log.Trace(L"first\r\n", At(1, 22)), 0U);
    EXPECT_EQ(log.Trace(L"gathered\r\n", At(1, 22)), 0U);
    EXPECT_EQ(log.Trace(L"next\r\n", At(1, 23)), 0U);
    EXPECT_EQ(log.Trace(L"day\r\n", At(2, 0)), 0U);
    log.Close();
    EXPECT_EQ(Read(Name(L".20310501-230708-009.log")), "first\r\ngathered\r\n");
    EXPECT_EQ(Read(Name(L".20310502-000708-009.log")), "next\r\n");
    EXPECT_EQ(Read(Name(L".log")), "day\r\n");
}

TEST_F(RollingTest, PutsALateLineOfTheDayBeforeIntoTheNewFile)
{
    VzDbgConfig config = Config();
    config.logUnitType = 1;
    const TestLog log(library, config);
    EXPECT_EQ(log.Trace(L"one\r\n", At(1, 23)), 0U);
    EXPECT_EQ(log.Trace(L"two\r\n", At(2, 0)), 0U);
    EXPECT_EQ(log.Trace(L"late\r\n", At(1, 23)), 0U);
    EXPECT_EQ(log.Trace(L"three\r\n", At(2, 0)), 0U);
    EXPECT_EQ(Files().size(), 2U);
    EXPECT_EQ(Read(Name(L".log")), "two\r\nlate\r\nthree\r\n");
}

TEST_F(RollingTest, GivesEachClosedFileANameOfItsOwn)
{
    VzDbgConfig config = Config();
    config.logUnitType = 1;
    for (int round = 0; round < 3; ++round)
    {
        const TestLog log(library, config);
        EXPECT_EQ(log.Trace(L"one\r\n", At(1, 1)) + log.Trace(L"two\r\n", At(2, 2)), 0U);
        EXPECT_EQ(log.Trace(L"three\r\n", At(3, 3)), 0U);
    }
    EXPECT_EQ(Files().size(), 9U);
    EXPECT_EQ(Read(Name(L".20310502-020708-009.log")), "one\r\n");
    EXPECT_EQ(Read(Name(L".20310502-020708-009-1.log")), "one\r\n");
    EXPECT_EQ(Read(Name(L".20310502-020708-009-2.log")), "one\r\n");
    EXPECT_EQ(Read(Name(L".20310501-010708-009-1.log")), "three\r\n");
}

TEST_F(RollingTest, ClosesAFileOfAnEarlierDayAtTheStart)
{
    WriteFound(folder, Name(L".log"), "old\r\n", 2);
    VzDbgConfig config = Config();
    config.logUnitType = 1;
    const TestLog log(library, config);
    EXPECT_EQ(log.Trace(L"new\r\n"), 0U);
    EXPECT_EQ(Files().size(), 2U);
    EXPECT_EQ(Read(Name(L".log")), "new\r\n");
}

TEST_F(RollingTest, GoesOnInAFileOfTheSameDay)
{
    WriteFound(folder, Name(L".log"), "old\r\n", 0);
    VzDbgConfig config = Config();
    config.logUnitType = 1;
    const TestLog log(library, config);
    EXPECT_EQ(log.Trace(L"new\r\n"), 0U);
    EXPECT_EQ(Read(Name(L".log")), "old\r\nnew\r\n");
}

TEST_F(RollingTest, ClosesAFileThatIsFullAlreadyAtTheStart)
{
    folder.Write(Name(L".log"), std::string(fullSize, 'x'));
    const TestLog log(library, Config());
    EXPECT_EQ(log.Trace(L"new\r\n"), 0U);
    EXPECT_EQ(Read(Name(L".log")), "new\r\n");
    ASSERT_EQ(Files().size(), 2U);
    EXPECT_TRUE(std::regex_match(Files().front(), std::wregex(Name(LR"(\.20\d{6}-\d{6}-\d{3}\.log)"))));
    EXPECT_EQ(Read(Files().front()).size(), fullSize);
}

TEST_F(RollingTest, GoesOnInTheNextSlotIfTheFileCannotBeRenamed)
{
    VzDbgConfig config = Config();
    config.logUnitType = 1;
    const TestLog log(library, config);
    EXPECT_EQ(log.Trace(L"one\r\n", At(1, 1)), 0U);
    const FileHandle reader(CreateFileW(folder.Path(Name(L".log")).c_str(), GENERIC_READ,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                                        nullptr));
    ASSERT_TRUE(reader);
    EXPECT_EQ(log.Trace(L"two\r\n", At(2, 2)), 0U);
    EXPECT_EQ(Read(Name(L".log")), "one\r\n");
    EXPECT_EQ(Read(Name(L".2.log")), "two\r\n");
}

TEST_F(RollingTest, LeavesAFullFileThatCannotBeRenamedAndTakesTheNextSlotAtTheStart)
{
    folder.Write(Name(L".log"), std::string(fullSize, 'x'));
    const FileHandle reader(CreateFileW(folder.Path(Name(L".log")).c_str(), GENERIC_READ,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                                        nullptr));
    const TestLog log(library, Config());
    EXPECT_EQ(log.Trace(L"new\r\n"), 0U);
    EXPECT_EQ(Read(Name(L".2.log")), "new\r\n");
}

} // namespace
