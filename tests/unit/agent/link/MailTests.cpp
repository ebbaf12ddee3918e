#include <optional>

#include "LinkTest.h"
#include "ObjectCounts.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace
{
constexpr wchar_t failed[] = L"OuterClientHelper: [ERROR] executing command failed, err=-520159231";
constexpr wchar_t noParam[] =
    L"OuterClientHelper: [ERROR] get parameter ID_DATA_PRODUCTADAPTER_PACKER_PARAM failed";
constexpr wchar_t parsed[] = L"OuterClientHelper: [INFO] after invoking ParseJsonString, ret=0";

// The items that every mail has at its end.
Bytes SenderItems(std::uint32_t plugin, std::uint32_t mail)
{
    return Bytes()
        .UInt(0xE000E, GetCurrentProcessId())
        .UInt(0xE0020, GetCurrentThreadId())
        .UInt(0xE0001, plugin)
        .UInt(0xE000F, mail);
}

std::string Outer(std::uint32_t index, const std::string& nested)
{
    return Message(0x10014, Bytes().UInt(0xE001D, index).Raw(nested));
}

class MailTest : public LinkTest
{
protected:
    AgentStatus SendJson(const std::wstring& text)
    {
        QxCommon::JsonDb request;
        request.ParseFromString(text);
        return helper->SendMail2ProductPlugin(5, 0x1802, request, reply);
    }

    AgentStatus SendText(std::wstring& answer)
    {
        return helper->SendMail2ProductPlugin(5, 0x1802, QxCommon::JsonDb(), answer);
    }

    AgentStatus SendMessage(CRpcDataHandleWrapper& data)
    {
        return helper->SendMail2ProductPlugin(5, 0x1802, data);
    }

    static void Answer(const std::string& message) { TheLink().AnswerTo(mailId, {{0, message}}); }

    [[nodiscard]] std::wstring SentLine() const
    {
        return L"OuterClientHelper: [INFO] SendMail2ProductPlugin from outer process, process id=" +
               std::to_wstring(GetCurrentProcessId()) + L", thread id=" +
               std::to_wstring(GetCurrentThreadId());
    }

    std::unique_ptr<CVzRpcClientHelper> helper = MakeHelper();
    QxCommon::JsonDb reply;
};
} // namespace

TEST_F(MailTest, CarriesTheRequestInAMessageWithinAMessage)
{
    EXPECT_EQ(SendJson(L"{\"pid\":32}"), Status::Success);
    const SentCommand sent = TheLink().Only(mailId);
    EXPECT_EQ(sent.second, 1U);
    EXPECT_EQ(sent.trackingId.size(), 36U);
    EXPECT_FALSE(sent.withCallback);
    EXPECT_EQ(sent.thread, GetCurrentThreadId());
    EXPECT_EQ(sent.message, MailMessage(L"{\"pid\":32}\n", GetCurrentThreadId(), 5, 0x1802));
    EXPECT_NE(sent.message.find(Bytes().U32(0xE001F).U32(2).U32(24).text), std::string::npos);
    EXPECT_EQ(sent.record, CommandRecord(mailId, 1));
}

TEST_F(MailTest, EachMailHasATrackingIdOfItsOwn)
{
    SendJson(L"{}");
    SendJson(L"{}");
    const std::vector<SentCommand> sent = TheLink().Commands(mailId);
    EXPECT_NE(sent[0].trackingId, sent[1].trackingId);
}

TEST_F(MailTest, CallsTheLibraryInOrderAndReleasesBothHandles)
{
    TheLink().ForgetCalls();
    EXPECT_EQ(SendJson(L"{}"), Status::Success);
    EXPECT_THAT(TheLink().Calls(), ElementsAre("uuid 37", "execute 2051", "destroy data", "destroy data"));
    EXPECT_THAT(Statements(), ElementsAre(SentLine(), parsed));
}

TEST_F(MailTest, TheThreeFormsLeaveThreeTraces)
{
    log.Clear();
    SendJson(L"{}");
    const std::wstring in = L"[INFO],[OuterClientHelper], ==> CVzRpcClientHelper::SendMail2ProductPlugin";
    const std::wstring out = L"[INFO],[OuterClientHelper], <== CVzRpcClientHelper::SendMail2ProductPlugin";
    EXPECT_THAT(log.Texts(), ElementsAre(in, in, in, SentLine(), out, out, parsed, out));
}

