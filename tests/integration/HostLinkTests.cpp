// A client of the running host service, over the link's own library.
#include "HostProgram.h"

#include "ControlMails.h"
#include "MessageIds.h"
#include "QxCommon_JsonDb.h"
#include "RpcDataHandleWrapper.h"
#include "WaitUntil.h"
#include "svcLink.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

namespace
{
using std::chrono::steady_clock;

std::atomic<int> g_called = 0;
std::atomic<bool> g_answers = true; // false: a command is held until the test ends

std::int32_t OnCommand(const char* /*trackingId*/, const CRpcCommandResult& in, CRpcCommandResult& out)
{
    ++g_called;
    (void)TestSupport::WaitUntil([] { return g_answers.load(); });
    const CRpcDataHandleWrapper command(in.data);
    std::wstring text;
    (void)command.Get(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, text);
    text = L"answer to " + text;
    CRpcDataHandleWrapper reply;
    reply.Create();
    reply.Message()->AddString(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, text.c_str(),
                               static_cast<std::uint32_t>(text.size()));
    out.iStatus = Status::Success;
    out.uMessageId = RpcMessageId;
    return reply.CopyTo(out.data);
}

class HostLinkTest : public testing::Test
{
protected:
    struct Reply
    {
        AgentStatus status = 0;
        AgentStatus result = 0;
        std::wstring text;
    };

    HostLinkTest()
    {
        g_called = 0;
        g_answers = true;
        EXPECT_EQ(host.Run(L"--install").code, 0U);
        EXPECT_EQ(host.Run(L"--start").code, 0U);
    }

    ~HostLinkTest() override { g_answers = true; }

    AgentStatus Execute(std::uint32_t id, const CRpcDataHandleWrapper& data,
                        CRpcClientManager::Callback callback, CRpcDataHandleWrapper& answer)
    {
        CRpcCommand command{};
        command.uCommandId = id;
        command.uSecond = id == RpcCommandId::RegisterProcess ? 0 : 1;
        manager->CreateUUID(command.szTrackingId, sizeof command.szTrackingId);
        data.CopyTo(command.data);
        CRpcCommandResult result{};
        const AgentStatus status = manager->ExecuteCommand(command, callback, result);
        manager->DestroyDataHandle(&command.data);
        CRpcDataHandleWrapper shared(result.data);
        shared.CopyTo(answer.Handle());
        manager->DestroyDataHandle(&result.data);
        return status;
    }

    static AgentStatus ResultOf(const CRpcDataHandleWrapper& answer)
    {
        std::uint32_t result = 0;
        return answer.Message() != nullptr && !Status::Failed(answer.Message()->GetUInt(
                                                  ID_DATA_PRODUCTADAPTER_COMM_MAILRESULT, result))
                   ? static_cast<AgentStatus>(result)
                   : 0;
    }

    AgentStatus Register()
    {
        CRpcDataHandleWrapper data;
        CRpcDataHandleWrapper answer;
        data.Create();
        data.Message()->AddString(ID_DATA_PRODUCTADAPTER_CLIENT_NAME, L"Test", 4);
        data.Message()->AddUInt(ID_DATA_PRODUCTADAPTER_PROCESS_ID, GetCurrentProcessId());
        const AgentStatus status = Execute(RpcCommandId::RegisterProcess, data, &OnCommand, answer);
        return Status::Failed(status) ? status : ResultOf(answer);
    }

    AgentStatus Unregister()
    {
        CRpcDataHandleWrapper data;
        CRpcDataHandleWrapper answer;
        data.Create();
        data.Message()->AddUInt(ID_DATA_PRODUCTADAPTER_PROCESS_ID, GetCurrentProcessId());
        const AgentStatus status = Execute(RpcCommandId::UnregisterProcess, data, nullptr, answer);
        return Status::Failed(status) ? status : ResultOf(answer);
    }

    Reply Mail(std::uint32_t pluginId, std::uint32_t mailId, const std::wstring& json)
    {
        CRpcMsgBuffer inner(RpcMessageId);
        inner.AddString(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, json.c_str(),
                        static_cast<std::uint32_t>(json.size()));
        inner.AddUInt(ID_DATA_PRODUCTADAPTER_PLUGIN_ID, pluginId);
        inner.AddUInt(ID_DATA_PRODUCTADAPTER_MAIL_ID, mailId);
        CRpcDataHandleWrapper data;
        CRpcDataHandleWrapper answer;
        data.Create();
        data.Message()->AddUInt(ID_DATA_PRODUCTADAPTER_PACKER_PARAM, RpcMessageId);
        data.Message()->AddMessage(inner);
        Reply reply;
        reply.status = Execute(RpcCommandId::Mail, data, nullptr, answer);
        reply.result = ResultOf(answer);
        CRpcDataHandleWrapper nested;
        (void)CRpcDataHandleWrapper::ExtractMessage(RpcMessageId, nested.Handle(), answer.Handle());
        (void)nested.Get(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, reply.text);
        return reply;
    }

    Reply ControlMail(std::uint32_t mailId, const std::wstring& json)
    {
        const Reply reply = Mail(Control::PluginId, mailId, json);
        tree.ParseFromString(reply.text.empty() ? L"null" : reply.text);
        return reply;
    }

    // Stops the service and gives the time that it took.
    std::chrono::milliseconds Stop() const
    {
        const auto begin = steady_clock::now();
        EXPECT_EQ(host.Run(L"--stop").code, 0U);
        return std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - begin);
    }

    const HostProgram host{L"QxSvcHost.exe"};
    // Made and deleted as an agent does: the library exports no other way.
    const std::unique_ptr<CRpcClientManager> manager{new CRpcClientManager(nullptr, 1000)};
    QxCommon::JsonDb tree; // of the last control mail
};
} // namespace

