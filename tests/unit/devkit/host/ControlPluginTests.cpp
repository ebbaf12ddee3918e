// The control mails but for "Answer".
#include "HostFixture.h"

#include <thread>

#include "WaitUntil.h"

using ControlPluginTest = HostFixture;

TEST_F(ControlPluginTest, IsForAdministratorsAlone)
{
    isAdministrator = false;
    for (const std::uint32_t mail : {Control::Status, Control::Send, Control::Watch, Control::Answer})
    {
        const Reply reply = ControlMail(mail, L"{}");
        EXPECT_EQ(reply.result, Status::FromSystemError(ERROR_ACCESS_DENIED));
        EXPECT_EQ(reply.json, L"{}");
    }
}

TEST_F(ControlPluginTest, RefusesWhatIsNoRequest)
{
    for (const std::uint32_t mail : {Control::Status, Control::Send, Control::Watch, Control::Answer})
    {
        EXPECT_EQ(ControlMail(mail, L"{\"").result, Status::InvalidParameter);
    }
    EXPECT_EQ(Send(Control::PluginId, Control::Status, std::nullopt).result, Status::InvalidParameter);
    EXPECT_EQ(ControlMail(5, L"{}").result, Status::NotFound);
    EXPECT_EQ(ControlMail(Control::Send, L"{}").result, Status::InvalidParameter);
}

TEST_F(ControlPluginTest, ReportsServiceAndClients)
{
    Register(L"Qx \"Tray\"");
    Send(Plugin::EventCenter, Mail::Event);
    Send(Plugin::EventCenter, Mail::Event);
    EXPECT_EQ(ControlMail(Control::Status, L"{}").result, Status::Success);
    EXPECT_EQ(tree[L"service"][L"name"].AsString(), L"Test Host Service");
    EXPECT_EQ(tree[L"service"][L"processId"].AsUInt(), GetCurrentProcessId());
    EXPECT_EQ(tree[L"service"][L"startedAt"].AsString().size(), 23U);
    EXPECT_TRUE(tree[L"service"].HasMember(L"product"));
    ASSERT_EQ(tree[L"clients"].Size(), 1U);
    QxCommon::JsonDb registered(tree[L"clients"][0]);
    EXPECT_EQ(registered[L"processId"].AsUInt(), client.processId);
    EXPECT_EQ(registered[L"sessionId"].AsUInt(), 1U);
    EXPECT_EQ(registered[L"clientName"].AsString(), L"Qx \"Tray\"");
    EXPECT_EQ(registered[L"registeredAt"].AsString()[10], L'T');
    EXPECT_EQ(registered[L"mails"].AsUInt(), 2U);
}

TEST_F(ControlPluginTest, SendsACommandAsItIsAndBringsTheReply)
{
    Register();
    EXPECT_EQ(ControlMail(Control::Send, LR"({"processId":0,"command":"no \"JSON\""})").result,
              Status::Success);
    EXPECT_EQ(commands, std::vector<std::wstring>{L"no \"JSON\""});
    EXPECT_EQ(tree[L"processId"].AsUInt(), client.processId);
    EXPECT_EQ(tree[L"status"].AsInt(), Status::Success);
    EXPECT_EQ(tree[L"reply"].AsString(), L"{\"retCode\":553582592}\n");
    const auto page = journal.Read(1, 10, {});
    ASSERT_EQ(page.records.size(), 1U);
    EXPECT_STREQ(page.records[0]->kind, L"command");
    EXPECT_EQ(page.records[0]->request, L"no \"JSON\"");
}

TEST_F(ControlPluginTest, SendsNothingToNobody)
{
    EXPECT_EQ(ControlMail(Control::Send, LR"({"command":"{}"})").result, Status::NotFound);
    EXPECT_FALSE(tree.HasMember(L"reply"));
    Register();
    EXPECT_EQ(ControlMail(Control::Send, LR"({"processId":3,"command":"{}"})").result, Status::NotFound);
    clients.Register({8, 4711, 1}, L"other", "");
    EXPECT_EQ(ControlMail(Control::Send, LR"({"processId":0,"command":"{}"})").result, Status::NotFound);
    EXPECT_TRUE(commands.empty());
}

TEST_F(ControlPluginTest, TellsHowASendFailed)
{
    Register();
    clientAnswer = {Status::FromSystemError(1231), {}};
    EXPECT_EQ(ControlMail(Control::Send, LR"({"command":"{}"})").result, Status::Success);
    EXPECT_EQ(tree[L"status"].AsInt(), Status::FromSystemError(1231));
    EXPECT_FALSE(tree.HasMember(L"reply"));
}

