#include "CommandTest.h"

#include <afxwin.h>

#include <thread>

#include "CallbackHelper.h"
#include "ImportPatch.h"
#include "WaitUntil.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
struct Timer
{
    HWND window;
    UINT_PTR id;
    UINT milliseconds;
    bool hasProcedure;

    bool operator==(const Timer&) const = default;
};

std::vector<Timer> g_timers;
UINT_PTR g_timerAnswer = 1;

UINT_PTR WINAPI NoteSetTimer(HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC procedure)
{
    g_timers.push_back({window, id, milliseconds, procedure != nullptr});
    return g_timerAnswer;
}

class TimedWindow : public CWnd
{
public:
    TimedWindow() { CreateEx(0, AfxRegisterWndClass(0), L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr); }

    UINT_PTR lastTimer = 0;
    DWORD timerThread = 0;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        if (message == WM_TIMER)
        {
            lastTimer = wParam;
            timerThread = GetCurrentThreadId();
        }
        return CWnd::WindowProc(message, wParam, lParam);
    }
};

class TimerCommandTest : public CommandTest
{
protected:
    TimerCommandTest()
    {
        app.m_pMainWnd = &window;
        g_timers.clear();
        g_timerAnswer = 1;
    }

    ~TimerCommandTest() override { app.m_pMainWnd = nullptr; }

    CWinApp app;
    TimedWindow window;
};

class ArmedTimerTest : public TimerCommandTest
{
protected:
    TestSupport::ImportPatch setTimer{nullptr, "SetTimer", &NoteSetTimer};
};

TEST_F(ArmedTimerTest, ArmsTheReporterOfTheForegroundWindow)
{
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":1011,\"interval\":60}"),
              L"{\"JD_COMMAND_ID\":1011,\"interval\":60,\"retCode\":553582592}");
    EXPECT_EQ(g_timers, (std::vector<Timer>{{window.m_hWnd, 3, 60000, false}}));
    EXPECT_TRUE(g_bActiveWindowTimerSet);
    EXPECT_FALSE(g_bInputInfoTimerSet);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] Set timer for Active Window Agent..."));
}

TEST_F(ArmedTimerTest, ArmsTheReporterOfTheLastInput)
{
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":1100,\"interval\":5}"),
              L"{\"JD_COMMAND_ID\":1100,\"interval\":5,\"retCode\":553582592}");
    EXPECT_EQ(g_timers, (std::vector<Timer>{{window.m_hWnd, 4, 5000, false}}));
    EXPECT_TRUE(g_bInputInfoTimerSet);
    EXPECT_FALSE(g_bActiveWindowTimerSet);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] Set timer for Input Info Agent..."));
}

TEST_F(ArmedTimerTest, KeepsTheFirstPeriodWhenArmedTwice)
{
    ReplyTo(L"{\"JD_COMMAND_ID\":1011,\"interval\":60}");
    ReplyTo(L"{\"JD_COMMAND_ID\":1100,\"interval\":61}");
    log.Clear();
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":1011,\"interval\":10}"),
              L"{\"JD_COMMAND_ID\":1011,\"interval\":10,\"retCode\":553582592}");
    // Nothing is read, so nothing is added.
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":1100}"), PlainReply(1100, Status::Success));
    EXPECT_EQ(g_timers.size(), 2U);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(ArmedTimerTest, ArmsAnewOnceTheFlagHasBeenCleared)
{
    ReplyTo(L"{\"JD_COMMAND_ID\":1100,\"interval\":5}");
    g_bInputInfoTimerSet = false;
    ReplyTo(L"{\"JD_COMMAND_ID\":1100,\"interval\":9}");
    ASSERT_EQ(g_timers.size(), 2U);
    EXPECT_EQ(g_timers[1].milliseconds, 9000U);

    ReplyTo(L"{\"JD_COMMAND_ID\":1011,\"interval\":5}");
    g_bActiveWindowTimerSet = false;
    ReplyTo(L"{\"JD_COMMAND_ID\":1011,\"interval\":8}");
    ASSERT_EQ(g_timers.size(), 4U);
    EXPECT_EQ(g_timers[3].milliseconds, 8000U);
}

TEST_F(ArmedTimerTest, ArmsAPeriodOfZeroWithoutAnInterval)
{
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":1011}"),
              L"{\"JD_COMMAND_ID\":1011,\"interval\":null,\"retCode\":553582592}");
    EXPECT_EQ(g_timers, (std::vector<Timer>{{window.m_hWnd, 3, 0, false}}));
    EXPECT_TRUE(g_bActiveWindowTimerSet);
}

TEST_F(ArmedTimerTest, WrapsTheMillisecondsAt32Bits)
{
    ReplyTo(L"{\"JD_COMMAND_ID\":1011,\"interval\":4294968}");
    ReplyTo(L"{\"JD_COMMAND_ID\":1100,\"interval\":4294967295}");
    ASSERT_EQ(g_timers.size(), 2U);
    EXPECT_EQ(g_timers[0].milliseconds, 704U);
    EXPECT_EQ(g_timers[1].milliseconds, 4294966296U);
}

TEST_F(ArmedTimerTest, CountsAsArmedWhenTheSystemGivesNoTimer)
{
    g_timerAnswer = 0;
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":1011,\"interval\":1}"),
              L"{\"JD_COMMAND_ID\":1011,\"interval\":1,\"retCode\":553582592}");
    EXPECT_TRUE(g_bActiveWindowTimerSet);
}

TEST_F(ArmedTimerTest, CountsAsArmedWithoutAMainWindow)
{
    app.m_pMainWnd = nullptr;
    ReplyTo(L"{\"JD_COMMAND_ID\":1011,\"interval\":1}");
    window.DestroyWindow();
    app.m_pMainWnd = &window;
    ReplyTo(L"{\"JD_COMMAND_ID\":1100,\"interval\":1}");
    EXPECT_EQ(g_timers, (std::vector<Timer>{{nullptr, 3, 1000, false}, {nullptr, 4, 1000, false}}));
    EXPECT_TRUE(g_bActiveWindowTimerSet);
    EXPECT_TRUE(g_bInputInfoTimerSet);
}

// The link's library brings commands on threads that the framework does not know.
TEST_F(TimerCommandTest, ReachesTheMainThreadFromAnotherOne)
{
    for (const auto& [command, timer] : {std::pair{L"{\"JD_COMMAND_ID\":1011,\"interval\":4294968}", 3U},
                                         std::pair{L"{\"JD_COMMAND_ID\":1100,\"interval\":4294968}", 4U}})
    {
        window.lastTimer = 0;
        std::thread([text = command] { ReplyTo(text); }).join();
        EXPECT_TRUE(TestSupport::PumpMessagesUntil([this] { return window.lastTimer != 0; }));
        EXPECT_EQ(window.lastTimer, timer);
        EXPECT_EQ(window.timerThread, GetCurrentThreadId());
        window.KillTimer(timer);
    }
}

TEST(TimerCommandWithoutApplicationTest, CountsAsArmed)
{
    const TestSupport::ImportPatch setTimer(nullptr, "SetTimer", &NoteSetTimer);
    g_timers.clear();
    g_bActiveWindowTimerSet = false;
    ReplyTo(L"{\"JD_COMMAND_ID\":1011,\"interval\":1}");
    EXPECT_EQ(g_timers, (std::vector<Timer>{{nullptr, 3, 1000, false}}));
    EXPECT_TRUE(g_bActiveWindowTimerSet);
}
} // namespace
