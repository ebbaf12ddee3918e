#include <shlobj.h>

#include <filesystem>

#include "CrashFilter.h"
#include "CrashState.h"
#include "CrashTest.h"
#include "DbghelpTable.h"
#include "ImportPatch.h"
#include "InvalidParameter.h"
#include "ObjectCounts.h"
#include "PsapiTable.h"
#include "util_CrashHandler.h"

#include <userenv.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::ImportPatch;

// The delayed import, which no other patch reaches.
extern "C" decltype(&GetAllUsersProfileDirectoryW) __imp_GetAllUsersProfileDirectoryW;

namespace
{
class CrashInitTest : public CrashTest
{
protected:
    // The filter that the system calls.
    static LPTOP_LEVEL_EXCEPTION_FILTER CurrentFilter()
    {
        const LPTOP_LEVEL_EXCEPTION_FILTER current = SetUnhandledExceptionFilter(nullptr);
        SetUnhandledExceptionFilter(current);
        return current;
    }

    [[nodiscard]] std::wstring ArmingLine() const
    {
        return L": [INFO] Initialize Crash handler. Dump folder: " + DumpFolder() +
               L", Application Name: QxSessionAgent, Crash Event Name: an event";
    }
};

std::wstring g_commonFolder;
int g_folderId = 0;
HRESULT g_folderResult = S_OK;

HRESULT WINAPI CommonFolder(HWND /*window*/, int id, HANDLE /*token*/, DWORD /*flags*/, wchar_t* path)
{
    g_folderId = id;
    wcscpy_s(path, MAX_PATH, g_commonFolder.c_str());
    return g_folderResult;
}

bool g_hasProfile = true;

BOOL WINAPI ProfileFolder(wchar_t* path, DWORD* size)
{
    EXPECT_EQ(*size, 260U);
    wcscpy_s(path, MAX_PATH, g_commonFolder.c_str());
    SetLastError(ERROR_PRIVILEGE_NOT_HELD);
    return g_hasProfile;
}

DWORD g_mode = 0;

UINT WINAPI RecordMode(UINT mode)
{
    g_mode = mode;
    return 0;
}

HANDLE g_objectOfTimers = nullptr;
BOOL g_timersDropExceptions = TRUE;

BOOL WINAPI RecordTimers(HANDLE object, int index, void* value, DWORD size)
{
    constexpr int exceptionsOfTimers = 7;
    EXPECT_EQ(index, exceptionsOfTimers);
    EXPECT_EQ(size, sizeof(BOOL));
    g_objectOfTimers = object;
    g_timersDropExceptions = *static_cast<const BOOL*>(value);
    return TRUE;
}

SECURITY_ATTRIBUTES g_security{};
bool g_isManual = false;
bool g_isSignalled = true;

HANDLE WINAPI RecordEvent(SECURITY_ATTRIBUTES* security, BOOL manual, BOOL signalled, const wchar_t* name)
{
    EXPECT_EQ(name, nullptr);
    g_security = *security;
    g_isManual = manual != FALSE;
    g_isSignalled = signalled != FALSE;
    return CreateEventA(nullptr, manual, signalled, nullptr);
}

FARPROC WINAPI FindNoFunction(HMODULE /*module*/, const char* /*name*/)
{
    return nullptr;
}

BOOL WINAPI NeverCode(FARPROC /*address*/)
{
    return TRUE;
}
} // namespace

TEST_F(CrashInitTest, MakesTheFolderAndTellsWhatItDoes)
{
    Init(L"an event");
    EXPECT_TRUE(std::filesystem::is_directory(DumpFolder()));
    EXPECT_THAT(log.Texts(), ElementsAre(L"[INFO],[], ==> InitCrashHandler", ArmingLine(),
                                         L": [INFO] Enable silent dump mode",
                                         L": [INFO] Enable crash handler and disable debugger",
                                         L"[INFO],[], <== InitCrashHandler"));
    EXPECT_EQ(s_dumpFolder, DumpFolder());
    EXPECT_EQ(s_applicationName, L"QxSessionAgent");
    EXPECT_EQ(s_crashEventName, L"an event");
}

