// The start of the installed service, at a service manager that is played.
#include "ServiceSetup.h"

#include "ImportPatch.h"

#include <winsvc.h>

#include <gtest/gtest.h>

#include <deque>
#include <utility>

namespace
{
using SvcHost::ExitCode;
using TestSupport::ImportPatch;

std::deque<DWORD> g_answers; // to the attempts to start it; the last one stays
int g_attempts = 0;

SC_HANDLE WINAPI OpenManager(LPCWSTR /*machine*/, LPCWSTR /*database*/, DWORD /*access*/)
{
    return reinterpret_cast<SC_HANDLE>(1);
}

SC_HANDLE WINAPI OpenTheService(SC_HANDLE /*manager*/, LPCWSTR /*name*/, DWORD /*access*/)
{
    return reinterpret_cast<SC_HANDLE>(2);
}

BOOL WINAPI StartTheService(SC_HANDLE /*service*/, DWORD /*count*/, LPCWSTR* /*arguments*/)
{
    ++g_attempts;
    SetLastError(g_answers.front());
    const BOOL started = g_answers.front() == 0;
    if (g_answers.size() > 1)
    {
        g_answers.pop_front();
    }
    return started;
}

BOOL WINAPI TellThatItRuns(SC_HANDLE /*service*/, SERVICE_STATUS* status)
{
    *status = {};
    status->dwCurrentState = SERVICE_RUNNING;
    return TRUE;
}

BOOL WINAPI CloseIt(SC_HANDLE /*handle*/)
{
    return TRUE;
}

class ServiceSetupTest : public testing::Test
{
protected:
    static ExitCode StartWith(std::deque<DWORD> answers)
    {
        g_answers = std::move(answers);
        g_attempts = 0;
        return SvcHost::StartInstalledService();
    }

private:
    ImportPatch m_manager{nullptr, "OpenSCManagerW", &OpenManager};
    ImportPatch m_service{nullptr, "OpenServiceW", &OpenTheService};
    ImportPatch m_start{nullptr, "StartServiceW", &StartTheService};
    ImportPatch m_status{nullptr, "QueryServiceStatus", &TellThatItRuns};
    ImportPatch m_close{nullptr, "CloseServiceHandle", &CloseIt};
};
} // namespace

TEST_F(ServiceSetupTest, StartsTheService)
{
    EXPECT_EQ(StartWith({0}), ExitCode::Success);
    EXPECT_EQ(g_attempts, 1);
}

TEST_F(ServiceSetupTest, WaitsForAManagerThatIsBusyWithAnotherStart)
{
    const std::deque<DWORD> busyTwice = {ERROR_SERVICE_DATABASE_LOCKED, ERROR_SERVICE_DATABASE_LOCKED, 0};
    EXPECT_EQ(StartWith(busyTwice), ExitCode::Success);
    EXPECT_EQ(g_attempts, 3);
}

TEST_F(ServiceSetupTest, TellsOfEveryOtherRefusalAtOnce)
{
    EXPECT_EQ(StartWith({ERROR_SERVICE_ALREADY_RUNNING}), ExitCode::RunningAlready);
    EXPECT_EQ(StartWith({ERROR_ACCESS_DENIED}), ExitCode::NeedsAdministrator);
    EXPECT_EQ(StartWith({ERROR_SERVICE_DATABASE_LOCKED, ERROR_SERVICE_DOES_NOT_EXIST}),
              ExitCode::NotInstalled);
    EXPECT_EQ(g_attempts, 2);
}
