#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AnswerRules.h"
#include "BuiltInPlugins.h"
#include "ClientTable.h"
#include "Commander.h"
#include "ControlMails.h"
#include "ControlPlugin.h"
#include "HostHandler.h"
#include "Journal.h"
#include "MessageIds.h"
#include "Plugin.h"
#include "QxCommon_JsonDb.h"
#include "RpcMsgBuffer.h"
#include "StopSignal.h"

// The service without its transport: calls go to the handler, callbacks to a function of the test.
class HostFixture : public testing::Test
{
protected:
    using Bytes = std::vector<std::uint8_t>;

    // What an answer to a mail holds; a value that it lacks is not set.
    struct Reply
    {
        AgentStatus status = 0;
        std::optional<AgentStatus> result;
        std::optional<std::uint32_t> param;
        bool hasMessage = false;
        std::optional<std::wstring> json;
    };

    HostFixture()
    {
        EXPECT_TRUE(plugins.Add(Plugin::EventCenter, std::make_unique<SvcHost::EventCenterPlugin>()));
        EXPECT_TRUE(plugins.Add(Plugin::UserActivity, std::make_unique<SvcHost::UserActivityPlugin>()));
        EXPECT_TRUE(plugins.Add(Plugin::HostProcess, std::make_unique<SvcHost::HostProcessPlugin>()));
        EXPECT_TRUE(plugins.Add(
            Control::PluginId, std::make_unique<SvcHost::ControlPlugin>(
                                   SvcHost::ControlPlugin::Parts{clients, journal, rules, commander},
                                   L"Test Host Service", [this](std::uint32_t) { return isAdministrator; })));
    }

    static Bytes BytesOf(const CRpcMsgBuffer& message)
    {
        return {message.Bytes().begin(), message.Bytes().end()};
    }

    static void AddText(CRpcMsgBuffer& message, std::uint32_t id, const std::wstring& text)
    {
        message.AddString(id, text.c_str(), static_cast<std::uint32_t>(text.size()));
    }

    static Bytes Registration(const std::wstring& name, std::uint32_t processId)
    {
        CRpcMsgBuffer message(RpcMessageId);
        AddText(message, ID_DATA_PRODUCTADAPTER_CLIENT_NAME, name);
        message.AddUInt(ID_DATA_PRODUCTADAPTER_PROCESS_ID, processId);
        return BytesOf(message);
    }

    static Bytes ProcessId(std::uint32_t processId)
    {
        CRpcMsgBuffer message(RpcMessageId);
        message.AddUInt(ID_DATA_PRODUCTADAPTER_PROCESS_ID, processId);
        return BytesOf(message);
    }

    static Bytes MailBytes(std::uint32_t plugin, std::uint32_t mail, const std::optional<std::wstring>& json)
    {
        CRpcMsgBuffer inner(RpcMessageId);
        if (json)
        {
            AddText(inner, ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING, *json);
        }
        inner.AddInt(ID_DATA_PRODUCTADAPTER_JSON_FLAG, 0);
        inner.AddUInt(ID_DATA_PRODUCTADAPTER_PROCESS_ID, 1);
        inner.AddUInt(ID_DATA_PRODUCTADAPTER_THREAD_ID, 2);
        inner.AddUInt(ID_DATA_PRODUCTADAPTER_PLUGIN_ID, plugin);
        inner.AddUInt(ID_DATA_PRODUCTADAPTER_MAIL_ID, mail);
        CRpcMsgBuffer outer(RpcMessageId);
        outer.AddUInt(ID_DATA_PRODUCTADAPTER_PACKER_PARAM, RpcMessageId);
        outer.AddMessage(inner);
        return BytesOf(outer);
    }

    static Reply Read(const SvcLink::Answer& answer)
    {
        Reply reply;
        reply.status = answer.status;
        CRpcMsgBuffer outer(0);
        outer.Assign(answer.message.data(), static_cast<std::uint32_t>(answer.message.size()));
        std::uint32_t number = 0;
        if (!Status::Failed(outer.GetUInt(ID_DATA_PRODUCTADAPTER_COMM_MAILRESULT, number)))
        {
            reply.result = static_cast<AgentStatus>(number);
        }
        if (!Status::Failed(outer.GetUInt(ID_DATA_PRODUCTADAPTER_PACKER_PARAM, number)))
        {
            reply.param = number;
        }
        CRpcMsgBuffer inner(0);
        reply.hasMessage = !Status::Failed(outer.GetMessage(RpcMessageId, inner));
        std::wstring text;
        if (!Status::Failed(SvcHost::ReadReply(inner.Bytes(), text)))
        {
            reply.json = text;
        }
        return reply;
    }

    SvcLink::Answer Execute(std::uint32_t command, const Bytes& message)
    {
        return handler.OnCall(client, {command, 1, trackingId, message});
    }

    Reply Register(const std::wstring& name = L"QxSystemTray")
    {
        return Read(Execute(RpcCommandId::RegisterProcess, Registration(name, client.processId)));
    }

    Reply Unregister() { return Read(Execute(RpcCommandId::UnregisterProcess, ProcessId(client.processId))); }

    Reply Send(std::uint32_t plugin, std::uint32_t mail, const std::optional<std::wstring>& json = L"{}")
    {
        return Read(Execute(RpcCommandId::Mail, MailBytes(plugin, mail, json)));
    }

    // A control mail, and its reply as a tree.
    Reply ControlMail(std::uint32_t mail, const std::wstring& json)
    {
        const Reply reply = Send(Control::PluginId, mail, json);
        tree.ParseFromString(reply.json.value_or(L"null"));
        return reply;
    }

    void Order(const std::wstring& json)
    {
        EXPECT_EQ(ControlMail(Control::Answer, json).result, Status::Success) << json.c_str();
    }

    const SvcLink::Client client{7, GetCurrentProcessId(), 1};
    const std::string trackingId = "00000003-1111-2222-3333-444455556666";
    bool isAdministrator = true;
    std::vector<std::wstring> commands; // that were sent to clients
    SvcLink::Answer clientAnswer{Status::Success, SvcHost::CommandMessage(L"{\"retCode\":553582592}\n")};

    SvcHost::Journal journal{L""};
    SvcHost::ClientTable clients;
    SvcHost::AnswerRules rules;
    SvcHost::StopSignal stopping;
    SvcHost::PluginTable plugins;
    SvcHost::HostHandler handler{{clients, journal, rules, plugins, stopping}};
    SvcHost::Commander commander{clients, journal,
                                 [this](std::uint64_t connection, const std::string& tracking,
                                        std::span<const std::uint8_t> message, std::chrono::milliseconds)
                                 {
                                     EXPECT_EQ(connection, client.id);
                                     EXPECT_EQ(tracking, trackingId);
                                     std::wstring text;
                                     EXPECT_EQ(SvcHost::ReadReply(message, text), Status::Success);
                                     commands.push_back(text);
                                     return clientAnswer;
                                 }};
    QxCommon::JsonDb tree; // of the last control mail
};
