// The commands of the link, by their message bytes.
#include "HostFixture.h"

#include <cerrno>
#include <cstdarg>
#include <new>
#include <stdexcept>

#include "ImportPatch.h"
#include "VzComn_Exception.h"

using HostHandlerTest = HostFixture;

namespace
{
class ThrowingPlugin : public SvcHost::Plugin
{
public:
    SvcHost::MailReply OnMail(const SvcHost::MailRequest& mail) override
    {
        switch (mail.mailId)
        {
        case 1: VZ_THROW(VzCommon::Exception::Base, ERROR_INVALID_HANDLE);
        case 2: throw std::bad_alloc();
        default: throw std::out_of_range("number");
        }
    }
};

// What formatting the time comes to without memory.
int RefuseFormat(wchar_t* /*text*/, std::size_t /*size*/, std::size_t /*count*/, const wchar_t* /*format*/,
                 va_list /*arguments*/)
{
    errno = ENOMEM;
    return -1;
}
} // namespace

TEST_F(HostHandlerTest, RegistersAProcessUnderItsConnection)
{
    const SvcLink::Answer answer =
        Execute(RpcCommandId::RegisterProcess, Registration(L"QxSystemTray", client.processId));
    EXPECT_EQ(answer.status, Status::Success);
    EXPECT_EQ(answer.message, (Bytes{0x14, 0x00, 0x01, 0x00, 100, 0, 0, 0, 16, 0, 0, 0, 0x1A, 0x00,
                                     0x0E, 0x00, 7,    0,    0,   0, 4, 0, 0,  0, 0, 0, 0xFF, 0x20}));
    const auto all = clients.All();
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(all[0].name, L"QxSystemTray");
    EXPECT_EQ(all[0].trackingId, trackingId);
    EXPECT_EQ(all[0].client.processId, client.processId);
}

TEST_F(HostHandlerTest, RefusesAProcessIdThatIsNotTheCallers)
{
    const Bytes lie = Registration(L"QxSystemTray", client.processId + 4);
    EXPECT_EQ(Read(Execute(RpcCommandId::RegisterProcess, lie)).result, Status::InvalidParameter);
    EXPECT_TRUE(clients.All().empty());
    Register();
    const Bytes end = ProcessId(client.processId + 4);
    EXPECT_EQ(Read(Execute(RpcCommandId::UnregisterProcess, end)).result, Status::InvalidParameter);
    EXPECT_EQ(clients.All().size(), 1U);
}

