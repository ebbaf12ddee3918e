#include "MailHelper.h"

#include <algorithm>

#include "AgentIds.h"
#include "CallbackHelper.h"
#include "ImportPatch.h"
#include "LinkTest.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
HMODULE WINAPI RefuseToLoad(LPCWSTR /*name*/)
{
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}

class MailHelperTest : public LinkTest
{
protected:
    MailHelperTest() { TheLink().GiveProcess("18446744073709551615"); }

    ~MailHelperTest() override { UnRegisterRPC(); }

    // The statements of this front alone.
    [[nodiscard]] std::vector<std::wstring> Own() const
    {
        std::vector<std::wstring> texts = Statements();
        std::erase_if(texts, [](const std::wstring& text) { return text.starts_with(L"OuterClientHelper"); });
        return texts;
    }

    static std::wstring EventText(const std::wstring& eventId, const std::wstring& session)
    {
        return L": [INFO] {\n   \"eventId\" : " + eventId + L",\n   \"winSessionId\" : " + session + L"\n}\n";
    }

    static std::wstring Session()
    {
        DWORD session = 0;
        ProcessIdToSessionId(GetCurrentProcessId(), &session);
        return std::to_wstring(session);
    }

    static std::vector<SentCommand> Events()
    {
        std::vector<SentCommand> mails = TheLink().Commands(0x2051);
        std::erase_if(mails, [](const SentCommand& mail)
                      { return mail.message.find(Bytes().UInt(0xE000F, 0x1802).text) == std::string::npos; });
        return mails;
    }
};
} // namespace

TEST_F(MailHelperTest, RegistersTheTrayWithTheServicesCommands)
{
    EXPECT_EQ(RegisterRPC(), Status::Success);
    EXPECT_NE(g_pClient, nullptr);
    EXPECT_EQ(g_fnCallback.load(), &OnServiceCommand);
    EXPECT_EQ(TextItem(TheLink().Only(0x2052).message, 0xE000D), L"QxSystemTray");
}

TEST_F(MailHelperTest, ASecondRegistrationIsDoneAlready)
{
    RegisterRPC();
    const CVzRpcClientHelper* const client = g_pClient;
    EXPECT_EQ(RegisterRPC(), Status::Success);
    EXPECT_EQ(g_pClient, client);
    EXPECT_EQ(TheLink().Commands(0x2052).size(), 1U);
    EXPECT_EQ(TheLink().LivingManagers(), 1U);
}

TEST_F(MailHelperTest, AFailedRegistrationKeepsItsClient)
{
    TheLink().AnswerTo(0x2052, {{Status::Failure, ""}});
    EXPECT_EQ(RegisterRPC(), Status::Failure);
    EXPECT_NE(g_pClient, nullptr);
    EXPECT_EQ(RegisterRPC(), Status::Success);
    EXPECT_EQ(TheLink().Commands(0x2052).size(), 1U);
    EXPECT_EQ(UnRegisterRPC(), Status::Success);
    TheLink().AnswerTo(0x2052, {});
    EXPECT_EQ(RegisterRPC(), Status::Success);
    EXPECT_EQ(TheLink().Commands(0x2052).size(), 2U);
}

TEST_F(MailHelperTest, WithoutMemoryThereIsNoClient)
{
    const NoMemory noMemory;
    EXPECT_EQ(RegisterRPC(), Status::OutOfMemory);
    EXPECT_EQ(g_pClient, nullptr);
    EXPECT_THAT(Statements(), ElementsAre(L": [ERROR] Alloc memory for g_pClient failed..."));
}

TEST_F(MailHelperTest, TheEndDestroysTheClientWhateverTheServiceSays)
{
    TheLink().AnswerTo(0x2053, {{Status::Success, ResultMessage(0xE0FF0002)}});
    RegisterRPC();
    EXPECT_EQ(UnRegisterRPC(), Status::UnknownTrackId);
    EXPECT_EQ(g_pClient, nullptr);
    ASSERT_TRUE(TestSupport::WaitUntil([] { return TheLink().LivingManagers() == 0; }));
}

TEST_F(MailHelperTest, TheEndGivesTheServicesResultAndNotTheTeardowns)
{
    RegisterRPC();
    EXPECT_EQ(UnRegisterRPC(), Status::Success);
}

TEST_F(MailHelperTest, WithoutAClientThereIsNothingToEnd)
{
    EXPECT_EQ(UnRegisterRPC(), Status::Success);
    EXPECT_THAT(TheLink().Calls(), IsEmpty());
}

TEST_F(MailHelperTest, AnEventGoesToTheEventCenter)
{
    RegisterRPC();
    EXPECT_EQ(SendEventToEventCenter(EventId::StartFinished), Status::Success);
    ASSERT_EQ(Events().size(), 1U);
    const std::wstring json = L"{\"eventId\":18,\"winSessionId\":" + Session() + L"}\n";
    EXPECT_EQ(Events()[0].message, MailMessage(json, GetCurrentThreadId(), 5, 0x1802));
    EXPECT_THAT(Own(), ElementsAre(EventText(L"18", Session())));
}

TEST_F(MailHelperTest, AnEventWithoutAClientIsLoggedAndLost)
{
    EXPECT_EQ(SendEventToEventCenter(0x8000), Status::NoClient);
    EXPECT_THAT(Statements(), ElementsAre(EventText(L"32768", Session())));
    EXPECT_THAT(TheLink().Calls(), IsEmpty());
}

