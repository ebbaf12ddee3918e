// What all service commands have in common, and the two that need little more.
#include "CommandTest.h"

#include <windows.h>

#include <utility>

#include "CallbackHelper.h"
#include "ImportPatch.h"
#include "VzComn_LogFront.h"
#include "WaitUntil.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
constexpr wchar_t hookClass[] = L"ClassicStartMenu.CStartHookWindow";

struct Closed
{
    int count = 0;
    WPARAM wParam = 1;
    LPARAM lParam = 1;
};

Closed g_closed;
int g_posted = 0;

LRESULT CALLBACK HookProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_CLOSE)
    {
        g_closed = {g_closed.count + 1, wParam, lParam};
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

BOOL WINAPI CountPost(HWND /*window*/, UINT /*message*/, WPARAM /*wParam*/, LPARAM /*lParam*/)
{
    ++g_posted;
    return TRUE;
}

class HookWindow
{
public:
    explicit HookWindow(const wchar_t* title)
    {
        WNDCLASSW description{};
        description.lpfnWndProc = &HookProcedure;
        description.hInstance = GetModuleHandleW(nullptr);
        description.lpszClassName = hookClass;
        RegisterClassW(&description);
        m_window = CreateWindowExW(0, hookClass, title, WS_POPUP, 0, 0, 1, 1, nullptr, nullptr,
                                   description.hInstance, nullptr);
        g_closed = {};
    }

    ~HookWindow()
    {
        DestroyWindow(m_window);
        UnregisterClassW(hookClass, GetModuleHandleW(nullptr));
    }

    HookWindow(const HookWindow&) = delete;
    HookWindow& operator=(const HookWindow&) = delete;

private:
    HWND m_window;
};

class CommandTableTest : public CommandTest
{
};

TEST_F(CommandTableTest, DoesNothingForANumberThatItDoesNotHold)
{
    for (const int id : {-1, 0, 1, 999, 1002, 1009, 1012, 1099, 1102, 1999, 2001, 2999, 3001, 2147483647})
    {
        EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":" + std::to_wstring(id) + L"}"),
                  PlainReply(id, Status::Success));
    }
    EXPECT_THAT(TheConsole().calls, IsEmpty());
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(CommandTableTest, TakesAMissingNumberForZeroAndShowsItAsNull)
{
    EXPECT_EQ(ReplyTo(L"{}"), L"{\"JD_COMMAND_ID\":null,\"retCode\":553582592}");
    EXPECT_EQ(ReplyTo(L"null"), L"{\"JD_COMMAND_ID\":null,\"retCode\":553582592}");
    EXPECT_EQ(ReplyTo(L"{\"modeId\":1}"), L"{\"JD_COMMAND_ID\":null,\"modeId\":1,\"retCode\":553582592}");
}

TEST_F(CommandTableTest, TakesWhatIsNoNumberForZero)
{
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":\"x\"}"), L"{\"JD_COMMAND_ID\":\"x\",\"retCode\":553582592}");
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":[1001]}"), L"{\"JD_COMMAND_ID\":[1001],\"retCode\":553582592}");
    EXPECT_THAT(TheConsole().calls, IsEmpty());
}

TEST_F(CommandTableTest, ReadsANumberOfAnyForm)
{
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":\"1001\",\"modeId\":1}"),
              L"{\"JD_COMMAND_ID\":\"1001\",\"modeId\":1,\"retCode\":553582592}");
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":1001.9,\"modeId\":2}").substr(0, 22), L"{\"JD_COMMAND_ID\":1001.");
    EXPECT_THAT(TheConsole().calls, ElementsAre(L"mode <-m 1>", L"mode <-m 2>"));
}