TEST_F(CrashInitTest, SetsTheFlagsAndTheFilter)
{
    s_bReportToSystem = true;
    s_bDumpOnInvalidParameter = true;
    Init();
    EXPECT_TRUE(s_bFullDump);
    EXPECT_TRUE(s_bSilentDump);
    EXPECT_FALSE(s_bReportToSystem);
    EXPECT_FALSE(s_bDumpOnInvalidParameter);
    EXPECT_TRUE(s_bDbghelpLoaded);
    EXPECT_TRUE(s_bPsapiLoaded);
    EXPECT_EQ(s_pfnCrashHandler, &CrashFilter);
    EXPECT_EQ(CurrentFilter(), &TopLevelFilter);
    EXPECT_NE(s_pfnPreviousFilter, nullptr);
}

TEST_F(CrashInitTest, KeepsTheSystemFromShowingBoxes)
{
    const ImportPatch patch(nullptr, "SetErrorMode", &RecordMode);
    Init();
    EXPECT_EQ(g_mode, 3U);
}

TEST_F(CrashInitTest, KeepsTheSystemFromDroppingWhatTimersThrow)
{
    const ImportPatch patch(nullptr, "SetUserObjectInformationW", &RecordTimers);
    Init();
    EXPECT_EQ(g_objectOfTimers, GetCurrentProcess());
    EXPECT_FALSE(g_timersDropExceptions);
}

TEST_F(CrashInitTest, TheDoneEventIsPlain)
{
    const ImportPatch patch(nullptr, "CreateEventW", &RecordEvent);
    Init();
    EXPECT_EQ(g_security.nLength, 24U);
    EXPECT_EQ(g_security.lpSecurityDescriptor, nullptr);
    EXPECT_FALSE(g_security.bInheritHandle);
    EXPECT_TRUE(g_isManual);
    EXPECT_FALSE(g_isSignalled);
    EXPECT_TRUE(s_hCrashDoneEvent);
}

TEST_F(CrashInitTest, WithoutTheParentOfTheFolderThereIsNoHandler)
{
    std::filesystem::remove_all(folder.Path(L"Norvane Soft"));
    const LPTOP_LEVEL_EXCEPTION_FILTER before = CurrentFilter();
    Init(L"an event");
    EXPECT_THAT(log.Texts(), ElementsAre(L"[INFO],[], ==> InitCrashHandler", ArmingLine(),
                                         L": [ERROR] Create Directory failed...Error:3",
                                         L"[INFO],[], <== InitCrashHandler"));
    EXPECT_EQ(CurrentFilter(), before);
    EXPECT_EQ(s_pfnCrashHandler, nullptr);
    EXPECT_FALSE(s_hCrashDoneEvent);
    EXPECT_FALSE(s_bDbghelpLoaded || s_bPsapiLoaded);
}

TEST_F(CrashInitTest, WithoutAHandlerNothingIsSwept)
{
    g_commonFolder = folder.Path();
    PutFile(L"empty.dmp", 0, "");
    std::filesystem::rename(folder.Path(L"Norvane Soft"), folder.Path(L"Elsewhere"));
    Init();
    EXPECT_TRUE(std::filesystem::exists(folder.Path(L"Elsewhere\\Melvio\\dump\\empty.dmp")));
}

TEST_F(CrashInitTest, AFolderThatExistsIsSwept)
{
    for (int i = 0; i < 5; ++i)
    {
        PutFile(std::to_wstring(i), i * 10);
    }
    Init();
    EXPECT_THAT(Files(), ElementsAre(L"0", L"1", L"2"));
    EXPECT_EQ(CurrentFilter(), &TopLevelFilter);
}

TEST_F(CrashInitTest, WithoutItsLibrariesThereIsAHandlerAllTheSame)
{
    PutFile(L"empty.dmp", 0, "");
    {
        const ImportPatch resolve(nullptr, "GetProcAddress", &FindNoFunction);
        Init();
    }
    EXPECT_FALSE(s_bDbghelpLoaded || s_bPsapiLoaded);
    EXPECT_EQ(CurrentFilter(), &TopLevelFilter);
    EXPECT_THAT(Files(), IsEmpty()) << "the folder is swept";
}

TEST_F(CrashInitTest, AFileInThePlaceOfTheFolderCountsAsTheFolder)
{
    folder.Write(L"Norvane Soft\\Melvio\\dump", "a file");
    Init();
    EXPECT_EQ(CurrentFilter(), &TopLevelFilter);
}