TEST_F(MailTest, TheReplyTakesThePlaceOfWhatWasThere)
{
    Answer(MailAnswer(0x20FF0000, "{\"handle\":7}"));
    reply[L"old"].SetInt(1);
    EXPECT_EQ(SendJson(L"{}"), Status::Success);
    EXPECT_EQ(reply.ToFastString(), L"{\"handle\":7}\n");
}

TEST_F(MailTest, AReplyThatIsNoJsonLeavesTheOldOne)
{
    for (const char* const text : {"{\"a\":1", "", "no json"})
    {
        log.Clear();
        Answer(MailAnswer(1, text));
        reply.Clear();
        reply[L"old"].SetInt(1);
        EXPECT_EQ(SendJson(L"{}"), 1);
        EXPECT_EQ(reply.ToFastString(), L"{\"old\":1}\n");
        EXPECT_THAT(
            Statements(),
            ElementsAre(SentLine(), L"OuterClientHelper: [INFO] after invoking ParseJsonString, ret=87"));
    }
}

TEST_F(MailTest, WithoutATrackingIdNothingIsSent)
{
    TheLink().createUuid = Status::Failure;
    CRpcDataHandleWrapper data;
    data.Create();
    EXPECT_EQ(SendMessage(data), Status::Failure);
    EXPECT_EQ(data.Message()->Bytes().size(), 12U);
    EXPECT_THAT(TheLink().Commands(), IsEmpty());
    EXPECT_THAT(Statements(),
                ElementsAre(L"OuterClientHelper: [ERROR] Cannot generate tracking ID, err=-520159231"));
}

TEST_F(MailTest, AFailedCallIsLoggedByBothForms)
{
    TheLink().ForgetCalls();
    TheLink().AnswerTo(mailId, {{Status::Failure, MailAnswer(0, "{}")}});
    EXPECT_EQ(SendJson(L"{}"), Status::Failure);
    EXPECT_THAT(Statements(), ElementsAre(SentLine(), failed, failed));
    EXPECT_THAT(TheLink().Calls(), ElementsAre("uuid 37", "execute 2051", "destroy data"));
}

TEST_F(MailTest, AnUnknownClientSendsTheSameCommandByANewManager)
{
    TheLink().AnswerTo(mailId, {{Status::UnknownClient, ""}, {0, MailAnswer(5, "{}")}});
    g_bProcessRegistered = true;
    g_fnCallback = &NoteCommand;
    EXPECT_EQ(SendJson(L"{}"), 5);
    const std::vector<SentCommand> sent = TheLink().Commands(mailId);
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[0].message, sent[1].message);
    EXPECT_EQ(sent[0].trackingId, sent[1].trackingId);
    EXPECT_NE(sent[0].manager, sent[1].manager);
    EXPECT_EQ(sent[1].manager, g_pRpcManager.get());
    EXPECT_EQ(TheLink().LivingManagers(), 2U);
    EXPECT_TRUE(g_bProductInited);
    EXPECT_TRUE(g_bProcessRegistered);
    EXPECT_EQ(g_fnCallback.load(), &NoteCommand);
    EXPECT_THAT(TheLink().Commands(0x2052), IsEmpty());
    EXPECT_THAT(Statements(),
                ElementsAre(SentLine(),
                            L"OuterClientHelper: [WARN] not register yet. register this client helper to "
                            L"service now. nProductID=0",
                            parsed));
}

TEST_F(MailTest, TheCommandIsExecutedTwiceAtMost)
{
    TheLink().AnswerTo(mailId, {{Status::UnknownClient, ""}});
    std::wstring text = L"old";
    EXPECT_EQ(SendText(text), Status::UnknownClient);
    EXPECT_EQ(TheLink().Commands(mailId).size(), 2U);
    EXPECT_EQ(Count(L"OuterClientHelper: [ERROR] executing command failed, err=-536803325"), 2U);
}

TEST_F(MailTest, TheServicesFailureComesTogetherWithItsAnswer)
{
    Answer(MailAnswer(0xE0FF0005, "{\"a\":1}"));
    CRpcDataHandleWrapper data;
    data.Create();
    EXPECT_EQ(SendMessage(data), Status::InitializeFailed);
    std::wstring answer;
    EXPECT_EQ(data.Get(0xE001F, answer), Status::Success);
    EXPECT_EQ(answer, L"{\"a\":1}");
    EXPECT_THAT(Statements(), ElementsAre(SentLine()));
}

