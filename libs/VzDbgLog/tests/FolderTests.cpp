#include "ImportPatch.h"
#include "LogTest.h"
#include "UniqueName.h"
#include "WaitUntil.h"

#include <cstdlib>
#include <filesystem>

namespace
{

namespace fs = std::filesystem;

using FolderTest = LogTest;

std::wstring ProgramFolder()
{
    wchar_t file[MAX_PATH]{};
    GetModuleFileNameW(nullptr, file, MAX_PATH);
    return fs::path(file).parent_path().wstring();
}

bool HoldsOneLog(const std::wstring& path)
{
    return fs::exists(path) && std::distance(fs::directory_iterator(path), fs::directory_iterator()) == 1;
}

// What the library answers to a record with that folder.
std::uint32_t Initialize(const LogLibrary& library, VzDbgConfig config, const std::wstring& logFolder)
{
    Put(config.logFolder, logFolder);
    void* handle = &config;
    const std::uint32_t error = library.initialize(&handle, &config);
    EXPECT_EQ(handle == nullptr, error != 0);
    if (handle != nullptr)
    {
        library.uninitialize(handle);
    }
    return error;
}

// The path as the system below knows it; empty where there is none.
std::string PathBelow(const std::wstring& path)
{
    using Convert = char*(CDECL*)(const wchar_t*);
    const auto convert = reinterpret_cast<Convert>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
    if (convert == nullptr)
    {
        return {};
    }
    char* const below = convert(path.c_str());
    std::string copy = below;
    HeapFree(GetProcessHeap(), 0, below);
    return copy;
}

// A link to a folder: where the tests do not run on Windows itself, made by the means of the system below.
class FolderLink
{
public:
    FolderLink(const TestSupport::TempDir& folder, const std::wstring& name, const std::wstring& target)
        : path(folder.Path(name)), folderBelow(PathBelow(folder.Path())), nameBelow(name.begin(), name.end())
    {
        const std::wstring command = L"mklink /j \"" + path + L"\" \"" + folder.Path(target) + L"\"";
        if (folderBelow.empty())
        {
            _wsystem(command.c_str());
        }
        else
        {
            RunBelow("/bin/ln -s \"" + folderBelow + "/" + std::string(target.begin(), target.end()) + "\"");
        }
        const DWORD link = FILE_ATTRIBUTE_REPARSE_POINT;
        made = TestSupport::WaitUntil([&] { return Attributes() != absent && (Attributes() & link) != 0; });
    }

    ~FolderLink()
    {
        if (folderBelow.empty())
        {
            RemoveDirectoryW(path.c_str());
        }
        else
        {
            RunBelow("/bin/rm");
            static_cast<void>(TestSupport::WaitUntil([&] { return Attributes() == absent; }));
        }
    }

    FolderLink(const FolderLink&) = delete;
    FolderLink& operator=(const FolderLink&) = delete;

    [[nodiscard]] const std::wstring& Path() const { return path; }

    [[nodiscard]] bool IsMade() const { return made; }

private:
    static constexpr DWORD absent = INVALID_FILE_ATTRIBUTES;

    // Runs the command with the link's path as its last argument.
    void RunBelow(const std::string& command) const
    {
        std::system(("start \"\" /unix " + command + " \"" + folderBelow + "/" + nameBelow + "\"").c_str());
    }

    [[nodiscard]] DWORD Attributes() const { return GetFileAttributesW(path.c_str()); }