TEST_F(HostHandlerTest, AnswersEveryMalformedRegistration)
{
    const Bytes whole = Registration(L"QxSystemTray", client.processId);
    for (std::size_t length = 0; length < whole.size(); ++length)
    {
        const Bytes prefix(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_EQ(Read(Execute(RpcCommandId::RegisterProcess, prefix)).result, Status::InvalidParameter);
    }
    EXPECT_TRUE(clients.All().empty());
}

TEST_F(HostHandlerTest, TakesASecondRegistrationInThePlaceOfTheFirst)
{
    EXPECT_EQ(Register(L"first").result, Status::Success);
    EXPECT_EQ(Register(L"second").result, Status::Success);
    ASSERT_EQ(clients.All().size(), 1U);
    EXPECT_EQ(clients.All()[0].name, L"second");
}

TEST_F(HostHandlerTest, CutsANameThatIsTooLong)
{
    EXPECT_EQ(Register(std::wstring(256, L'n')).result, Status::Success);
    EXPECT_EQ(clients.All().at(0).name, std::wstring(256, L'n'));
    EXPECT_EQ(Register(std::wstring(100000, L'n')).result, Status::Success);
    EXPECT_EQ(clients.All().at(0).name, std::wstring(256, L'n'));
}

TEST_F(HostHandlerTest, UnregistersOnce)
{
    EXPECT_EQ(Unregister().result, Status::NotFound);
    Register();
    EXPECT_EQ(Unregister().result, Status::Success);
    EXPECT_EQ(Unregister().result, Status::NotFound);
}

TEST_F(HostHandlerTest, ForgetsAClientWhoseCallbackIsErased)
{
    Register();
    handler.OnCall(client, {RpcCommandId::EraseCallbacks, 1, "another", {}});
    EXPECT_EQ(clients.All().size(), 1U);
    EXPECT_EQ(Execute(RpcCommandId::EraseCallbacks, {}).status, Status::Success);
    EXPECT_TRUE(clients.All().empty());
}

TEST_F(HostHandlerTest, ForgetsAClientThatIsGone)
{
    Register();
    handler.OnDisconnected(client);
    handler.OnDisconnected(client);
    EXPECT_TRUE(clients.All().empty());
    const auto page = journal.Read(0, 10, {});
    ASSERT_EQ(page.records.size(), 2U);
    EXPECT_STREQ(page.records[1]->kind, L"gone");
}

TEST_F(HostHandlerTest, RefusesAnUnknownCommand)
{
    EXPECT_TRUE(Status::Failed(Execute(0x2054, MailBytes(Plugin::EventCenter, Mail::Event, L"{}")).status));
    EXPECT_TRUE(Status::Failed(Execute(0xFFFFFFFF, {}).status));
}

TEST_F(HostHandlerTest, AnswersAMailWithResultIndexAndText)
{
    const Reply reply = Send(Plugin::EventCenter, Mail::Event, L"{\"eventId\":18,\"winSessionId\":1}\n");
    EXPECT_EQ(reply.status, Status::Success);
    EXPECT_EQ(reply.result, Status::Success);
    EXPECT_EQ(reply.param, RpcMessageId);
    EXPECT_TRUE(reply.hasMessage);
    EXPECT_EQ(reply.json, L"{}");
}

TEST_F(HostHandlerTest, AnswersAMailWithoutTextByAMessageWithoutText)
{
    const SvcLink::Answer answer =
        Execute(RpcCommandId::Mail, MailBytes(Plugin::UserActivity, Mail::ActiveWindow, std::nullopt));
    EXPECT_EQ(answer.message, (Bytes{0x14, 0x00, 0x01, 0x00, 100,  0,    0,   0, 44, 0, 0, 0, 0x1A, 0x00,
                                     0x0E, 0x00, 7,    0,    0,    0,    4,   0, 0,  0, 0, 0, 0xFF, 0x20,
                                     0x1D, 0x00, 0x0E, 0x00, 7,    0,    0,   0, 4,  0, 0, 0, 0x14, 0,
                                     1,    0,    0x14, 0x00, 0x01, 0x00, 100, 0, 0,  0, 0, 0, 0,    0}));
}

TEST_F(HostHandlerTest, KnowsEveryMailOfTheAgentAndNoOther)
{
    EXPECT_EQ(Send(Plugin::UserActivity, Mail::ActiveWindow).result, Status::Success);
    EXPECT_EQ(Send(Plugin::UserActivity, Mail::InputInfo).result, Status::Success);
    EXPECT_EQ(Send(Plugin::UserActivity, Mail::Event).result, Status::NotFound);
    EXPECT_EQ(Send(Plugin::EventCenter, Mail::InputInfo).result, Status::NotFound);
    EXPECT_EQ(Send(Plugin::HostProcess, Mail::Event).result, Status::NotFound);
    const Reply reply = Send(0x123456, 1);
    EXPECT_EQ(reply.result, Status::FromBits(0xE0FF000E));
    EXPECT_EQ(reply.param, RpcMessageId);
    EXPECT_TRUE(reply.hasMessage);
}

TEST_F(HostHandlerTest, RefusesEveryPrefixOfAMail)
{
    const Bytes whole = MailBytes(Plugin::EventCenter, Mail::Event, L"{}");
    for (std::size_t length = 0; length < whole.size(); ++length)
    {
        const Bytes prefix(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_EQ(Read(Execute(RpcCommandId::Mail, prefix)).result, Status::InvalidParameter) << length;
    }
}

TEST_F(HostHandlerTest, SurvivesEveryFlippedBitOfAMail)
{
    const Bytes whole = MailBytes(Plugin::EventCenter, Mail::Event, L"{\"eventId\":18}");
    for (std::size_t bit = 0; bit < whole.size() * 8; ++bit)
    {
        Bytes flipped = whole;
        flipped[bit / 8] ^= static_cast<std::uint8_t>(1U << (bit % 8));
        EXPECT_TRUE(Read(Execute(RpcCommandId::Mail, flipped)).result.has_value()) << bit;
    }
}

TEST_F(HostHandlerTest, RefusesAMailWithoutItsParts)
{
    CRpcMsgBuffer inner(RpcMessageId);
    inner.AddUInt(ID_DATA_PRODUCTADAPTER_PLUGIN_ID, Plugin::EventCenter);
    CRpcMsgBuffer noMailId(RpcMessageId);
    noMailId.AddUInt(ID_DATA_PRODUCTADAPTER_PACKER_PARAM, RpcMessageId);
    EXPECT_EQ(Read(Execute(RpcCommandId::Mail, BytesOf(noMailId))).result, Status::InvalidParameter);
    noMailId.AddMessage(inner);
    EXPECT_EQ(Read(Execute(RpcCommandId::Mail, BytesOf(noMailId))).result, Status::InvalidParameter);
    inner.AddUInt(ID_DATA_PRODUCTADAPTER_MAIL_ID, Mail::Event);
    inner.AddUInt(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, 5);
    CRpcMsgBuffer noText(RpcMessageId);
    noText.AddUInt(ID_DATA_PRODUCTADAPTER_PACKER_PARAM, RpcMessageId);
    noText.AddMessage(inner);
    EXPECT_EQ(Read(Execute(RpcCommandId::Mail, BytesOf(noText))).result, Status::InvalidParameter);
}

TEST_F(HostHandlerTest, TakesAnyTextAsTheRequestOfAnEvent)
{
    const std::wstring texts[] = {L"",
                                  L"{",
                                  L"[[[",
                                  L"7",
                                  L"{\"eventId\":\"99999999999999999999\"}",
                                  L"{\"eventId\":{\"a\":[]}}",
                                  L"\xD800",
                                  std::wstring(3, L'\0'),
                                  std::wstring(100'000, L'['),
                                  std::wstring(1'000'000, L'x')};
    for (const std::wstring& text : texts)
    {
        EXPECT_EQ(Send(Plugin::EventCenter, Mail::Event, text).result, Status::Success);
    }
}

TEST_F(HostHandlerTest, NotesWhatItReceived)
{
    Register();
    Send(Plugin::EventCenter, Mail::Event, L"{\"eventId\":18,\"winSessionId\":1}");
    Send(Plugin::UserActivity, Mail::InputInfo, L"{\"lastInputTicket\":5}");
    Send(0x123456, 1);
    Unregister();
    const auto page = journal.Read(0, 10, {});
    ASSERT_EQ(page.records.size(), 5U);
    EXPECT_STREQ(page.records[0]->kind, L"register");
    EXPECT_STREQ(page.records[1]->kind, L"event");
    EXPECT_EQ(page.records[1]->event, L"StartFinished");
    EXPECT_EQ(page.records[1]->request, L"{\"eventId\":18,\"winSessionId\":1}");
    EXPECT_STREQ(page.records[2]->kind, L"mail");
    EXPECT_EQ(page.records[2]->pluginId, Plugin::UserActivity);
    EXPECT_EQ(page.records[2]->mailId, Mail::InputInfo);
    EXPECT_EQ(page.records[3]->status, Status::NotFound);
    EXPECT_STREQ(page.records[4]->kind, L"unregister");
    EXPECT_EQ(page.records[4]->processId, client.processId);
}

TEST_F(HostHandlerTest, GivesTheCallerAHandleThatIsGoodForWaitingAlone)
{
    const std::wstring request = L"{\"pid\":" + std::to_wstring(client.processId) + L"}\n";
    const Reply reply = Send(Plugin::HostProcess, Mail::DuplicateHostHandle, request);
    EXPECT_EQ(reply.result, Status::Success);
    QxCommon::JsonDb json;
    ASSERT_EQ(json.ParseFromString(reply.json.value_or(L"")), 0U);
    const VzCommon::KernelHandle handle(reinterpret_cast<HANDLE>(QxCommon::UInt64OrZero(json[L"handle"])));
    EXPECT_EQ(WaitForSingleObject(handle.Get(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
    DWORD code = 0;
    EXPECT_FALSE(GetExitCodeProcess(handle.Get(), &code));
    EXPECT_FALSE(TerminateProcess(handle.Get(), 1));
}

TEST_F(HostHandlerTest, GivesNoHandleIntoAnotherProcess)
{
    const std::wstring others[] = {L"{\"pid\":" + std::to_wstring(client.processId + 4) + L"}", L"{}", L"[]",
                                   L""};
    for (const std::wstring& request : others)
    {
        const Reply reply = Send(Plugin::HostProcess, Mail::DuplicateHostHandle, request);
        EXPECT_EQ(reply.result, Status::InvalidParameter);
        EXPECT_EQ(reply.json, L"{}");
    }
    EXPECT_EQ(Send(Plugin::HostProcess, Mail::DuplicateHostHandle, std::nullopt).result,
              Status::InvalidParameter);
}

TEST_F(HostHandlerTest, AnswersAMailWhosePluginThrows)
{
    constexpr std::uint32_t id = 0x4E0300;
    ASSERT_TRUE(plugins.Add(id, std::make_unique<ThrowingPlugin>()));
    EXPECT_EQ(Send(id, 1).status, Status::Failure);
    EXPECT_EQ(Send(id, 2).status, Status::OutOfMemory);
    EXPECT_EQ(Send(id, 3).status, Status::Failure);
    EXPECT_EQ(Send(Plugin::EventCenter, Mail::Event).status, Status::Success);
}

TEST_F(HostHandlerTest, OutlivesAJournalThatHasNoMemoryForTheTime)
{
    Register();
    const TestSupport::ImportPatch patch(nullptr, "_vsnwprintf_s", &RefuseFormat);
    EXPECT_EQ(Send(Plugin::EventCenter, Mail::Event).status, Status::Failure);
    EXPECT_EQ(Register().status, Status::Failure);
    handler.OnDisconnected(client);
    EXPECT_TRUE(clients.All().empty());
}

TEST_F(HostHandlerTest, ReadsNoLongRequestForAHandle)
{
    std::wstring request = L"{\"pid\":" + std::to_wstring(client.processId) + L"}";
    request.resize(256, L' ');
    EXPECT_EQ(Send(Plugin::HostProcess, Mail::DuplicateHostHandle, request).result, Status::Success);
    request += L' ';
    EXPECT_EQ(Send(Plugin::HostProcess, Mail::DuplicateHostHandle, request).result, Status::InvalidParameter);
}

TEST_F(HostHandlerTest, SaysSoWhereItMayNotOpenTheCaller)
{
    const SvcLink::Client gone{8, 0xFFFFFFF0, 1};
    const Bytes mail = MailBytes(Plugin::HostProcess, Mail::DuplicateHostHandle, L"{\"pid\":4294967280}");
    const Reply reply = Read(handler.OnCall(gone, {RpcCommandId::Mail, 1, trackingId, mail}));
    EXPECT_EQ(reply.result, Status::Success);
    EXPECT_EQ(reply.json, L"{\"handle\":18446744073709551615}");
}