TEST_F(CrashInitTest, TheFolderIsThatOfAllUsers)
{
    g_commonFolder = folder.Path();
    const ImportPatch patch(nullptr, "SHGetFolderPathW", &CommonFolder);
    InitCrashHandler(0, L"an event", L"");
    EXPECT_EQ(g_folderId, 0x8023);
    EXPECT_EQ(s_dumpFolder, DumpFolder());
}

TEST_F(CrashInitTest, TheirProfileStandsInForIt)
{
    g_commonFolder = folder.Path();
    g_folderResult = E_FAIL;
    const ImportPatch patch(nullptr, "SHGetFolderPathW", &CommonFolder);
    __imp_GetAllUsersProfileDirectoryW = &ProfileFolder;
    InitCrashHandler(0, L"an event", L"");
    EXPECT_EQ(s_dumpFolder, DumpFolder());
    EXPECT_EQ(CurrentFilter(), &TopLevelFilter);
}

TEST_F(CrashInitTest, WithoutEitherThereIsNoHandler)
{
    g_folderResult = E_FAIL;
    g_hasProfile = false;
    const ImportPatch patch(nullptr, "SHGetFolderPathW", &CommonFolder);
    __imp_GetAllUsersProfileDirectoryW = &ProfileFolder;
    InitCrashHandler(0, L"an event", L"");
    EXPECT_THAT(log.Texts(), ElementsAre(L"[INFO],[], ==> InitCrashHandler",
                                         L": [ERROR] Get CSIDL_COMMON_APPDATA path failed with error 1314",
                                         L"[INFO],[], <== InitCrashHandler"));
    EXPECT_EQ(s_pfnCrashHandler, nullptr);
}

TEST_F(CrashInitTest, AFilterThatIsNoCodeIsRefused)
{
    const LPTOP_LEVEL_EXCEPTION_FILTER before = CurrentFilter();
    const ImportPatch patch(nullptr, "IsBadCodePtr", &NeverCode);
    Init();
    EXPECT_EQ(CurrentFilter(), before);
    EXPECT_EQ(s_pfnCrashHandler, nullptr);
    EXPECT_EQ(s_pfnPreviousFilter, nullptr);
}

TEST_F(CrashInitTest, TheFilterIsInstalledOnce)
{
    Init();
    const CrashFilterFunction previous = s_pfnPreviousFilter;
    Init();
    EXPECT_EQ(s_pfnPreviousFilter, previous);
}

TEST_F(CrashInitTest, UninitReleasesTheTablesAndKeepsTheRest)
{
    Init();
    log.Clear();
    UninitCrashHandler();
    EXPECT_THAT(log.Texts(),
                ElementsAre(L"[INFO],[], ==> UninitCrashHandler", L"[INFO],[], <== UninitCrashHandler"));
    EXPECT_FALSE(s_bDbghelpLoaded || s_bPsapiLoaded);
    EXPECT_EQ(CurrentFilter(), &TopLevelFilter);
    EXPECT_TRUE(s_hCrashDoneEvent);
}

TEST_F(CrashInitTest, UninitWithoutInitDoesNothing)
{
    UninitCrashHandler();
    EXPECT_THAT(log.Texts(), SizeIs(2));
}

TEST_F(CrashInitTest, LeavesNothingBehind)
{
    EXPECT_EQ(TestSupport::GrowthOf(
                  [this]
                  {
                      Init();
                      UninitCrashHandler();
                  }),
              "");
}

TEST_F(CrashInitTest, AnInvalidParameterIsLoggedAndTheProgramGoesOn)
{
    Init();
    log.Clear();
    _set_errno(22);
    _doserrno = 87;
    InvalidParameterHandler(nullptr, nullptr, nullptr, 0, 0);
    EXPECT_THAT(
        log.Texts(),
        ElementsAre(L": [ERROR] Pass invalid parameters for security-enhanced versions of CRT Functions "
                    L"occurred. doserrno = 87, errno = 22, errno_str = " +
                    std::wstring(_wcserror(22))));
    EXPECT_EQ(s_crashThreadId, 0U);
}

TEST_F(CrashInitTest, TheInvalidParameterHandlerIsInstalled)
{
    Init();
    EXPECT_EQ(_set_invalid_parameter_handler(nullptr), &InvalidParameterHandler);
}
