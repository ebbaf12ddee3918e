#include "AgentIds.h"
#include "CallbackHelper.h"
#include "FrameEventTest.h"
#include "MailHelper.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
constexpr UINT longPeriod = 4000000; // milliseconds

class SessionEventTest : public FrameEventTest
{
protected:
    SessionEventTest() { Arm(); }

    // As the service's commands do.
    void Arm() const
    {
        frame->SetTimer(FrameTimer::ActiveWindow, longPeriod, nullptr);
        frame->SetTimer(FrameTimer::InputInfo, longPeriod, nullptr);
        g_bActiveWindowTimerSet = true;
        g_bInputInfoTimerSet = true;
    }

    // Ends both timers to see whether they ran.
    [[nodiscard]] int RunningTimers() const
    {
        return frame->KillTimer(FrameTimer::ActiveWindow) + frame->KillTimer(FrameTimer::InputInfo);
    }

    LRESULT Change(UINT state, UINT session = 1) const
    {
        return frame->SendMessage(WM_WTSSESSION_CHANGE, state, session);
    }

    // The ids of the commands that reached the service, events as the mail they are.
    static std::vector<std::uint32_t> Commands()
    {
        std::vector<std::uint32_t> ids;
        for (const SentCommand& command : TheLink().Commands())
        {
            ids.push_back(command.id);
        }
        return ids;
    }
};

std::wstring Changed(UINT state, UINT session)
{
    return L": [INFO] Session Changed... SessionState: " + std::to_wstring(state) + L", SessionId: " +
           std::to_wstring(session);
}

class LeavingTest : public SessionEventTest, public ::testing::WithParamInterface<std::pair<UINT, UINT>>
{
};

class ComingTest : public SessionEventTest, public ::testing::WithParamInterface<UINT>
{
};

class IgnoredStateTest : public SessionEventTest, public ::testing::WithParamInterface<UINT>
{
};

INSTANTIATE_TEST_SUITE_P(States, LeavingTest,
                         ::testing::Values(std::pair{2U, 17U}, std::pair{4U, 17U}, std::pair{6U, 1U},
                                           std::pair{7U, 17U}));
INSTANTIATE_TEST_SUITE_P(States, ComingTest, ::testing::Values(1U, 3U, 8U));
INSTANTIATE_TEST_SUITE_P(States, IgnoredStateTest, ::testing::Values(0U, 5U, 9U, 10U, 11U, 14U, 0xFFFFFFFFU));
} // namespace