TEST_F(HostLinkTest, RegistersAndIsCalledBack)
{
    ASSERT_EQ(Register(), Status::Success);
    EXPECT_EQ(ControlMail(Control::Status, L"{}").result, Status::Success);
    EXPECT_EQ(tree[L"service"][L"name"].AsString(), L"Oravex Host Service");
    EXPECT_EQ(tree[L"service"][L"product"].AsString(), L"Oravex");
    EXPECT_EQ(tree[L"clients"][0][L"processId"].AsUInt(), GetCurrentProcessId());
    EXPECT_EQ(ControlMail(Control::Send, LR"({"command":"{\"JD_COMMAND_ID\":3000}"})").result,
              Status::Success);
    EXPECT_EQ(tree[L"reply"].AsString(), L"answer to {\"JD_COMMAND_ID\":3000}");
    EXPECT_EQ(tree[L"status"].AsInt(), Status::Success);
    EXPECT_EQ(Unregister(), Status::Success);
    EXPECT_EQ(ControlMail(Control::Send, LR"({"command":"{}"})").result, Status::NotFound);
    EXPECT_EQ(g_called, 1);
}

TEST_F(HostLinkTest, SendsEventsThatAWatcherSees)
{
    ASSERT_EQ(Register(), Status::Success);
    ControlMail(Control::Watch, LR"({"fromNow":true,"waitMs":0})");
    const std::uint32_t next = tree[L"next"].AsUInt();
    EXPECT_EQ(Mail(Plugin::EventCenter, ::Mail::Event, L"{\"eventId\":18}").result, Status::Success);
    EXPECT_EQ(Mail(0x123456, 1, L"{}").result, Status::NotFound);
    ControlMail(Control::Watch, L"{\"waitMs\":30000,\"after\":" + std::to_wstring(next) + L"}");
    ASSERT_EQ(tree[L"records"].Size(), 2U);
    EXPECT_EQ(tree[L"records"][0][L"event"].AsString(), L"StartFinished");
    EXPECT_EQ(tree[L"records"][0][L"processId"].AsUInt(), GetCurrentProcessId());
    EXPECT_EQ(tree[L"records"][1][L"kind"].AsString(), L"mail");
}

TEST_F(HostLinkTest, GetsAHandleThatIsSignalledWhenTheServiceEnds)
{
    const std::wstring request = L"{\"pid\":" + std::to_wstring(GetCurrentProcessId()) + L"}";
    const Reply reply = Mail(Plugin::HostProcess, ::Mail::DuplicateHostHandle, request);
    ASSERT_EQ(reply.result, Status::Success);
    ASSERT_EQ(tree.ParseFromString(reply.text), 0U);
    const VzCommon::KernelHandle service(reinterpret_cast<HANDLE>(QxCommon::UInt64OrZero(tree[L"handle"])));
    EXPECT_EQ(WaitForSingleObject(service.Get(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
    Stop();
    EXPECT_EQ(WaitForSingleObject(service.Get(), 30'000), static_cast<DWORD>(WAIT_OBJECT_0));
}

TEST_F(HostLinkTest, IsNotHeldUpByAnAnswerThatWaitsWhenTheServiceStops)
{
    ASSERT_EQ(Register(), Status::Success);
    ControlMail(Control::Answer, LR"({"pluginId":5,"mailId":6146,"delayMs":600000})");
    std::atomic<AgentStatus> status = 0;
    std::thread waiting([&] { status = Mail(Plugin::EventCenter, ::Mail::Event, L"{}").status; });
    ControlMail(Control::Watch, LR"({"after":1,"waitMs":30000})");
    EXPECT_EQ(tree[L"records"].Size(), 1U);
    EXPECT_EQ(Mail(Plugin::UserActivity, ::Mail::InputInfo, L"{}").result, Status::Success);
    EXPECT_LT(Stop(), std::chrono::seconds(5));
    waiting.join();
}

TEST_F(HostLinkTest, IsNotHeldUpByAClientThatNeverAnswersWhenTheServiceStops)
{
    ASSERT_EQ(Register(), Status::Success);
    g_answers = false;
    std::atomic<bool> failed = false;
    std::thread waiting(
        [&]
        {
            const Reply reply = Mail(Control::PluginId, Control::Send, LR"({"command":"{}"})");
            failed = Status::Failed(reply.status) || reply.text.find(L"reply") == std::wstring::npos;
        });
    EXPECT_TRUE(TestSupport::WaitUntil([] { return g_called == 1; }));
    EXPECT_EQ(Mail(Plugin::UserActivity, ::Mail::InputInfo, L"{}").result, Status::Success);
    EXPECT_LT(Stop(), std::chrono::seconds(5));
    waiting.join();
    EXPECT_TRUE(failed);
    g_answers = true;
}

TEST_F(HostLinkTest, IsToldWhenACommandIsNotAnsweredInTime)
{
    ASSERT_EQ(Register(), Status::Success);
    g_answers = false;
    EXPECT_EQ(ControlMail(Control::Send, LR"({"command":"{}","timeoutMs":50})").result, Status::Success);
    EXPECT_EQ(tree[L"status"].AsInt(), Status::FromSystemError(ERROR_TIMEOUT));
    g_answers = true;
    EXPECT_EQ(ControlMail(Control::Send, LR"({"command":"{}"})").result, Status::Success);
    EXPECT_EQ(tree[L"status"].AsInt(), Status::Success);
}

TEST_F(HostLinkTest, IsUnknownWhereTheServiceIsToldToSaySo)
{
    ControlMail(Control::Answer, LR"({"pluginId":0,"mailId":8274,"status":3758163971,"times":1})");
    EXPECT_EQ(Register(), Status::UnknownClient);
    EXPECT_EQ(Register(), Status::Success);
}