TEST_F(MailTest, TheServicesFailureEndsTheTextFormEarly)
{
    Answer(MailAnswer(0xE0FF0001, "{\"a\":1}"));
    std::wstring answer;
    EXPECT_EQ(SendText(answer), Status::Failure);
    EXPECT_EQ(answer, L"");
    EXPECT_THAT(Statements(), ElementsAre(SentLine(), failed));
    log.Clear();
    EXPECT_EQ(SendJson(L"{}"), Status::Failure);
    EXPECT_TRUE(reply.IsNull());
    EXPECT_THAT(Statements(), ElementsAre(SentLine(), failed));
}

TEST_F(MailTest, AnAnswerWithoutResultIsReadNoFurther)
{
    Answer(Message(0x10014, Bytes().UInt(0xE001D, 0x10014)));
    CRpcDataHandleWrapper data;
    data.Create();
    TheLink().ForgetCalls();
    EXPECT_EQ(SendMessage(data), Status::InvalidParameter);
    EXPECT_THAT(Statements(), ElementsAre(SentLine(), noResult));
    EXPECT_THAT(TheLink().Calls(), ElementsAre("uuid 37", "execute 2051", "destroy data", "destroy data"));
}

TEST_F(MailTest, NoAnswerAtAllIsAnAnswerWithoutResult)
{
    Answer("");
    CRpcDataHandleWrapper data;
    data.Create();
    EXPECT_EQ(SendMessage(data), Status::InvalidParameter);
    EXPECT_THAT(Statements(), ElementsAre(SentLine(), noResult));
}

TEST_F(MailTest, AnAnswerWithoutItsIndexIsSearchedForZero)
{
    Answer(Message(0x10014, Bytes().UInt(0xE001A, 0xE0FF0005)));
    CRpcDataHandleWrapper data;
    data.Create();
    EXPECT_EQ(SendMessage(data), Status::InvalidParameter);
    EXPECT_THAT(Statements(),
                ElementsAre(SentLine(), noParam,
                            L"OuterClientHelper: [ERROR] get parameter param_index failed, param_index=0"));
}

TEST_F(MailTest, AnIndexThatIsNotThereIsTold)
{
    Answer(Message(0x10014, Bytes().UInt(0xE001A, 0).UInt(0xE001D, 77)));
    CRpcDataHandleWrapper data;
    data.Create();
    EXPECT_EQ(SendMessage(data), Status::InvalidParameter);
    EXPECT_THAT(Statements(),
                ElementsAre(SentLine(),
                            L"OuterClientHelper: [ERROR] get parameter param_index failed, param_index=77"));
}

TEST_F(MailTest, TheNestedAnswerHasTheIdThatTheServiceSays)
{
    const std::string nested = Message(77, Bytes().Text(0xE001F, L"[1]"));
    Answer(Message(0x10014, Bytes().UInt(0xE001A, 0).UInt(0xE001D, 77).Raw(nested)));
    EXPECT_EQ(SendJson(L"{}"), 0);
    EXPECT_EQ(reply.ToFastString(), L"[1]\n");
}

TEST_F(MailTest, ANestedAnswerThatIsNoMessageIsAnEmptyOne)
{
    Answer(Message(0x10014, Bytes().UInt(0xE001A, 3).UInt(0xE001D, 77).UInt(77, 1)));
    std::wstring answer;
    EXPECT_EQ(SendText(answer), 3);
    EXPECT_EQ(answer, L"");
}

TEST_F(MailTest, AReplyWithoutTextIsTheMailsResult)
{
    const std::string nested = Message(0x10014, Bytes());
    Answer(Message(0x10014, Bytes().UInt(0xE001A, 3).UInt(0xE001D, 0x10014).Raw(nested)));
    EXPECT_EQ(SendJson(L"{}"), 3);
    EXPECT_TRUE(reply.IsNull());
    EXPECT_THAT(Statements(),
                ElementsAre(SentLine(),
                            L"OuterClientHelper: [ERROR] get parameter "
                            L"ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING failed, err=-520159218",
                            L"OuterClientHelper: [INFO] after invoking ParseJsonString, ret=87"));
}

