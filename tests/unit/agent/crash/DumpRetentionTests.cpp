#include <filesystem>

#include "CrashState.h"
#include "CrashTest.h"
#include "DumpRetention.h"
#include "ImportPatch.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::ImportPatch;

namespace
{
constexpr wchar_t productKey[] = L"SOFTWARE\\NorvaneSoft\\Melvio";

class DumpRetentionTest : public CrashTest
{
protected:
    DumpRetentionTest()
    {
        s_dumpFolder = DumpFolder();
        std::filesystem::create_directories(DumpFolder());
    }

    void SetLimit(DWORD limit)
    {
        registry.SetDword(HKEY_LOCAL_MACHINE, productKey, L"DumpNumberLimit", limit, KEY_WOW64_64KEY);
    }

    // "00" is the youngest.
    void PutFiles(int count)
    {
        for (int i = 0; i < count; ++i)
        {
            PutFile((i < 10 ? L"0" : L"") + std::to_wstring(i) + L".dmp", i * 10);
        }
    }
};

struct Limit
{
    DWORD limit;
    std::size_t kept; // of five
};

class DumpLimitTest : public DumpRetentionTest, public ::testing::WithParamInterface<Limit>
{
};
} // namespace

TEST_P(DumpLimitTest, KeepsTheYoungest)
{
    SetLimit(GetParam().limit);
    PutFiles(5);
    SweepDumpFolder();
    const std::vector<std::wstring> all{L"00.dmp", L"01.dmp", L"02.dmp", L"03.dmp", L"04.dmp"};
    EXPECT_EQ(Files(), std::vector<std::wstring>(all.begin(), all.begin() + std::ptrdiff_t(GetParam().kept)));
}

INSTANTIATE_TEST_SUITE_P(Values, DumpLimitTest,
                         ::testing::Values(Limit{0, 5}, Limit{1, 1}, Limit{3, 3}, Limit{4, 4}, Limit{5, 5},
                                           Limit{50, 5}, Limit{0x80000000, 5}, Limit{0xFFFFFFFF, 5}),
                         [](const auto& limit) { return std::to_string(limit.param.limit); });

TEST_F(DumpRetentionTest, ThreeAreKeptWithoutALimit)
{
    PutFiles(5);
    SweepDumpFolder();
    EXPECT_THAT(Files(), ElementsAre(L"00.dmp", L"01.dmp", L"02.dmp"));
}

TEST_F(DumpRetentionTest, ThreeAreKeptIfTheLimitIsNoNumber)
{
    registry.SetString(HKEY_LOCAL_MACHINE, productKey, L"DumpNumberLimit", L"0", KEY_WOW64_64KEY);
    PutFiles(5);
    SweepDumpFolder();
    EXPECT_THAT(Files(), ElementsAre(L"00.dmp", L"01.dmp", L"02.dmp"));
}

TEST_F(DumpRetentionTest, ThreeAreKeptIfTheLimitIsANumberOfAnotherType)
{
    for (const DWORD type : {REG_BINARY, REG_QWORD})
    {
        const std::uint64_t keepAll = 0;
        const std::size_t size = type == REG_QWORD ? sizeof(keepAll) : sizeof(DWORD);
        registry.SetValue(HKEY_LOCAL_MACHINE, productKey, L"DumpNumberLimit", type, &keepAll, size,
                          KEY_WOW64_64KEY);
        PutFiles(5);
        SweepDumpFolder();
        EXPECT_THAT(Files(), ElementsAre(L"00.dmp", L"01.dmp", L"02.dmp"));
    }
}

TEST_F(DumpRetentionTest, TheOnlyOneStays)
{
    SetLimit(1);
    PutFiles(1);
    SweepDumpFolder();
    EXPECT_THAT(Files(), ElementsAre(L"00.dmp"));
}

TEST_F(DumpRetentionTest, AnEmptyFileGoesFromAFolderThatIsNotFull)
{
    PutFiles(2);
    PutFile(L"empty.dmp", 0, "");
    SweepDumpFolder();
    EXPECT_THAT(Files(), ElementsAre(L"00.dmp", L"01.dmp"));
}

