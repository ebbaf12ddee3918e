// The reporters' mails as they reach the library.
#include <algorithm>

#include "ImportPatch.h"
#include "InputInfoHelper.h"
#include "LinkTest.h"
#include "MailHelper.h"

namespace
{
DWORD g_owner = 0;

HWND WINAPI FakeForeground()
{
    return reinterpret_cast<HWND>(std::uintptr_t{0x1234});
}

DWORD WINAPI FakeOwner(HWND /*window*/, LPDWORD processId)
{
    *processId = g_owner;
    return 1;
}

BOOL WINAPI FakeLastInput(PLASTINPUTINFO info)
{
    info->dwTime = 4000000001;
    return TRUE;
}

bool IsSent(const std::string& mail)
{
    const std::vector<SentCommand> sent = TheLink().Commands(0x2051);
    return std::any_of(sent.begin(), sent.end(),
                       [&mail](const SentCommand& command) { return command.message == mail; });
}

class ReporterMailTest : public LinkTest
{
protected:
    ReporterMailTest() { g_pClient = helper.get(); }

    ~ReporterMailTest() override { g_pClient = nullptr; }

    std::unique_ptr<CVzRpcClientHelper> helper = MakeHelper();
    const TestSupport::ImportPatch foreground{nullptr, "GetForegroundWindow", &FakeForeground};
    const TestSupport::ImportPatch owner{nullptr, "GetWindowThreadProcessId", &FakeOwner};
    const TestSupport::ImportPatch lastInput{nullptr, "GetLastInputInfo", &FakeLastInput};
};
} // namespace

TEST_F(ReporterMailTest, TheActiveWindowsProcessIsReported)
{
    g_owner = 4000000000;
    ActiveWindowState state;
    EXPECT_EQ(SendActiveWindow(state), Status::Success);
    EXPECT_EQ(TheLink().Only(0x2051).message,
              MailMessage(L"{\"processId\":4000000000}\n", GetCurrentThreadId(), 0x4E0003, 0x10031));
    EXPECT_EQ(TheLink().Only(0x2051).record, CommandRecord(0x2051, 1));
}

TEST_F(ReporterMailTest, TheLastInputIsReported)
{
    EXPECT_EQ(SendInputInfo(), Status::Success);
    EXPECT_EQ(TheLink().Only(0x2051).message,
              MailMessage(L"{\"lastInputTicket\":4000000001}\n", GetCurrentThreadId(), 0x4E0003, 0x10060));
}

TEST_F(ReporterMailTest, WithoutMemoryAReportFailsAndNothingIsThrown)
{
    g_owner = 5;
    bool hasFailed = true;
    for (long long successes = 0; hasFailed; ++successes)
    {
        ActiveWindowState state;
        TheLink().ForgetCalls();
        AgentStatus window = Status::Success;
        AgentStatus input = Status::Success;
        {
            const OneFailure failure(successes);
            EXPECT_NO_THROW(window = SendActiveWindow(state));
            EXPECT_NO_THROW(input = SendInputInfo());
            hasFailed = failure.HasFailed();
        }
        EXPECT_EQ(state.processId, 5U);
        const auto windowMail = MailMessage(L"{\"processId\":5}\n", GetCurrentThreadId(), 0x4E0003, 0x10031);
        const auto inputMail =
            MailMessage(L"{\"lastInputTicket\":4000000001}\n", GetCurrentThreadId(), 0x4E0003, 0x10060);
        EXPECT_TRUE(Status::Failed(window) || IsSent(windowMail)) << successes;
        EXPECT_TRUE(Status::Failed(input) || IsSent(inputMail)) << successes;
        for (const SentCommand& sent : TheLink().Commands(0x2051))
        {
            EXPECT_TRUE(sent.message == windowMail || sent.message == inputMail) << successes;
        }
    }
}