TEST_P(LeavingTest, TellsTheServiceThenDropsTheLinkAndTheTimers)
{
    const auto [state, eventId] = GetParam();
    EXPECT_EQ(Change(state), 0);
    EXPECT_THAT(Requests(), ElementsAre(SessionRequest(eventId)));
    EXPECT_THAT(Commands(), ElementsAre(0x2051U, 0x2053U, 0U)) << "the event while the link stands";
    EXPECT_EQ(g_pClient, nullptr);
    EXPECT_EQ(TheLink().LivingManagers(), 0U);
    EXPECT_EQ(RunningTimers(), 0);
    EXPECT_FALSE(g_bActiveWindowTimerSet);
    EXPECT_FALSE(g_bInputInfoTimerSet);
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_P(LeavingTest, StopsTheTimersBetweenTheEventAndTheLinksEnd)
{
    bool setAtEvent = false;
    bool setAtEnd = true;
    TheLink().Before(0x2051, [&] { setAtEvent = g_bActiveWindowTimerSet && g_bInputInfoTimerSet; });
    TheLink().Before(0x2053, [&] { setAtEnd = g_bActiveWindowTimerSet || g_bInputInfoTimerSet; });
    Change(GetParam().first);
    EXPECT_TRUE(setAtEvent);
    EXPECT_FALSE(setAtEnd);
}

TEST_P(LeavingTest, GoesOnAfterAnEventThatIsNotTaken)
{
    const auto [state, eventId] = GetParam();
    RefuseMails();
    Change(state);
    EXPECT_THAT(Errors(), ElementsAre(L": [ERROR] Send event failed...EventId=" + std::to_wstring(eventId)));
    EXPECT_EQ(RunningTimers(), 0);
    EXPECT_EQ(g_pClient, nullptr);
}

TEST_P(LeavingTest, LogsAnEndThatTheServiceRefuses)
{
    TheLink().AnswerTo(0x2053, {{Status::Success, ResultMessage(0xE0FF0002)}});
    Change(GetParam().first);
    EXPECT_THAT(Errors(), ElementsAre(L": [ERROR] UnRegisterRPC failed...Error Code=-520159230"));
    EXPECT_EQ(g_pClient, nullptr);
}

TEST_P(LeavingTest, TriesItsEventAgainInASessionThatWasLeftBefore)
{
    const auto [state, eventId] = GetParam();
    Change(WTS_SESSION_LOCK);
    TheLink().ForgetCalls();
    log.Clear();
    Change(state);
    EXPECT_THAT(Errors(), ElementsAre(L": [ERROR] Send event failed...EventId=" + std::to_wstring(eventId)));
    EXPECT_THAT(TheLink().Calls(), IsEmpty());
}

TEST_P(ComingTest, BringsTheLinkBackAndLeavesTheTimersOff)
{
    Change(WTS_SESSION_LOCK);
    TheLink().ForgetCalls();
    log.Clear();
    EXPECT_EQ(Change(GetParam()), 0);
    EXPECT_EQ(TheLink().Commands(0x2052).size(), 1U);
    EXPECT_NE(g_pClient, nullptr);
    EXPECT_THAT(Requests(), ElementsAre(SessionRequest(16)));
    EXPECT_EQ(RunningTimers(), 0);
    EXPECT_FALSE(g_bActiveWindowTimerSet);
    EXPECT_FALSE(g_bInputInfoTimerSet);
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_P(ComingTest, IsAnEventInAConnectedSessionAsWell)
{
    Change(GetParam());
    EXPECT_THAT(Commands(), ElementsAre(0x2051U)) << "no second registration";
    EXPECT_THAT(Requests(), ElementsAre(SessionRequest(16)));
    EXPECT_TRUE(g_bActiveWindowTimerSet);
    EXPECT_TRUE(g_bInputInfoTimerSet);
    EXPECT_EQ(RunningTimers(), 2);
}

TEST_P(ComingTest, GoesOnAfterARegistrationThatFails)
{
    Change(WTS_SESSION_LOCK);
    TheLink().ForgetCalls();
    log.Clear();
    TheLink().AnswerTo(0x2052, {{Status::Failure, ""}});
    RefuseMails();
    Change(GetParam());
    EXPECT_THAT(Errors(), ElementsAre(L": [ERROR] RegisterRPC failed...Error Code=-520159231",
                                      L": [ERROR] Send event failed...EventId=16"));
    EXPECT_THAT(Requests(), ElementsAre(SessionRequest(16)));
}

TEST_P(IgnoredStateTest, IsALineInTheLogAlone)
{
    EXPECT_EQ(Change(GetParam(), 3), 0);
    EXPECT_THAT(log.Texts(),
                ElementsAre(L"[INFO],[], ==> CMainFrame::OnSessionChange", Changed(GetParam(), 3),
                            L"[INFO],[], <== CMainFrame::OnSessionChange"));
    EXPECT_THAT(TheLink().Calls(), IsEmpty());
    EXPECT_EQ(RunningTimers(), 2);
}

TEST_F(SessionEventTest, AfterAnUnlockTheServiceHasToOrderTheReportsAnew)
{
    Change(WTS_SESSION_LOCK);
    Change(WTS_SESSION_UNLOCK);
    EXPECT_EQ(RunningTimers(), 0);
    QxCommon::JsonDb command;
    command.ParseFromString(L"{\"JD_COMMAND_ID\":1011,\"interval\":4000}");
    OnServiceCommand(command);
    EXPECT_TRUE(g_bActiveWindowTimerSet);
    EXPECT_EQ(RunningTimers(), 1);
}

TEST_F(SessionEventTest, EveryChangeGoesOnToTheDefaultProcedure)
{
    for (UINT state = 0; state < 12; ++state)
    {
        frame->passedOn.clear();
        Change(state, 7);
        EXPECT_EQ(frame->passedOn, (std::vector<WatchedFrame::Message>{{state, 7}}));
    }
}

TEST_F(SessionEventTest, ActsOnANoticeOfAnySession)
{
    Change(WTS_SESSION_LOCK, 4711);
    EXPECT_THAT(Requests(), ElementsAre(SessionRequest(17))) << "with the session of the process";
    EXPECT_EQ(Own().front(), Changed(7, 4711));
}

TEST_F(SessionEventTest, AChangeIsTracedAroundAllItsLines)
{
    Change(WTS_SESSION_UNLOCK, 2);
    const std::vector<std::wstring> texts = log.Texts();
    EXPECT_EQ(texts[0], L"[INFO],[], ==> CMainFrame::OnSessionChange");
    EXPECT_EQ(texts[1], Changed(8, 2));
    EXPECT_EQ(texts.back(), L"[INFO],[], <== CMainFrame::OnSessionChange");
}

TEST_F(SessionEventTest, NeitherTheScanNorTheWindowIsTouchedByALogoff)
{
    frame->SetTimer(FrameTimer::Scan, longPeriod, nullptr);
    Change(WTS_SESSION_LOGOFF);
    EXPECT_TRUE(frame->KillTimer(FrameTimer::Scan));
    EXPECT_TRUE(IsWindow(frame->m_hWnd));
    MSG message{};
    EXPECT_FALSE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
}

TEST_F(SessionEventTest, ALockedSessionHasNoCommandsOfTheService)
{
    Change(WTS_SESSION_LOCK);
    EXPECT_EQ(SendEventToEventCenter(19), Status::NoClient);
    EXPECT_EQ(TheLink().Commands(0).size(), 1U) << "the callbacks are erased";
}

TEST_F(SessionEventTest, ShortMemoryIsNoException)
{
    bool hasFailed = true;
    for (long long successes = 0; hasFailed; ++successes)
    {
        {
            const OneFailure failure(successes);
            EXPECT_NO_THROW(frame->OnSessionChange(WTS_SESSION_LOCK, 1)) << successes;
            EXPECT_NO_THROW(frame->OnSessionChange(WTS_SESSION_UNLOCK, 1)) << successes;
            hasFailed = failure.HasFailed();
        }
        Change(WTS_SESSION_LOCK);
        EXPECT_EQ(g_pClient, nullptr) << successes;
        Change(WTS_SESSION_UNLOCK);
    }
}

TEST_F(SessionEventTest, LockingAndUnlockingLeavesNothingBehind)
{
    EXPECT_EQ(BlocksLeftBy(
                  [this]
                  {
                      Change(WTS_SESSION_LOCK);
                      Change(WTS_SESSION_UNLOCK);
                      EXPECT_TRUE(TestSupport::WaitUntil(&NobodyWatches));
                  }),
              0);
}