TEST_F(DumpRetentionTest, WithoutALimitEmptyFilesStay)
{
    SetLimit(0);
    PutFile(L"empty.dmp", 0, "");
    SweepDumpFolder();
    EXPECT_THAT(Files(), ElementsAre(L"empty.dmp"));
}

TEST_F(DumpRetentionTest, OfSixtyFilesTheFirstFiftyTakePart)
{
    PutFiles(60);
    SweepDumpFolder();
    const std::vector<std::wstring> files = Files();
    EXPECT_THAT(files, SizeIs(13));
    EXPECT_THAT(files, Contains(L"59.dmp"));
    EXPECT_THAT(files, Contains(L"50.dmp"));
}

TEST_F(DumpRetentionTest, FiftyFilesAllTakePart)
{
    PutFiles(50);
    SweepDumpFolder();
    EXPECT_THAT(Files(), ElementsAre(L"00.dmp", L"01.dmp", L"02.dmp"));
}

TEST_F(DumpRetentionTest, TheFiftyFirstFileStays)
{
    PutFiles(51);
    SweepDumpFolder();
    EXPECT_THAT(Files(), ElementsAre(L"00.dmp", L"01.dmp", L"02.dmp", L"50.dmp"));
}

TEST_F(DumpRetentionTest, EmptyFilesTakeNoRow)
{
    PutFiles(50);
    for (int i = 0; i < 5; ++i)
    {
        PutFile(L"!" + std::to_wstring(i), 0, "");
    }
    SweepDumpFolder();
    EXPECT_THAT(Files(), ElementsAre(L"00.dmp", L"01.dmp", L"02.dmp"));
}

TEST_F(DumpRetentionTest, NamesWithALeadingDotAreLeftAlone)
{
    SetLimit(1);
    PutFile(L".hidden", 90);
    PutFile(L".empty", 90, "");
    PutFiles(2);
    SweepDumpFolder();
    EXPECT_THAT(Files(), ElementsAre(L".empty", L".hidden", L"00.dmp"));
}

TEST_F(DumpRetentionTest, OtherFilesCountAndGo)
{
    SetLimit(1);
    PutFile(L"notes.txt", 100);
    PutFile(L"young.txt", 0);
    PutFile(L"00.dmp", 50);
    SweepDumpFolder();
    EXPECT_THAT(Files(), ElementsAre(L"young.txt"));
}

TEST_F(DumpRetentionTest, FoldersCountAndStay)
{
    SetLimit(1);
    PutFiles(2);
    std::filesystem::create_directories(DumpFolder() + L"\\sub\\below");
    SweepDumpFolder();
    EXPECT_THAT(Files(), ElementsAre(L"sub")) << "the youngest of the three";
}

TEST_F(DumpRetentionTest, EqualTimesAreNoObstacle)
{
    const auto now = std::filesystem::file_time_type::clock::now();
    for (int i = 0; i < 8; ++i)
    {
        PutFile(std::to_wstring(i), 0);
        std::filesystem::last_write_time(DumpFolder() + L"\\" + std::to_wstring(i), now);
    }
    SweepDumpFolder();
    EXPECT_THAT(Files(), SizeIs(3));
}