TEST_F(CommandTableTest, AnswersARootThatIsNoObjectUnchanged)
{
    for (const wchar_t* root : {L"[1,2]", L"[]", L"7", L"\"1001\"", L"true", L"1001"})
    {
        QxCommon::JsonDb json;
        ASSERT_EQ(json.ParseFromString(root), 0U);
        EXPECT_EQ(OnServiceCommand(json), Status::Success);
        EXPECT_EQ(json.ToFastString(), std::wstring(root) + L"\n");
    }
    EXPECT_THAT(TheConsole().calls, IsEmpty());
}

TEST_F(CommandTableTest, ReplacesAStatusThatTheCommandBringsAlong)
{
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":7,\"retCode\":{\"a\":[1]}}"), PlainReply(7, Status::Success));
}

TEST_F(CommandTableTest, KeepsEveryOtherKey)
{
    EXPECT_EQ(
        ReplyTo(L"{\"z\":[1,{\"y\":null}],\"JD_COMMAND_ID\":1001,\"modeId\":1,\"\":\"\"}"),
        L"{\"\":\"\",\"JD_COMMAND_ID\":1001,\"modeId\":1,\"retCode\":553582592,\"z\":[1,{\"y\":null}]}");
}

TEST_F(CommandTableTest, LogsTheStyledCommandAtDebugLevelOnly)
{
    ReplyTo(L"{\"JD_COMMAND_ID\":7}");
    EXPECT_THAT(log.Texts(), IsEmpty());

    const TestSupport::LogCapture debugLog(VzCommon::LogLevel::Debug);
    ReplyTo(L"{\"JD_COMMAND_ID\":7,\"a\":[]}");
    const auto messages = debugLog.Messages();
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].tag, L"???");
    EXPECT_EQ(messages[0].text,
              L": [DEBUG] callback Command: {\n   \"JD_COMMAND_ID\" : 7,\n   \"a\" : []\n}\n");
}

TEST_F(CommandTableTest, RunsWithoutALog)
{
    VzCommon::DebugLog* const previous = std::exchange(VzCommon::s_pDebugLog, nullptr);
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":7}"), PlainReply(7, Status::Success));
    VzCommon::s_pDebugLog = previous;
}

TEST_F(CommandTableTest, RefusesEngineActionsWithoutTheEngineLibrary)
{
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":2000,\"action\":4097,\"itemId\":\"a\"}"),
              L"{\"JD_COMMAND_ID\":2000,\"action\":4097,\"itemId\":\"a\",\"retCode\":-520159203}");
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":2000}"), PlainReply(2000, Status::NoEngineLibrary));
    EXPECT_THAT(log.Texts(), ElementsAre(L"[INFO],[], ==> CSpecialEngineHost::Dispatch",
                                         L"[INFO],[], <== CSpecialEngineHost::Dispatch",
                                         L"[INFO],[], ==> CSpecialEngineHost::Dispatch",
                                         L"[INFO],[], <== CSpecialEngineHost::Dispatch"));
}

TEST_F(CommandTableTest, ClosesTheHookWindowOfTheStartMenu)
{
    const HookWindow window(L"StartHookWindow");
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":3000}"), PlainReply(3000, Status::Success));
    EXPECT_TRUE(TestSupport::PumpMessagesUntil([] { return g_closed.count > 0; }));
    EXPECT_EQ(g_closed.count, 1);
    EXPECT_EQ(g_closed.wParam, 0U);
    EXPECT_EQ(g_closed.lParam, 0);
}

TEST_F(CommandTableTest, PostsNothingWithoutAHookWindow)
{
    const TestSupport::ImportPatch post(nullptr, "PostMessageW", &CountPost);
    g_posted = 0;
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":3000}"), PlainReply(3000, Status::Success));
    EXPECT_EQ(g_posted, 0);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(CommandTableTest, LeavesAWindowOfTheHooksClassAloneThatBearsAnotherTitle)
{
    const HookWindow window(L"Another");
    const TestSupport::ImportPatch post(nullptr, "PostMessageW", &CountPost);
    g_posted = 0;
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":3000}"), PlainReply(3000, Status::Success));
    EXPECT_EQ(g_posted, 0);
}
} // namespace
