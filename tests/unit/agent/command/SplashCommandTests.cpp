#include "CommandTest.h"

#include <windows.h>

#include "ImportPatch.h"
#include "ObjectCounts.h"
#include "VzComn_Handle.h"

using ::testing::ElementsAre;

namespace
{
constexpr wchar_t splashCommand[] = L"{\"JD_COMMAND_ID\":1010}";
constexpr wchar_t eventName[] = L"Global\\GLOBAL_EVENT_SPLASH_NOTIFYMelvio";
constexpr wchar_t received[] = L": [INFO] RRPC_ID_CLOUD_BROKER_MANUAL_SYNC_COMPLETE";

DWORD g_error = 0;

BOOL WINAPI FailSetEvent(HANDLE /*event*/)
{
    SetLastError(g_error);
    return FALSE;
}

HANDLE WINAPI FailCreateEventW(LPSECURITY_ATTRIBUTES /*rights*/, BOOL /*manual*/, BOOL /*initial*/,
                               LPCWSTR /*name*/)
{
    SetLastError(g_error);
    return nullptr;
}

class SplashCommandTest : public CommandTest
{
protected:
    FakeProduct product{L"QxSessionAgent_M.exe"};
};

TEST_F(SplashCommandTest, SignalsTheEventThatTheSplashWaitsFor)
{
    const VzCommon::KernelHandle event(CreateEventW(nullptr, TRUE, FALSE, eventName));
    ASSERT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_TIMEOUT);
    EXPECT_EQ(ReplyTo(splashCommand), PlainReply(1010, Status::Success));
    EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_OBJECT_0); // stays signalled
    EXPECT_THAT(log.Texts(), ElementsAre(received));
}

TEST_F(SplashCommandTest, LeavesNothingBehindWhenNobodyWaits)
{
    EXPECT_EQ(ReplyTo(splashCommand), PlainReply(1010, Status::Success));
    const VzCommon::KernelHandle event(OpenEventW(SYNCHRONIZE, FALSE, eventName));
    EXPECT_FALSE(event);
    EXPECT_EQ(TestSupport::GrowthOf([] { ReplyTo(splashCommand); }), "");
}

TEST_F(SplashCommandTest, ReportsAnEventThatCannotBeMade)
{
    const TestSupport::ImportPatch create(nullptr, "CreateEventW", &FailCreateEventW);
    g_error = ERROR_ACCESS_DENIED;
    EXPECT_EQ(ReplyTo(splashCommand), PlainReply(1010, Status::FromBits(0xE0FE0005U)));
    EXPECT_THAT(log.Texts(), ElementsAre(received, L": [ERROR] CreateMultipleGlobal failed with 5"));
}

TEST_F(SplashCommandTest, ReportsAnObjectOfAnotherKindUnderTheName)
{
    const VzCommon::KernelHandle mutex(CreateMutexW(nullptr, FALSE, eventName));
    EXPECT_EQ(ReplyTo(splashCommand), PlainReply(1010, Status::FromBits(0xE0FE0006U)));
    EXPECT_THAT(log.Texts(), ElementsAre(received, L": [ERROR] CreateMultipleGlobal failed with 6"));
}

TEST_F(SplashCommandTest, ReportsAnEventThatCannotBeSignalled)
{
    const TestSupport::ImportPatch set(nullptr, "SetEvent", &FailSetEvent);
    g_error = 0x12345;
    EXPECT_EQ(ReplyTo(splashCommand), PlainReply(1010, Status::FromBits(0xE0FE2345U)));
    EXPECT_THAT(log.Texts(), ElementsAre(received, L": [ERROR] Set signal event failed with 74565"));
}
} // namespace