TEST_F(DumpRetentionTest, AFileThatCannotBeDeletedStays)
{
    SetLimit(1);
    PutFiles(4);
    const VzCommon::FileHandle open(CreateFileW((DumpFolder() + L"\\02.dmp").c_str(), GENERIC_READ,
                                                FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    SweepDumpFolder();
    EXPECT_THAT(Files(), ElementsAre(L"00.dmp", L"02.dmp"));
}

TEST_F(DumpRetentionTest, AReadOnlyFileStaysAndKeepsNoOther)
{
    SetLimit(1);
    PutFiles(4);
    const std::wstring path = DumpFolder() + L"\\01.dmp";
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
    SweepDumpFolder();
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_THAT(Files(), ElementsAre(L"00.dmp", L"01.dmp"));
}

TEST_F(DumpRetentionTest, AFolderWithoutFilesIsNoObstacle)
{
    SweepDumpFolder();
    EXPECT_THAT(Files(), IsEmpty());
}

TEST_F(DumpRetentionTest, WithoutTheFolderNothingHappens)
{
    std::filesystem::remove(DumpFolder());
    SweepDumpFolder();
    EXPECT_THAT(log.Texts(), IsEmpty());
}

namespace
{
std::vector<std::wstring> g_deleted;

BOOL WINAPI RecordDeletion(const wchar_t* path)
{
    g_deleted.emplace_back(path);
    return TRUE;
}

std::wstring g_link;

// A folder of that name is a link.
DWORD WINAPI AttributesWithLink(const wchar_t* path)
{
    return FILE_ATTRIBUTE_DIRECTORY | (path == g_link ? FILE_ATTRIBUTE_REPARSE_POINT : 0U);
}

class DumpLinkTest : public DumpRetentionTest, public ::testing::WithParamInterface<const wchar_t*>
{
};

std::vector<WIN32_FIND_DATAW> g_found;
std::size_t g_next = 0;

BOOL WINAPI FindNext(HANDLE /*search*/, WIN32_FIND_DATAW* data)
{
    if (g_next == g_found.size())
    {
        SetLastError(ERROR_NO_MORE_FILES);
        return FALSE;
    }
    *data = g_found[g_next++];
    return TRUE;
}

HANDLE WINAPI FindFirst(const wchar_t* /*pattern*/, WIN32_FIND_DATAW* data)
{
    return FindNext(nullptr, data) ? reinterpret_cast<HANDLE>(&g_found) : INVALID_HANDLE_VALUE;
}

BOOL WINAPI CloseSearch(HANDLE search)
{
    EXPECT_EQ(search, &g_found);
    return TRUE;
}

void Find(const wchar_t* name, FILETIME created, FILETIME written)
{
    WIN32_FIND_DATAW& data = g_found.emplace_back();
    wcscpy_s(data.cFileName, name);
    data.nFileSizeLow = 1;
    data.ftCreationTime = created;
    data.ftLastWriteTime = written;
}
} // namespace

TEST_P(DumpLinkTest, NothingIsDeletedBehindALink)
{
    g_link = folder.Path(GetParam());
    PutFiles(5);
    PutFile(L"empty.dmp", 0, "");
    const ImportPatch attributes(nullptr, "GetFileAttributesW", &AttributesWithLink);
    SweepDumpFolder();
    EXPECT_THAT(Files(), SizeIs(6));
    EXPECT_THAT(log.Texts(), ElementsAre(L": [WARN] The dump folder leads elsewhere, nothing is deleted: " +
                                         s_dumpFolder));
}

INSTANTIATE_TEST_SUITE_P(Folders, DumpLinkTest,
                         ::testing::Values(L"Norvane Soft\\Melvio\\dump", L"Norvane Soft\\Melvio",
                                           L"Norvane Soft"),
                         [](const auto& link) { return "Level" + std::to_string(link.index); });

TEST_F(DumpRetentionTest, ALinkThatLeadsToTheCommonFolderIsTheSystemsOwn)
{
    g_link = folder.Path();
    PutFiles(5);
    const ImportPatch attributes(nullptr, "GetFileAttributesW", &AttributesWithLink);
    SweepDumpFolder();
    EXPECT_THAT(Files(), SizeIs(3));
}

TEST_F(DumpRetentionTest, GoesByTheTimeOfCreationWhoseHighPartDecides)
{
    SetLimit(1);
    Find(L"old", {0xFFFFFFFF, 1}, {0, 9});
    Find(L"young", {0, 2}, {0, 1});
    Find(L"middle", {0xFFFFFFFE, 1}, {0, 5});
    const ImportPatch first(nullptr, "FindFirstFileW", &FindFirst);
    const ImportPatch next(nullptr, "FindNextFileW", &FindNext);
    const ImportPatch close(nullptr, "FindClose", &CloseSearch);
    const ImportPatch deletion(nullptr, "DeleteFileW", &RecordDeletion);
    SweepDumpFolder();
    EXPECT_THAT(g_deleted, ElementsAre(DumpFolder() + L"\\old", DumpFolder() + L"\\middle"));
}