TEST_F(MailTest, AMessageOfTheCallersOwnGetsTheSendersItemsAndItsIndex)
{
    CRpcDataHandleWrapper data;
    data.Create();
    const std::string own = Message(77, Bytes().UInt(9, 1));
    data.Message()->Assign(reinterpret_cast<const std::uint8_t*>(own.data()),
                           static_cast<std::uint32_t>(own.size()));
    EXPECT_EQ(SendMessage(data), Status::Success);
    const Bytes inner = Bytes().UInt(9, 1).Raw(SenderItems(5, 0x1802).text);
    EXPECT_EQ(TheLink().Only(mailId).message, Outer(77, Message(77, inner)));
}

TEST_F(MailTest, AnEmptyWrapperSendsTheIndexAlone)
{
    CRpcDataHandleWrapper data;
    EXPECT_EQ(SendMessage(data), Status::Success);
    EXPECT_EQ(TheLink().Only(mailId).message, Outer(0, ""));
    std::wstring answer;
    EXPECT_EQ(data.Get(0xE001F, answer), Status::Success);
    EXPECT_EQ(answer, L"{}");
}

TEST_F(MailTest, TheNetworksEventsHaveTheirShape)
{
    QxCommon::JsonDb request;
    request[L"eventId"].SetInt(23);
    request[L"type"].SetUInt(1);
    helper->SendMail2ProductPlugin(5, 0x1802, request, reply);
    EXPECT_EQ(TextItem(TheLink().Only(mailId).message, 0xE001F), L"{\"eventId\":23,\"type\":1}\n");
}

TEST_F(MailTest, AnExceptionInTheLibraryIsAStatus)
{
    TheLink().Before(mailId, [] { throw std::bad_alloc(); });
    EXPECT_EQ(SendJson(L"{}"), Status::OutOfMemory);
    EXPECT_EQ(Count(L"OuterClientHelper: [ERROR] SendMail2ProductPlugin is refused, reason=out of memory"),
              1U);
}

TEST_F(MailTest, MailsLeaveNothingBehind)
{
    const auto send = [this] { SendJson(L"{\"eventId\":18}"); };
    EXPECT_EQ(TestSupport::GrowthOf(send), "");
    EXPECT_EQ(BlocksLeftBy(send), 0);
}

TEST_F(MailTest, ALibraryThatLeavesItsHandlesKeepsWhatTheyHold)
{
    TheLink().leavesHandles = true;
    EXPECT_EQ(SendJson(L"{}"), Status::Success);
    EXPECT_FALSE(TheLink().Only(mailId).buffer.expired());
}

TEST_F(MailTest, AnExceptionLeavesNoMessageBehind)
{
    TheLink().Before(mailId, [] { throw std::bad_alloc(); });
    EXPECT_EQ(SendJson(L"{}"), Status::OutOfMemory);
    EXPECT_TRUE(TheLink().Only(mailId).buffer.expired());
}

TEST_F(MailTest, AMailGoesOutWholeOrNotAtAll)
{
    QxCommon::JsonDb request;
    request.ParseFromString(L"{\"text\":\"" + std::wstring(1000, L'x') + L"\"}");
    const std::string whole = MailMessage(request.ToFastString(), GetCurrentThreadId(), 5, 0x1802);
    std::size_t refused = 0;
    const auto send = [&](long long successes)
    {
        TheLink().ForgetCalls();
        std::wstring answer;
        const OneFailure failure(successes);
        const AgentStatus status = helper->SendMail2ProductPlugin(5, 0x1802, request, answer);
        const Plenty memory;
        for (const SentCommand& sent : TheLink().Commands(mailId))
        {
            EXPECT_EQ(sent.message, whole) << successes;
        }
        if (TheLink().Commands(mailId).empty())
        {
            ++refused;
            EXPECT_TRUE(Status::Failed(status)) << successes;
        }
    };
    for (long long successes = 0; successes < 200; ++successes)
    {
        send(successes);
    }
    EXPECT_GT(refused, 5U);
    EXPECT_LT(refused, 200U);
}

TEST_F(MailTest, ARequestWithoutATreeIsNotSent)
{
    std::optional<QxCommon::JsonDb> request;
    {
        const OneFailure failure(0);
        request.emplace();
    }
    std::wstring answer;
    EXPECT_EQ(helper->SendMail2ProductPlugin(5, 0x1802, *request, answer), Status::OutOfMemory);
    EXPECT_THAT(TheLink().Commands(mailId), IsEmpty());
    EXPECT_THAT(Statements(),
                ElementsAre(L"OuterClientHelper: [ERROR] The mail's request cannot be written, error=87"));
}
