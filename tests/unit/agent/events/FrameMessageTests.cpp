// What reaches the frame as a message from outside, power above all, and when.
#include <thread>
#include <utility>

#include "AgentIds.h"
#include "FrameEventTest.h"
#include "MailHelper.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
class FrameMessageTest : public FrameEventTest
{
protected:
    LRESULT ChangeSetting(const POWERBROADCAST_SETTING* setting) const
    {
        return frame->SendMessage(WM_POWERBROADCAST, PBT_POWERSETTINGCHANGE,
                                  reinterpret_cast<LPARAM>(setting));
    }

    LRESULT ChangeSession(UINT state) const { return frame->SendMessage(WM_WTSSESSION_CHANGE, state, 1); }

    // Has the session change while the next mail is in the service's hands, told by another thread: such a
    // message reaches the frame as soon as the main thread looks for any.
    void ChangeDuringTheNextMail(UINT state)
    {
        TheLink().Before(0x2051,
                         [this, state]
                         {
                             if (std::exchange(m_isTold, true))
                             {
                                 return;
                             }
                             std::thread([window = frame->m_hWnd, state]
                                         { SendNotifyMessageW(window, WM_WTSSESSION_CHANGE, state, 1); })
                                 .join();
                             PostMessageW(frame->m_hWnd, WindowMessage::NetworkLost, 2, 0);
                         });
    }

private:
    bool m_isTold = false;
};

POWERBROADCAST_SETTING NoticeOf(const GUID& setting)
{
    POWERBROADCAST_SETTING notice{};
    notice.PowerSetting = setting;
    return notice;
}
} // namespace

TEST_F(FrameMessageTest, AChangeOfAPowerSettingIsReadFromTheMessage)
{
    const POWERBROADCAST_SETTING notice = NoticeOf(GUID_BATTERY_PERCENTAGE_REMAINING);
    EXPECT_EQ(ChangeSetting(&notice), 0);
    EXPECT_THAT(Requests(), IsEmpty());
    EXPECT_EQ(ChangeSetting(&notice), 0);
    EXPECT_THAT(Requests(), ElementsAre(L"{\"eventId\":32768,\"eventType\":3}"));
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(FrameMessageTest, PowerThatMeansNothingIsNoFailure)
{
    const POWERBROADCAST_SETTING stranger = NoticeOf(GUID_MONITOR_POWER_ON);
    UnRegisterRPC();
    log.Clear();
    for (int again = 0; again < 2; ++again)
    {
        EXPECT_EQ(ChangeSetting(nullptr), 0);
        EXPECT_EQ(ChangeSetting(&stranger), 0);
        EXPECT_EQ(frame->SendMessage(WM_POWERBROADCAST, PBT_APMSUSPEND), 0);
        EXPECT_EQ(frame->SendMessage(WM_POWERBROADCAST, PBT_APMRESUMEAUTOMATIC), 0);
    }
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(FrameMessageTest, APowerEventThatNobodyTakesIsTwoLines)
{
    const POWERBROADCAST_SETTING notice = NoticeOf(GUID_ACDC_POWER_SOURCE);
    ChangeSetting(&notice);
    ChangeSession(WTS_SESSION_LOCK);
    log.Clear();
    EXPECT_EQ(ChangeSetting(&notice), 0);
    EXPECT_THAT(log.Texts(), ElementsAre(L": [INFO] SERVICE_CONTROL_POWEREVENT triggered, EventType = 2",
                                         L": [ERROR] Failed to handle power event. Error Code = 0xe0ff001a"));
}

TEST_F(FrameMessageTest, AResumeInALockedSessionBringsTheLinkBack)
{
    ChangeSession(WTS_SESSION_LOCK);
    TheLink().ForgetCalls();
    EXPECT_EQ(frame->SendMessage(WM_POWERBROADCAST, PBT_APMRESUMESUSPEND), 0);
    EXPECT_THAT(Requests(), ElementsAre(L"{\"eventId\":32768,\"eventType\":5}"));
    ChangeSession(WTS_SESSION_UNLOCK);
    EXPECT_EQ(TheLink().Commands(0x2052).size(), 1U) << "it stands";
}

TEST_F(FrameMessageTest, ALockDuringAMailWaitsForItsEnd)
{
    ChangeDuringTheNextMail(WTS_SESSION_LOCK);
    frame->SendMessage(WindowMessage::NetworkMade, 1);
    EXPECT_THAT(Requests(), ElementsAre(L"{\"eventId\":23,\"type\":1}"));
    ASSERT_NE(g_pClient, nullptr);
    EXPECT_TRUE(TestSupport::PumpMessagesUntil([] { return g_pClient == nullptr; }));
    EXPECT_THAT(Requests(), ElementsAre(L"{\"eventId\":23,\"type\":1}", SessionRequest(17)))
        << "the network's change comes too late";
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(FrameMessageTest, AnUnlockDuringTheMailOfALockBringsTheLinkBack)
{
    ChangeDuringTheNextMail(WTS_SESSION_UNLOCK);
    ChangeSession(WTS_SESSION_LOCK);
    EXPECT_EQ(g_pClient, nullptr);
    EXPECT_TRUE(TestSupport::PumpMessagesUntil([] { return Requests().size() == 3; }));
    EXPECT_THAT(Requests(),
                ElementsAre(SessionRequest(17), SessionRequest(16), L"{\"eventId\":24,\"type\":2}"));
    EXPECT_NE(g_pClient, nullptr);
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(FrameMessageTest, AForgedMessageOfAnyParametersHarmsNothing)
{
    constexpr WPARAM manyBits = 0xFEDCBA9800000063;
    constexpr LPARAM negative = -1;
    EXPECT_EQ(frame->SendMessage(WM_POWERBROADCAST, PBT_POWERSETTINGCHANGE, negative), 0);
    EXPECT_EQ(frame->SendMessage(WM_POWERBROADCAST, PBT_POWERSETTINGCHANGE, 0x1234), 0);
    for (const UINT message :
         {UINT{WM_WTSSESSION_CHANGE}, WindowMessage::NetworkMade, WindowMessage::NetworkMadeNoQoc,
          WindowMessage::NetworkLost, UINT{WM_POWERBROADCAST}})
    {
        EXPECT_EQ(frame->SendMessage(message, manyBits, negative), 0);
    }
    EXPECT_THAT(Requests(), ElementsAre(L"{\"eventId\":23,\"type\":99}", L"{\"eventId\":23,\"type\":99}",
                                        L"{\"eventId\":24,\"type\":99}"));
    EXPECT_THAT(Own(), ElementsAre(L": [INFO] Session Changed... SessionState: 99, SessionId: 4294967295"));
}
