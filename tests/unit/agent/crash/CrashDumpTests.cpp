#include <filesystem>

#include "CrashDump.h"
#include "CrashScene.h"
#include "CrashState.h"
#include "DbghelpTable.h"

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;
using TestSupport::ImportPatch;

namespace
{
class CrashDumpTest : public CrashScene
{
protected:
    void Write(EXCEPTION_POINTERS* pointers, const std::wstring& where)
    {
        const VzCommon::KernelHandle process(OpenProcess(PROCESS_ALL_ACCESS, FALSE, GetCurrentProcessId()));
        log.Clear();
        WriteCrashDump(process.Get(), GetCurrentProcessId(), 0, pointers, 0, where);
    }
};

__time64_t WINAPI KnownTime(__time64_t* /*time*/)
{
    return 1000000000;
}

tm* __cdecl KnownLocalTime(const __time64_t* time)
{
    EXPECT_EQ(*time, 1000000000);
    static tm local{};
    local.tm_year = 101;
    local.tm_mon = 8;
    local.tm_mday = 9;
    local.tm_hour = 1;
    local.tm_min = 2;
    local.tm_sec = 3;
    return &local;
}

class DumpNameTest : public CrashDumpTest
{
protected:
    ImportPatch time{nullptr, "_time64", &KnownTime};
    ImportPatch local{nullptr, "_localtime64", &KnownLocalTime};
};
} // namespace

TEST_F(DumpNameTest, HoldsProductAndLocalTime)
{
    Arm();
    Write(&exception, DumpFolder());
    EXPECT_THAT(Files(), ElementsAre(L"Melvio20010909_010203Full.dmp"));
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] Crash dump generation succeed at path: " + DumpFolder() +
                                         L"\\Melvio20010909_010203Full.dmp"));
}

TEST_F(DumpNameTest, TellsACrashThatIsNoException)
{
    Arm();
    Write(nullptr, DumpFolder());
    EXPECT_THAT(Files(), ElementsAre(L"Melvio20010909_010203_SE_CRT_Full.dmp"));
    EXPECT_FALSE(dump.hasException);
}

TEST_F(DumpNameTest, TellsASmallDump)
{
    Arm();
    s_bFullDump = false;
    Write(&exception, DumpFolder());
    EXPECT_THAT(Files(), ElementsAre(L"Melvio20010909_010203Part.dmp"));
    EXPECT_EQ(dump.type, 0);
}

TEST_F(DumpNameTest, AnEarlierDumpOfTheSameSecondIsReplaced)
{
    Arm();
    PutFile(L"Melvio20010909_010203Full.dmp", 0, "an earlier one");
    Write(&exception, DumpFolder());
    EXPECT_EQ(folder.Read(L"Norvane Soft\\Melvio\\dump\\Melvio20010909_010203Full.dmp"), "MDMP");
}

TEST_F(DumpNameTest, MayEndAtTheLongestPathOfTheSystem)
{
    Arm();
    const std::wstring name = L"\\Melvio20010909_010203Full.dmp";
    std::wstring deep = folder.Path(L"deep");
    deep.resize(MAX_PATH - 1 - name.size(), L'p');
    Write(&exception, deep);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] Crash dump generation succeed at path: " + deep + name));
    EXPECT_TRUE(std::filesystem::exists(deep + name));
}

TEST_F(CrashDumpTest, IsAFullOneOfTheOwningThread)
{
    Arm();
    s_crashThreadId = 4711;
    Write(&exception, DumpFolder());
    s_crashThreadId = 0; // the end of the program would wait for that thread
    EXPECT_EQ(dump.count, 1);
    EXPECT_EQ(dump.process, GetCurrentProcessId());
    EXPECT_EQ(dump.type, 2);
    const MINIDUMP_EXCEPTION_INFORMATION given = dump.exception; // packed: by value
    EXPECT_EQ(DWORD{given.ThreadId}, 4711U);
    EXPECT_EQ(static_cast<EXCEPTION_POINTERS*>(given.ExceptionPointers), &exception);
    EXPECT_EQ(BOOL{given.ClientPointers}, TRUE);
    EXPECT_FALSE(dump.hasRest);
}

