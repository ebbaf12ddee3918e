#include <gmock/gmock.h>

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "ImportPatch.h"
#include "InputInfoHelper.h"
#include "LogCapture.h"
#include "MailHelper.h"
#include "OuterClientHelper.h"
#include "VzComn_LogFront.h"
#include "WaitUntil.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The client of this test program, linked in place of the true one.
CVzRpcClientHelper* g_pClient = nullptr;

namespace
{
struct SentMail
{
    std::uint32_t plugin;
    std::uint32_t mail;
    std::wstring request;

    bool operator==(const SentMail&) const = default;
};

std::vector<SentMail> g_mails;
AgentStatus g_answer = Status::Success;
HWND g_foreground = nullptr;
DWORD g_processId = 0;
DWORD g_lastInput = 0;

HWND WINAPI FakeGetForegroundWindow()
{
    return g_foreground;
}

DWORD WINAPI FakeGetWindowThreadProcessId(HWND window, LPDWORD processId)
{
    EXPECT_EQ(window, g_foreground);
    *processId = g_processId;
    return 1;
}

BOOL WINAPI FakeGetLastInputInfo(PLASTINPUTINFO info)
{
    EXPECT_EQ(info->cbSize, 8U);
    info->dwTime = g_lastInput;
    return TRUE;
}

BOOL WINAPI FailGetLastInputInfo(PLASTINPUTINFO /*info*/)
{
    SetLastError(0x10005);
    return FALSE;
}

HWND WindowNumber(std::uintptr_t number)
{
    return reinterpret_cast<HWND>(number);
}

SentMail ActiveWindowMail(const std::wstring& processId)
{
    return {0x4E0003, 0x10031, L"{\"processId\":" + processId + L"}\n"};
}

SentMail InputMail(const std::wstring& ticket)
{
    return {0x4E0003, 0x10060, L"{\"lastInputTicket\":" + ticket + L"}\n"};
}
} // namespace

CVzRpcClientHelper::CVzRpcClientHelper(std::uint32_t /*uReserved*/, const std::wstring& /*product*/) {}

CVzRpcClientHelper::~CVzRpcClientHelper() = default;

AgentStatus CVzRpcClientHelper::SendMail2ProductPlugin(std::uint32_t pluginId, std::uint32_t mailId,
                                                       const QxCommon::JsonDb& request,
                                                       QxCommon::JsonDb& reply)
{
    EXPECT_TRUE(reply.IsNull());
    reply.ParseFromString(L"{\"any\":1}"); // is dropped
    g_mails.push_back({pluginId, mailId, request.ToFastString()});
    return g_answer;
}

namespace
{
class ReporterTest : public ::testing::Test
{
protected:
    ReporterTest()
    {
        g_pClient = &client;
        g_mails.clear();
        g_answer = Status::Success;
    }

    ~ReporterTest() override { g_pClient = nullptr; }

    CVzRpcClientHelper client{0, L""};
    TestSupport::LogCapture log;
};

class ActiveWindowTest : public ReporterTest
{
protected:
    // One tick with that window in the foreground.
    AgentStatus Tick(std::uintptr_t window, DWORD processId)
    {
        g_foreground = WindowNumber(window);
        g_processId = processId;
        return SendActiveWindow(state);
    }

