// The system version is asked for once in the life of a process: each case needs a process of its own, which
// CTest gives it.
#include "VzComn_TerminalService.h"

#include "FakeExports.h"
#include "FakeOsVersion.h"
#include "ObjectCounts.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace
{

namespace TerminalService = VzCommon::TerminalService;
using TestSupport::FakeExports;
using TestSupport::FakeOsVersion;
using TestSupport::ImportPatch;

constexpr FakeOsVersion::System windowsXp{VER_PLATFORM_WIN32_NT, 5, 1, 3, 1};

DWORD g_session = 0;

BOOL WINAPI FakeSession(DWORD /*processId*/, DWORD* sessionId)
{
    *sessionId = g_session;
    return TRUE;
}

BOOL WINAPI NoSuchProcess(DWORD /*processId*/, DWORD* sessionId)
{
    *sessionId = 0;
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
}

// What the old-system branch asked for.
struct Asked
{
    int sidType;
    DWORD sidSize;
    HANDLE token;
} g_asked;

BOOL g_member = FALSE;
BOOL g_memberResult = TRUE;

BOOL WINAPI FakeSid(WELL_KNOWN_SID_TYPE type, PSID /*domain*/, PSID /*sid*/, DWORD* size)
{
    g_asked.sidType = type;
    g_asked.sidSize = *size;
    return TRUE;
}

BOOL WINAPI RefuseSid(WELL_KNOWN_SID_TYPE /*type*/, PSID /*domain*/, PSID /*sid*/, DWORD* /*size*/)
{
    return FALSE;
}

BOOL WINAPI FakeMembership(HANDLE token, PSID /*sid*/, BOOL* member)
{
    g_asked.token = token;
    *member = g_member;
    return g_memberResult;
}

HMODULE WINAPI RefuseToLoad(const wchar_t* /*name*/)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

HLOCAL WINAPI RefuseMemory(UINT /*flags*/, SIZE_T /*size*/)
{
    return nullptr;
}

class TerminalServiceTest : public testing::Test
{
protected:
    std::uint32_t sessionId = 4711;
    std::uint32_t error = 4711;
    bool isService = true;
};

} // namespace

TEST_F(TerminalServiceTest, GivesTheSessionOfAProcess)
{
    DWORD expected = 0;
    ASSERT_TRUE(ProcessIdToSessionId(GetCurrentProcessId(), &expected));
    EXPECT_TRUE(TerminalService::GetSessionId(sessionId, GetCurrentProcessId(), &error));
    EXPECT_EQ(sessionId, expected);
    EXPECT_EQ(error, 0U);
    EXPECT_TRUE(TerminalService::GetSessionId(sessionId, GetCurrentProcessId(), nullptr));
}

TEST_F(TerminalServiceTest, KnowsNoSessionOfAnUnknownProcess)
{
    EXPECT_FALSE(TerminalService::GetSessionId(sessionId, 0xFFFFFFF0U, &error));
    EXPECT_EQ(sessionId, 0xFFFFFFFFU);
    EXPECT_EQ(error, 87U);
}

TEST_F(TerminalServiceTest, IgnoresWhatAFailedCallLeft)
{
    FakeExports exports;
    exports.Set("ProcessIdToSessionId", &NoSuchProcess);
    EXPECT_FALSE(TerminalService::GetSessionId(sessionId, GetCurrentProcessId(), &error));
    EXPECT_EQ(sessionId, 0xFFFFFFFFU);
}

TEST_F(TerminalServiceTest, ReportsAMissingFunction)
{
    FakeExports exports;
    exports.Remove("ProcessIdToSessionId");
    EXPECT_FALSE(TerminalService::GetSessionId(sessionId, GetCurrentProcessId(), &error));
    EXPECT_EQ(sessionId, 0xFFFFFFFFU);
    EXPECT_EQ(error, 127U);
}

TEST_F(TerminalServiceTest, ReportsALibraryThatCannotBeLoaded)
{
    const ImportPatch patch(nullptr, "LoadLibraryW", &RefuseToLoad);
    EXPECT_FALSE(TerminalService::GetSessionId(sessionId, GetCurrentProcessId(), &error));
    EXPECT_EQ(error, 8U);
}

TEST_F(TerminalServiceTest, GivesTheOwnSession)
{
    DWORD expected = 0;
    ASSERT_TRUE(ProcessIdToSessionId(GetCurrentProcessId(), &expected));
    EXPECT_TRUE(TerminalService::GetCurrentSessionId(sessionId));
    EXPECT_EQ(sessionId, expected);
}

TEST_F(TerminalServiceTest, GivesNoOwnSessionWhenTheVersionIsUnknown)
{
    const FakeOsVersion version(DWORD{122});
    EXPECT_FALSE(TerminalService::GetCurrentSessionId(sessionId));
    EXPECT_EQ(sessionId, 0xFFFFFFFFU);
}