TEST_F(CrashDumpTest, MakesTheWholePath)
{
    Arm();
    const std::wstring deep = folder.Path(L"one\\two\\three");
    Write(&exception, deep);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(deep), {}), 1);
}

TEST_F(CrashDumpTest, AFileInThePlaceOfTheFolderIsAnError)
{
    Arm();
    folder.Write(L"file", "x");
    Write(&exception, folder.Path(L"file"));
    EXPECT_EQ(dump.count, 0);
    ASSERT_THAT(log.Texts(), SizeIs(1));
    EXPECT_THAT(log.Texts()[0], AllOf(StartsWith(L": [ERROR] failed to create dump file at path: " +
                                                 folder.Path(L"file\\Melvio")),
                                      HasSubstr(L"Full.dmpGetLastError() = ")));
}

TEST_F(CrashDumpTest, AnEndlessPathIsAnError)
{
    Arm();
    Write(&exception, folder.Path(std::wstring(1000, L'a')));
    EXPECT_EQ(dump.count, 0);
    ASSERT_THAT(log.Texts(), SizeIs(1));
    EXPECT_THAT(log.Texts()[0], StartsWith(L": [ERROR] failed to create dump file at path: "));
}

TEST_F(CrashDumpTest, AFailedOneLeavesItsFile)
{
    Arm();
    dumpResult = false;
    Write(&exception, DumpFolder());
    dumpResult = true;
    EXPECT_THAT(Files(), SizeIs(1));
    ASSERT_THAT(log.Texts(), SizeIs(1));
    EXPECT_THAT(log.Texts()[0],
                StartsWith(L": [ERROR] Crash dump generation failed at path: " + DumpFolder()));
}

TEST_F(CrashDumpTest, WithoutAWriterTheFileStaysEmpty)
{
    Arm();
    s_bDbghelpLoaded = false;
    Write(&exception, DumpFolder());
    s_bDbghelpLoaded = true;
    EXPECT_EQ(dump.count, 0);
    ASSERT_THAT(Files(), SizeIs(1));
    EXPECT_EQ(std::filesystem::file_size(DumpFolder() + L"\\" + Files()[0]), 0U);
    EXPECT_THAT(log.Texts()[0], StartsWith(L": [ERROR] Crash dump generation failed at path: "));
}

namespace
{
DWORD g_access = 0;
DWORD g_share = 99;
DWORD g_disposition = 0;
DWORD g_attributes = 0;

HANDLE WINAPI RefuseFile(const wchar_t* /*path*/, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                         DWORD disposition, DWORD attributes, HANDLE pattern)
{
    EXPECT_TRUE(security == nullptr && pattern == nullptr);
    g_access = access;
    g_share = share;
    g_disposition = disposition;
    g_attributes = attributes;
    SetLastError(ERROR_DISK_FULL);
    return INVALID_HANDLE_VALUE;
}
} // namespace

TEST_F(CrashDumpTest, ARefusalIsToldWithItsCode)
{
    Arm();
    const ImportPatch create(nullptr, "CreateFileW", &RefuseFile);
    Write(&exception, DumpFolder());
    EXPECT_EQ(g_access, GENERIC_WRITE);
    EXPECT_EQ(g_share, 0U);
    EXPECT_EQ(g_disposition, static_cast<DWORD>(CREATE_ALWAYS));
    EXPECT_EQ(g_attributes, static_cast<DWORD>(FILE_ATTRIBUTE_NORMAL));
    ASSERT_THAT(log.Texts(), SizeIs(1));
    EXPECT_TRUE(log.Texts()[0].ends_with(L"Full.dmpGetLastError() = 112"));
}