TEST_F(MailHelperTest, AnEventGoesOutWithoutItsSession)
{
    RegisterRPC();
    const TestSupport::ImportPatch patch(nullptr, "LoadLibraryW", &RefuseToLoad);
    EXPECT_EQ(SendEventToEventCenter(1), Status::Success);
    ASSERT_EQ(Events().size(), 1U);
    EXPECT_EQ(TextItem(Events()[0].message, 0xE001F), L"{\"eventId\":1,\"winSessionId\":4294967295}\n");
    EXPECT_THAT(Own(), ElementsAre(L": [ERROR] VzCommon::TerminalService::GetSessionId failed... "
                                   L"ErrorCode = 126",
                                   EventText(L"1", L"4294967295")));
}

TEST_F(MailHelperTest, TheMailsStatusIsTheEvents)
{
    RegisterRPC();
    ASSERT_TRUE(TestSupport::WaitUntil(&NobodyWatches));
    TheLink().AnswerTo(0x2051, {{0, MailAnswer(0xE0FF0005, "{}")}});
    EXPECT_EQ(SendEventToEventCenter(EventId::TrayClosing), Status::InitializeFailed);
}

TEST_F(MailHelperTest, ARequestOfTheCallersOwnGoesToTheEventCenterAsItIs)
{
    RegisterRPC();
    log.Clear();
    QxCommon::JsonDb request;
    request[L"type"].SetUInt(1);
    EXPECT_EQ(SendToEventCenter(request), Status::Success);
    ASSERT_EQ(Events().size(), 1U);
    EXPECT_EQ(Events()[0].message, MailMessage(L"{\"type\":1}\n", GetCurrentThreadId(), 5, 0x1802));
    EXPECT_THAT(Own(), IsEmpty());
}

TEST_F(MailHelperTest, ARequestWithoutAClientIsLostWithoutALine)
{
    EXPECT_EQ(SendToEventCenter(QxCommon::JsonDb()), Status::NoClient);
    EXPECT_THAT(log.Texts(), IsEmpty());
    EXPECT_THAT(TheLink().Calls(), IsEmpty());
}

TEST_F(MailHelperTest, ThePlacesOfTheScanAreTracesAlone)
{
    EXPECT_TRUE(SendMailForStartScan());
    EXPECT_TRUE(SendMailForGetResult());
    EXPECT_THAT(log.Texts(),
                ElementsAre(L"[INFO],[], ==> SendMailForStartScan", L"[INFO],[], <== SendMailForStartScan",
                            L"[INFO],[], ==> SendMailForGetResult", L"[INFO],[], <== SendMailForGetResult"));
    for (const TestSupport::LogMessage& message : log.Messages())
    {
        EXPECT_EQ(message.source, L"MailHelper");
    }
}

TEST_F(MailHelperTest, EveryFunctionLeavesItsTrace)
{
    RegisterRPC();
    SendEventToEventCenter(0);
    UnRegisterRPC();
    std::vector<std::wstring> texts = log.Texts();
    std::erase_if(texts, [](const std::wstring& text) { return !text.starts_with(L"[INFO],[], "); });
    EXPECT_THAT(texts, ElementsAre(L"[INFO],[], ==> RegisterRPC", L"[INFO],[], <== RegisterRPC",
                                   L"[INFO],[], ==> SendEventToEventCenter",
                                   L"[INFO],[], <== SendEventToEventCenter", L"[INFO],[], ==> UnRegisterRPC",
                                   L"[INFO],[], <== UnRegisterRPC"));
}

TEST_F(MailHelperTest, WithoutTheLibraryRegistrationAndEventsFail)
{
    TheLink().load = Status::FromSystemError(ERROR_MOD_NOT_FOUND);
    EXPECT_EQ(RegisterRPC(), Status::FromBits(0xE0FE007E));
    EXPECT_EQ(SendEventToEventCenter(18), Status::FromBits(0xE0FE007E));
    EXPECT_EQ(UnRegisterRPC(), Status::Success);
    EXPECT_EQ(g_pClient, nullptr);
}

TEST_F(MailHelperTest, AnEventGoesOutWholeOrNotAtAll)
{
    RegisterRPC();
    const std::wstring json = L"{\"eventId\":18,\"winSessionId\":" + Session() + L"}\n";
    const std::string whole = MailMessage(json, GetCurrentThreadId(), 5, 0x1802);
    bool hasFailed = true;
    for (long long successes = 0; hasFailed; ++successes)
    {
        TheLink().ForgetCalls();
        AgentStatus status = Status::Success;
        {
            const OneFailure failure(successes);
            EXPECT_NO_THROW(status = SendEventToEventCenter(18)) << successes;
            hasFailed = failure.HasFailed();
        }
        const std::vector<SentCommand> sent = Events();
        EXPECT_TRUE(Status::Failed(status) || sent.size() == 1) << successes;
        EXPECT_TRUE(sent.empty() || sent[0].message == whole) << successes;
    }
}

TEST_F(MailHelperTest, ShortMemoryIsAStatusAndNoException)
{
    bool hasFailed = true;
    for (long long successes = 0; hasFailed; ++successes)
    {
        {
            const OneFailure failure(successes);
            EXPECT_NO_THROW(RegisterRPC()) << successes;
            EXPECT_NO_THROW(SendEventToEventCenter(18)) << successes;
            EXPECT_NO_THROW(UnRegisterRPC()) << successes;
            hasFailed = failure.HasFailed();
        }
        EXPECT_EQ(g_pClient, nullptr) << successes;
        UnRegisterRPC();
    }
}
