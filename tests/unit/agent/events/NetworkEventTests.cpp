#include "AgentIds.h"
#include "FrameEventTest.h"
#include "MailHelper.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
struct Notice
{
    UINT message;
    const wchar_t* eventId;
    const wchar_t* handler;
};

const Notice notices[] = {
    {0x0430, L"23", L"CMainFrame::OnNetworkConnectionMadeNotify"},
    {0x0431, L"23", L"CMainFrame::OnNetworkConnectionMadeNoQocNotify"},
    {0x0432, L"24", L"CMainFrame::OnNetworkConnectionLostNotify"},
};

class NetworkEventTest : public FrameEventTest
{
};

std::wstring NetworkRequest(const Notice& notice, const std::wstring& type)
{
    return std::wstring(L"{\"eventId\":") + notice.eventId + L",\"type\":" + type + L"}";
}
} // namespace

TEST_F(NetworkEventTest, EachNoticeIsAnEventWithItsType)
{
    const std::pair<WPARAM, const wchar_t*> types[] = {
        {1, L"1"}, {0, L"0"}, {2, L"2"}, {0x80000000, L"2147483648"}, {0xFFFFFFFF, L"4294967295"}};
    for (const Notice& notice : notices)
    {
        for (const auto& [type, text] : types)
        {
            TheLink().ForgetCalls();
            EXPECT_EQ(frame->SendMessage(notice.message, type, 4711), 0);
            EXPECT_THAT(Requests(), ElementsAre(NetworkRequest(notice, text)));
        }
    }
}

TEST_F(NetworkEventTest, EachHandlerLeavesItsTraceAndNoOtherLine)
{
    for (const Notice& notice : notices)
    {
        log.Clear();
        frame->SendMessage(notice.message, 1);
        const std::vector<std::wstring> texts = log.Texts();
        EXPECT_EQ(texts.front(), std::wstring(L"[INFO],[], ==> ") + notice.handler);
        EXPECT_EQ(texts.back(), std::wstring(L"[INFO],[], <== ") + notice.handler);
        EXPECT_THAT(Own(), IsEmpty());
    }
}

TEST_F(NetworkEventTest, TheStatusOfTheMailIsIgnored)
{
    RefuseMails();
    for (const Notice& notice : notices)
    {
        TheLink().ForgetCalls();
        log.Clear();
        EXPECT_EQ(frame->SendMessage(notice.message, 1), 0);
        EXPECT_EQ(Requests().size(), 1U);
        EXPECT_THAT(Own(), IsEmpty());
    }
}

TEST_F(NetworkEventTest, WithoutAClientTheEventIsLostSilently)
{
    UnRegisterRPC();
    TheLink().ForgetCalls();
    for (const Notice& notice : notices)
    {
        log.Clear();
        EXPECT_EQ(frame->SendMessage(notice.message, 1), 0);
        EXPECT_THAT(log.Texts(), ElementsAre(std::wstring(L"[INFO],[], ==> ") + notice.handler,
                                             std::wstring(L"[INFO],[], <== ") + notice.handler));
    }
    EXPECT_THAT(TheLink().Calls(), IsEmpty());
}

TEST_F(NetworkEventTest, AChangeWhileLockedIsLost)
{
    frame->SendMessage(WM_WTSSESSION_CHANGE, WTS_SESSION_LOCK, 1);
    TheLink().ForgetCalls();
    frame->SendMessage(WindowMessage::NetworkLost, 1);
    EXPECT_THAT(Requests(), IsEmpty());
    frame->SendMessage(WM_WTSSESSION_CHANGE, WTS_SESSION_UNLOCK, 1);
    EXPECT_THAT(Requests(), ElementsAre(SessionRequest(16))) << "nothing sends it again";
}

TEST_F(NetworkEventTest, ShortMemoryIsNoException)
{
    using Handler = LRESULT (WatchedFrame::*)(WPARAM, LPARAM);
    const Handler handlers[] = {&WatchedFrame::OnNetworkConnectionMadeNotify,
                                &WatchedFrame::OnNetworkConnectionMadeNoQocNotify,
                                &WatchedFrame::OnNetworkConnectionLostNotify};
    for (std::size_t i = 0; i < std::size(handlers); ++i)
    {
        bool hasFailed = true;
        for (long long successes = 0; hasFailed; ++successes)
        {
            TheLink().ForgetCalls();
            {
                const OneFailure failure(successes);
                EXPECT_NO_THROW(EXPECT_EQ((frame->*handlers[i])(1, 0), 0)) << successes;
                hasFailed = failure.HasFailed();
            }
            const std::vector<std::wstring> requests = Requests();
            EXPECT_TRUE(requests.empty() || requests[0] == NetworkRequest(notices[i], L"1")) << successes;
        }
    }
}