    std::wstring path;
    std::string folderBelow;
    std::string nameBelow;
    bool made = false;
};

HANDLE WINAPI RefuseToCreate(const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                             DWORD disposition, DWORD flags, HANDLE model)
{
    if (disposition == OPEN_ALWAYS)
    {
        SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    }
    return CreateFileW(name, access, share, security, disposition, flags, model);
}

// A file that is there already belongs to another account.
HANDLE WINAPI RefuseToOpen(const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                           DWORD disposition, DWORD flags, HANDLE model)
{
    if (disposition == OPEN_ALWAYS && GetFileAttributesW(name) != INVALID_FILE_ATTRIBUTES)
    {
        SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    }
    return CreateFileW(name, access, share, security, disposition, flags, model);
}

BOOL WINAPI CallItALink(HANDLE file, BY_HANDLE_FILE_INFORMATION* information)
{
    const BOOL result = GetFileInformationByHandle(file, information);
    wchar_t path[MAX_PATH]{};
    GetFinalPathNameByHandleW(file, path, MAX_PATH, 0);
    if (std::wstring_view(path).find(L".2.") == std::wstring_view::npos)
    {
        information->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    }
    return result;
}

TEST_F(FolderTest, IsMadeWithAllThatIsMissingAboveIt)
{
    VzDbgConfig config = Config();
    Put(config.logFolder, folder.Path(L"a\\b/c\\..\\d\\"));
    const TestLog log(library, config);
    EXPECT_TRUE(HoldsOneLog(folder.Path(L"a\\b\\d")));
}

TEST_F(FolderTest, MayHaveAPathBeyondTheOldLimit)
{
    const std::wstring variable = TestSupport::UniqueName(L"QX_LONG");
    const std::wstring part = L"\\" + std::wstring(120, L'x');
    SetEnvironmentVariableW(variable.c_str(), (folder.Path() + part + part + part).c_str());
    VzDbgConfig config = Config();
    Put(config.logFolder, L"%" + variable + L"%");
    EXPECT_TRUE(TestLog(library, config).IsOpen());
    // What removes the test's folder does not reach that far.
    const std::wstring top = L"\\\\?\\" + folder.Path();
    EXPECT_TRUE(RemoveDirectoryW((top + part + part + part).c_str()));
    EXPECT_TRUE(RemoveDirectoryW((top + part + part).c_str()));
    EXPECT_TRUE(RemoveDirectoryW((top + part).c_str()));
}

TEST_F(FolderTest, HasItsVariablesExpanded)
{
    const std::wstring variable = TestSupport::UniqueName(L"QX_LOG");
    SetEnvironmentVariableW(variable.c_str(), folder.Path().c_str());
    VzDbgConfig config = Config();
    Put(config.logFolder, L"%" + variable + L"%\\logs");
    const TestLog log(library, config);
    EXPECT_TRUE(HoldsOneLog(folder.Path(L"logs")));
}

TEST_F(FolderTest, LiesBelowTheProgramIfItIsRelative)
{
    const std::wstring name = TestSupport::UniqueName(L"logs");
    VzDbgConfig config = Config();
    Put(config.logFolder, name);
    {
        const TestLog log(library, config);
        EXPECT_TRUE(HoldsOneLog(ProgramFolder() + L"\\" + name));
    }
    fs::remove_all(ProgramFolder() + L"\\" + name);
}

TEST_F(FolderTest, IsLogBelowTheProgramIfNoneIsNamed)
{
    VzDbgConfig config = Config();
    const std::wstring prefix = TestSupport::UniqueName(L"prefix");
    Put(config.logFolder, L"");
    Put(config.logPrefix, prefix);
    const TestLog log(library, config);
    EXPECT_TRUE(fs::exists(ProgramFolder() + L"\\Log\\" + prefix + Name(L".log").substr(3)));
}

TEST_F(FolderTest, EndsAtTheEndOfItsField)
{
    VzDbgConfig config = Config();
    const std::wstring path = folder.Path() + L"\\";
    std::fill(std::begin(config.logFolder), std::end(config.logFolder), L'f');
    path.copy(config.logFolder, path.size());
    std::fill(std::begin(config.logPrefix), std::end(config.logPrefix), L'p');
    const TestLog log(library, config);
    EXPECT_EQ(Files(),
              std::vector<std::wstring>{std::wstring(std::size(config.logFolder) - path.size(), L'f')});
}

TEST_F(FolderTest, IsRefusedIfItIsAFile)
{
    folder.Write(L"file", "text");
    EXPECT_EQ(Initialize(library, Config(), folder.Path(L"file")), DWORD{ERROR_DIRECTORY});
    EXPECT_NE(Initialize(library, Config(), folder.Path(L"file\\below")), 0U);
    EXPECT_EQ(Read(L"file"), "text");
}

TEST_F(FolderTest, IsRefusedIfNothingCanBeMadeInIt)
{
    const TestSupport::ImportPatch patch(nullptr, "CreateFileW", &RefuseToCreate, library.Module());
    EXPECT_EQ(Initialize(library, Config(), folder.Path()), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(FolderTest, IsRefusedOnADriveThatIsNotThere)
{
    EXPECT_NE(Initialize(library, Config(), L"Q:\\logs\\agent"), 0U);
    EXPECT_NE(Initialize(library, Config(), L"Q:\\"), 0U);
    EXPECT_NE(Initialize(library, Config(), L"\\\\.\\nul\\logs"), 0U);
}

TEST_F(FolderTest, IsRefusedIfItIsALink)
{
    folder.Write(L"victims\\file", "text");
    const FolderLink link(folder, L"link", L"victims");
    ASSERT_TRUE(link.IsMade());
    EXPECT_EQ(Initialize(library, Config(), link.Path()), DWORD{ERROR_CANT_ACCESS_FILE});
    EXPECT_TRUE(HoldsOneLog(folder.Path(L"victims")));
}

TEST_F(FolderTest, CannotBeTakenAwayFromAnOpenLog)
{
    VzDbgConfig config = Config();
    Put(config.logFolder, folder.Path(L"logs"));
    TestLog log(library, config);
    EXPECT_FALSE(MoveFileW(folder.Path(L"logs").c_str(), folder.Path(L"moved").c_str()));
    log.Close();
    EXPECT_TRUE(MoveFileW(folder.Path(L"logs").c_str(), folder.Path(L"moved").c_str()));
}

TEST_F(FolderTest, MayHoldALinkUnderTheNameOfTheFile)
{
    const TestSupport::ImportPatch patch(nullptr, "GetFileInformationByHandle", &CallItALink,
                                         library.Module());
    folder.Write(Name(L".log"), "the link's target\n");
    const TestLog log(library, Config());
    EXPECT_EQ(log.Trace(L"line\r\n"), 0U);
    EXPECT_EQ(Read(Name(L".log")), "the link's target\n");
    EXPECT_EQ(Read(Name(L".2.log")), "line\r\n");
}

TEST_F(FolderTest, MayHoldASecondNameOfAnotherFile)
{
    const std::wstring victim = folder.Write(L"victim", "text\n");
    ASSERT_TRUE(CreateHardLinkW(folder.Path(Name(L".log")).c_str(), victim.c_str(), nullptr));
    const TestLog log(library, Config());
    EXPECT_EQ(log.Trace(L"line\r\n"), 0U);
    EXPECT_EQ(Read(L"victim"), "text\n");
    EXPECT_EQ(Read(Name(L".2.log")), "line\r\n");
}

TEST_F(FolderTest, MayHoldAFolderUnderTheNameOfTheFile)
{
    fs::create_directory(folder.Path(Name(L".log")));
    const TestLog log(library, Config());
    EXPECT_EQ(log.Trace(L"line\r\n"), 0U);
    EXPECT_EQ(Read(Name(L".2.log")), "line\r\n");
}

TEST_F(FolderTest, MayHoldAFileThatThisAccountMustNotWrite)
{
    const TestSupport::ImportPatch patch(nullptr, "CreateFileW", &RefuseToOpen, library.Module());
    folder.Write(Name(L".log"), "text\n");
    const TestLog log(library, Config());
    EXPECT_EQ(log.Trace(L"line\r\n"), 0U);
    EXPECT_EQ(Read(Name(L".log")), "text\n");
    EXPECT_EQ(Read(Name(L".2.log")), "line\r\n");
}

} // namespace
