#include "ImportPatch.h"
#include "LogTest.h"

namespace
{

using FailureTest = LogTest;

// How the replaced calls behave. One process runs one test.
enum class Disk
{
    Works,
    Full,        // takes a half and fails
    FullQuietly, // takes a half and says so
    Broken,      // takes a half, fails, and cannot be cut either
    Gone,        // nothing can be opened either
};

Disk s_disk = Disk::Works;
int s_opened = 0;

BOOL WINAPI WriteToDisk(HANDLE file, const void* data, DWORD length, DWORD* written, OVERLAPPED* position)
{
    if (s_disk == Disk::Works)
    {
        return WriteFile(file, data, length, written, position);
    }
    const BOOL result = WriteFile(file, data, length / 2, written, position);
    if (s_disk == Disk::FullQuietly)
    {
        return result;
    }
    SetLastError(s_disk == Disk::Full ? ERROR_DISK_FULL : ERROR_NETNAME_DELETED);
    return FALSE;
}

BOOL WINAPI CutOnDisk(HANDLE file)
{
    return s_disk < Disk::Broken && SetEndOfFile(file);
}

HANDLE WINAPI OpenOnDisk(const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                         DWORD disposition, DWORD flags, HANDLE model)
{
    ++s_opened;
    if (s_disk == Disk::Gone)
    {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    return CreateFileW(name, access, share, security, disposition, flags, model);
}

DWORD WINAPI AttributesOnDisk(const wchar_t* name)
{
    if (s_disk == Disk::Gone)
    {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return INVALID_FILE_ATTRIBUTES;
    }
    return GetFileAttributesW(name);
}

class FailingDiskTest : public LogTest
{
protected:
    FailingDiskTest()
        : write(nullptr, "WriteFile", &WriteToDisk, library.Module()),
          cut(nullptr, "SetEndOfFile", &CutOnDisk, library.Module()),
          open(nullptr, "CreateFileW", &OpenOnDisk, library.Module()),
          attributes(nullptr, "GetFileAttributesW", &AttributesOnDisk, library.Module()),
          clock(nullptr, "GetTickCount64", &StandingTick, library.Module())
    {
    }

    TestSupport::ImportPatch write;
    TestSupport::ImportPatch cut;
    TestSupport::ImportPatch open;
    TestSupport::ImportPatch attributes;
    TestSupport::ImportPatch clock;
};

TEST_F(FailingDiskTest, LeavesNoPartOfALineAndTriesTheNext)
{
    const TestLog log(library, Config());
    EXPECT_EQ(log.Trace(L"first\r\n"), 0U);
    s_disk = Disk::Full;
    EXPECT_EQ(log.Trace(L"lost line\r\n"), DWORD{ERROR_DISK_FULL});
    EXPECT_EQ(AllText(), "first\r\n");
    s_disk = Disk::FullQuietly;
    EXPECT_EQ(log.Trace(L"lost line\r\n"), DWORD{ERROR_DISK_FULL});
    EXPECT_EQ(AllText(), "first\r\n");
    s_disk = Disk::Works;
    EXPECT_EQ(log.Trace(L"next\r\n"), 0U);
    EXPECT_EQ(AllText(), "first\r\nnext\r\n");
}

TEST_F(FailingDiskTest, KeepsGatheredLinesAndDropsTheRefusedOne)
{
    VzDbgConfig config = Config();
    config.robust = 0;
    const TestLog log(library, config);
    EXPECT_EQ(log.Trace(Line(L"first")) + log.Trace(Line(L"gathered")), 0U);
    s_disk = Disk::Full;
    EXPECT_EQ(log.Trace(Line(L"refused", L"!!!")), DWORD{ERROR_DISK_FULL});
    s_disk = Disk::Works;
    EXPECT_EQ(log.Trace(Line(L"error", L"!!!")), 0U);
    const std::string text = AllText();
    EXPECT_NE(text.find("gathered"), std::string::npos);
    EXPECT_EQ(text.find("refused"), std::string::npos);
    EXPECT_LT(text.find("gathered"), text.find("error"));
}

TEST_F(FailingDiskTest, RefusesLinesOnceItsMemoryIsFull)
{
    VzDbgConfig config = Config();
    config.robust = 0;
    TestLog log(library, config);
    EXPECT_EQ(log.Trace(L"first\r\n"), 0U);
    s_disk = Disk::Full;
    int accepted = 0;
    for (int line = 0; line < 1000; ++line)
    {
        accepted += log.Trace(std::wstring(998, L'x') + L"\r\n") == 0 ? 1 : 0;
    }
    EXPECT_GT(accepted, 50);
    EXPECT_LE(accepted, 65);
    s_disk = Disk::Works;
    log.Close();
    EXPECT_EQ(AllText().size(), 7U + static_cast<unsigned>(accepted) * 1000U);
}

TEST_F(FailingDiskTest, OpensTheFileAnewIfItCannotTakeATornLineBack)
{
    const TestLog log(library, Config());
    EXPECT_EQ(log.Trace(L"first\r\n"), 0U);
    s_disk = Disk::Broken;
    EXPECT_EQ(log.Trace(L"lost line\r\n"), DWORD{ERROR_NETNAME_DELETED});
    s_disk = Disk::Works;
    EXPECT_EQ(log.Trace(L"next\r\n"), 0U);
    EXPECT_EQ(AllText(), "first\r\nnext\r\n");
}

TEST_F(FailingDiskTest, TriesOnceASecondToGetALostFileBack)
{
    const TestLog log(library, Config());
    s_disk = Disk::Gone;
    EXPECT_NE(log.Trace(L"lost line\r\n"), 0U);
    const int once = s_opened;
    EXPECT_NE(log.Trace(L"lost line\r\n"), 0U); // looks for the file
    const int twice = s_opened;
    EXPECT_GT(twice, once);
    for (int line = 0; line < 10; ++line)
    {
        EXPECT_EQ(log.Trace(L"lost line\r\n"), DWORD{ERROR_FILE_NOT_FOUND});
    }
    EXPECT_EQ(s_opened, twice);
    LetPass(1000);
    s_disk = Disk::Works;
    EXPECT_EQ(log.Trace(L"next\r\n"), 0U);
    EXPECT_EQ(AllText(), "next\r\n");
}

TEST_F(FailureTest, CutsOffALineThatAnEarlierWriterLeftUnfinished)
{
    folder.Write(Name(L".log"), "whole\r\n" + std::string(5000, 'x'));
    const TestLog log(library, Config());
    EXPECT_EQ(log.Trace(L"next\r\n"), 0U);
    EXPECT_EQ(AllText(), "whole\r\nnext\r\n");
}

TEST_F(FailureTest, CutsOffWhatAPowerFailureLeavesOfAFile)
{
    for (const std::string& found :
         {"whole\r\n" + std::string(100'000, '\0'), std::string(4096, '\0') + "\n", std::string(8192, '\0'),
          std::string("whole\r\n" + std::string(4089, 'x'))})
    {
        folder.Write(Name(L".log"), found);
        EXPECT_EQ(TestLog(library, Config()).Trace(L"next\r\n"), 0U);
        EXPECT_EQ(AllText(), found.substr(0, found.find_last_of('\n') + 1) + "next\r\n");
    }
}

} // namespace