TEST_F(TerminalServiceTest, GivesNoOwnSessionBeforeWindows2000)
{
    const FakeOsVersion version(FakeOsVersion::System{VER_PLATFORM_WIN32_NT, 4, 0, 0, 1});
    EXPECT_FALSE(TerminalService::GetCurrentSessionId(sessionId));
}

TEST_F(TerminalServiceTest, SessionZeroIsTheServicesOnVista)
{
    FakeExports exports;
    exports.Set("ProcessIdToSessionId", &FakeSession);
    g_session = 0;
    EXPECT_TRUE(TerminalService::IsServiceSession(isService));
    EXPECT_TRUE(isService);
    g_session = 1;
    EXPECT_TRUE(TerminalService::IsServiceSession(isService));
    EXPECT_FALSE(isService);
}

TEST_F(TerminalServiceTest, AnUnknownSessionIsAFailure)
{
    FakeExports exports;
    exports.Set("ProcessIdToSessionId", &NoSuchProcess);
    EXPECT_FALSE(TerminalService::IsServiceSession(isService));
    EXPECT_FALSE(isService);
}

TEST_F(TerminalServiceTest, AnUnknownVersionIsAFailure)
{
    const FakeOsVersion version(DWORD{122});
    EXPECT_FALSE(TerminalService::IsServiceSession(isService));
    EXPECT_FALSE(isService);
}

TEST_F(TerminalServiceTest, ThereAreNoServiceSessionsBeforeWindows2000)
{
    const FakeOsVersion version(FakeOsVersion::System{VER_PLATFORM_WIN32_NT, 4, 0, 0, 1});
    EXPECT_FALSE(TerminalService::IsServiceSession(isService));
    EXPECT_FALSE(isService);
}

TEST_F(TerminalServiceTest, TheAccountDecidesBeforeVista)
{
    const FakeOsVersion version(windowsXp);
    FakeExports exports;
    exports.Set("CreateWellKnownSid", &FakeSid);
    exports.Set("CheckTokenMembership", &FakeMembership);
    g_member = TRUE;
    EXPECT_TRUE(TerminalService::IsServiceSession(isService));
    EXPECT_TRUE(isService);
    EXPECT_EQ(g_asked.sidType, 22);
    EXPECT_EQ(g_asked.sidSize, 68U);
    EXPECT_EQ(g_asked.token, nullptr);

    g_member = FALSE;
    EXPECT_TRUE(TerminalService::IsServiceSession(isService));
    EXPECT_FALSE(isService);
}

TEST_F(TerminalServiceTest, AsksTheRealAccountBeforeVista)
{
    const FakeOsVersion version(windowsXp);
    EXPECT_TRUE(TerminalService::IsServiceSession(isService));
    EXPECT_FALSE(isService);
}

TEST_F(TerminalServiceTest, EveryFailedStepBeforeVistaIsAFailure)
{
    const FakeOsVersion version(windowsXp);
    FakeExports exports;
    exports.Set("CreateWellKnownSid", &FakeSid);
    exports.Set("CheckTokenMembership", &FakeMembership);
    g_member = TRUE;
    g_memberResult = FALSE;
    EXPECT_FALSE(TerminalService::IsServiceSession(isService));
    EXPECT_FALSE(isService);
    exports.Set("CreateWellKnownSid", &RefuseSid);
    EXPECT_FALSE(TerminalService::IsServiceSession(isService));
    exports.Remove("CreateWellKnownSid");
    EXPECT_FALSE(TerminalService::IsServiceSession(isService));
    exports.Set("CreateWellKnownSid", &FakeSid);
    exports.Remove("CheckTokenMembership");
    EXPECT_FALSE(TerminalService::IsServiceSession(isService));
    EXPECT_FALSE(isService);
}

TEST_F(TerminalServiceTest, MissingMemoryOrLibraryBeforeVistaIsAFailure)
{
    const FakeOsVersion version(windowsXp);
    {
        const ImportPatch patch(nullptr, "LocalAlloc", &RefuseMemory);
        EXPECT_FALSE(TerminalService::IsServiceSession(isService));
    }
    const ImportPatch patch(nullptr, "LoadLibraryW", &RefuseToLoad);
    EXPECT_FALSE(TerminalService::IsServiceSession(isService));
    EXPECT_FALSE(isService);
}

TEST_F(TerminalServiceTest, LeavesNothingBehind)
{
    const FakeOsVersion version(windowsXp);
    EXPECT_EQ(TestSupport::GrowthOf(
                  [this]
                  {
                      EXPECT_TRUE(TerminalService::IsServiceSession(isService));
                      EXPECT_TRUE(TerminalService::GetSessionId(sessionId, GetCurrentProcessId(), nullptr));
                  }),
              "");
}