TEST_F(ControlPluginTest, ShowsTheJournal)
{
    Register();
    Send(Plugin::EventCenter, Mail::Event, L"{\"eventId\":16}");
    EXPECT_EQ(ControlMail(Control::Watch, LR"({"after":1,"waitMs":0})").result, Status::Success);
    EXPECT_EQ(tree[L"next"].AsUInt(), 2U);
    EXPECT_EQ(tree[L"lost"].AsUInt(), 0U);
    ASSERT_EQ(tree[L"records"].Size(), 1U);
    QxCommon::JsonDb record(tree[L"records"][0]);
    EXPECT_EQ(record[L"sequence"].AsUInt(), 2U);
    EXPECT_EQ(record[L"time"].AsString().size(), 23U);
    EXPECT_EQ(record[L"kind"].AsString(), L"event");
    EXPECT_EQ(record[L"processId"].AsUInt(), client.processId);
    EXPECT_EQ(record[L"sessionId"].AsUInt(), 1U);
    EXPECT_EQ(record[L"pluginId"].AsUInt(), 5U);
    EXPECT_EQ(record[L"mailId"].AsUInt(), 0x1802U);
    EXPECT_EQ(record[L"request"].AsString(), L"{\"eventId\":16}");
    EXPECT_EQ(record[L"event"].AsString(), L"SessionActive");
    EXPECT_EQ(record[L"status"].AsInt(), Status::Success);
}

TEST_F(ControlPluginTest, ShowsTheJournalInPages)
{
    for (int i = 0; i < 5; ++i)
    {
        Send(Plugin::EventCenter, Mail::Event);
    }
    ControlMail(Control::Watch, LR"({"after":0,"max":2})");
    EXPECT_EQ(tree[L"records"].Size(), 2U);
    EXPECT_EQ(tree[L"next"].AsUInt(), 2U);
    ControlMail(Control::Watch, LR"({"after":4,"max":2})");
    EXPECT_EQ(tree[L"records"].Size(), 1U);
    EXPECT_EQ(tree[L"next"].AsUInt(), 5U);
    ControlMail(Control::Watch, LR"({"after":5,"max":2,"waitMs":0})");
    EXPECT_EQ(tree[L"records"].Size(), 0U);
    EXPECT_EQ(tree[L"next"].AsUInt(), 5U);
}

TEST_F(ControlPluginTest, WatchesFromNowOn)
{
    Send(Plugin::EventCenter, Mail::Event);
    ControlMail(Control::Watch, LR"({"after":0,"waitMs":0,"fromNow":true})");
    EXPECT_EQ(tree[L"records"].Size(), 0U);
    EXPECT_EQ(tree[L"next"].AsUInt(), 1U);
}

TEST_F(ControlPluginTest, WatchesUntilSomethingComes)
{
    std::thread watcher([this] { ControlMail(Control::Watch, LR"({"after":0,"waitMs":60000})"); });
    Send(Plugin::EventCenter, Mail::Event);
    watcher.join();
    EXPECT_EQ(tree[L"records"].Size(), 1U);
    std::thread stopped([this] { ControlMail(Control::Watch, LR"({"after":1,"waitMs":60000})"); });
    journal.Close();
    stopped.join();
    EXPECT_EQ(tree[L"records"].Size(), 0U);
}

TEST_F(ControlPluginTest, KeepsThePagesOfLargeRecordsSmall)
{
    for (int i = 0; i < 60; ++i)
    {
        Send(Plugin::UserActivity, Mail::InputInfo, std::wstring(100'000, L'"'));
    }
    std::uint64_t next = 0;
    std::size_t records = 0;
    for (int page = 0; page < 60 && records < 60; ++page)
    {
        const Reply reply =
            ControlMail(Control::Watch, L"{\"waitMs\":0,\"after\":" + std::to_wstring(next) + L"}");
        EXPECT_LT(reply.json.value_or(L"").size(), 1'100'000U);
        ASSERT_GT(tree[L"records"].Size(), 0U);
        records += tree[L"records"].Size();
        next = tree[L"next"].AsUInt64();
    }
    EXPECT_EQ(records, 60U);
}

TEST_F(ControlPluginTest, SurvivesAnyRequest)
{
    const std::wstring values[] = {
        L"\"99999999999999999999\"", L"[]", L"{}", L"null", L"-1", L"1e308", L"true"};
    for (const std::wstring& value : values)
    {
        for (const std::wstring key : {L"after", L"max", L"fromNow", L"processId", L"command", L"timeoutMs",
                                       L"pluginId", L"drop", L"times", L"status", L"json", L"reset"})
        {
            const std::wstring json = L"{\"waitMs\":0,\"" + key + L"\":" + value + L"}";
            for (const std::uint32_t mail : {Control::Status, Control::Send, Control::Watch, Control::Answer})
            {
                EXPECT_TRUE(ControlMail(mail, json).result.has_value());
            }
        }
    }
}