    ActiveWindowState state;
    TestSupport::ImportPatch foreground{nullptr, "GetForegroundWindow", &FakeGetForegroundWindow};
    TestSupport::ImportPatch process{nullptr, "GetWindowThreadProcessId", &FakeGetWindowThreadProcessId};
};

TEST_F(ActiveWindowTest, ReportsTheProcessOfTheForegroundWindow)
{
    EXPECT_EQ(Tick(0x100, 4294967295U), Status::Success);
    EXPECT_THAT(g_mails, ElementsAre(ActiveWindowMail(L"4294967295")));
    EXPECT_EQ(state.window, WindowNumber(0x100));
    EXPECT_EQ(state.processId, 4294967295U);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(ActiveWindowTest, ReportsTheSameWindowOnce)
{
    Tick(0x100, 32);
    EXPECT_EQ(Tick(0x100, 32), Status::Success);
    EXPECT_EQ(g_mails.size(), 1U);
}

TEST_F(ActiveWindowTest, ReportsAChangeOfWindowOrProcessAlone)
{
    Tick(0x100, 32);
    Tick(0x104, 32);
    Tick(0x104, 36);
    Tick(0x100, 32);
    EXPECT_THAT(g_mails, ElementsAre(ActiveWindowMail(L"32"), ActiveWindowMail(L"32"),
                                     ActiveWindowMail(L"36"), ActiveWindowMail(L"32")));
}

TEST_F(ActiveWindowTest, ReportsNothingAndForgetsNothingWithoutAForegroundWindow)
{
    EXPECT_EQ(Tick(0, 0), Status::FromBits(0xE0150001U));
    Tick(0x100, 32);
    EXPECT_EQ(Tick(0, 0), Status::FromBits(0xE0150001U));
    EXPECT_EQ(state.window, WindowNumber(0x100));
    EXPECT_EQ(state.processId, 32U);
    EXPECT_EQ(Tick(0x100, 32), Status::Success);
    EXPECT_EQ(g_mails.size(), 1U);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(ActiveWindowTest, DoesNotRepeatAFailedMailForTheSameWindow)
{
    g_answer = Status::UnknownClient;
    EXPECT_EQ(Tick(0x100, 32), Status::UnknownClient);
    EXPECT_EQ(Tick(0x100, 32), Status::Success);
    EXPECT_EQ(g_mails.size(), 1U);
    EXPECT_EQ(Tick(0x104, 32), Status::UnknownClient);
    EXPECT_EQ(Tick(0x100, 32), Status::UnknownClient);
    EXPECT_EQ(g_mails.size(), 3U);
}

TEST_F(ActiveWindowTest, RemembersTheWindowEvenWithoutAClient)
{
    g_pClient = nullptr;
    EXPECT_EQ(Tick(0x100, 32), Status::FromBits(0xE0FF001AU));
    EXPECT_THAT(log.Texts(), IsEmpty());
    g_pClient = &client;
    EXPECT_EQ(Tick(0x100, 32), Status::Success);
    EXPECT_THAT(g_mails, IsEmpty());
}

TEST_F(ReporterTest, ReportsAWindowOfThisProcess)
{
    const HWND window = CreateWindowExW(0, L"STATIC", L"", WS_POPUP | WS_VISIBLE, 0, 0, 50, 50, nullptr,
                                        nullptr, nullptr, nullptr);
    ActiveWindowState state;
    // Another program of the desktop may step in front at any time.
    EXPECT_TRUE(TestSupport::PumpMessagesUntil(
        [&]
        {
            SetForegroundWindow(window);
            g_mails.clear();
            state = {};
            SendActiveWindow(state);
            return state.window == window;
        }));
    EXPECT_THAT(g_mails, ElementsAre(ActiveWindowMail(std::to_wstring(GetCurrentProcessId()))));
    DestroyWindow(window);
}

TEST_F(ReporterTest, StartsWithNothingReported)
{
    EXPECT_EQ(g_activeWindowState.window, nullptr);
    EXPECT_EQ(g_activeWindowState.processId, 0U);
}

TEST_F(ReporterTest, ReportsTheLastInputOnEveryTick)
{
    const TestSupport::ImportPatch input(nullptr, "GetLastInputInfo", &FakeGetLastInputInfo);
    g_lastInput = 4294967295U;
    EXPECT_EQ(SendInputInfo(), Status::Success);
    EXPECT_EQ(SendInputInfo(), Status::Success);
    EXPECT_THAT(g_mails, ElementsAre(InputMail(L"4294967295"), InputMail(L"4294967295")));
    g_answer = Status::Failure;
    EXPECT_EQ(SendInputInfo(), Status::Failure);
    EXPECT_EQ(g_mails.size(), 3U);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(ReporterTest, ReportsTheSystemsOwnTickOfTheLastInput)
{
    LASTINPUTINFO before{sizeof(before), 0};
    LASTINPUTINFO after{sizeof(after), 0};
    ASSERT_TRUE(TestSupport::WaitUntil(
        [&]
        {
            g_mails.clear();
            GetLastInputInfo(&before);
            SendInputInfo();
            GetLastInputInfo(&after);
            return before.dwTime == after.dwTime; // no input in between
        }));
    EXPECT_THAT(g_mails, ElementsAre(InputMail(std::to_wstring(before.dwTime))));
}

TEST_F(ReporterTest, SaysNothingOfAnInputWithoutAClient)
{
    g_pClient = nullptr;
    EXPECT_EQ(SendInputInfo(), Status::FromBits(0xE0FF001AU));
    EXPECT_THAT(g_mails, IsEmpty());
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(ReporterTest, TellsWhyTheLastInputCannotBeHad)
{
    const TestSupport::ImportPatch input(nullptr, "GetLastInputInfo", &FailGetLastInputInfo);
    EXPECT_EQ(SendInputInfo(), Status::FromBits(0xE0FE0005U));
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] Failed to call GetLastInputInfo, error code is 65541"));
    EXPECT_THAT(g_mails, IsEmpty());
}
} // namespace
