#include "HostHandler.h"

#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "ControlMails.h"
#include "EventNames.h"
#include "LinkMessage.h"
#include "MessageIds.h"
#include "VzComn_Exception.h"
#include "VzComn_LogFront.h"

namespace SvcHost
{
namespace
{
// True if the order is to fail the command, which then is not carried out.
bool Refuses(const AnswerRule& rule)
{
    return Status::Failed(rule.status.value_or(Status::Success)) ||
           Status::Failed(rule.result.value_or(Status::Success));
}

AgentStatus RefusalOf(const AnswerRule& rule)
{
    return rule.result.value_or(rule.status.value_or(Status::Success));
}

// What the operation throws ends here, as a status: above it there is a thread of the link alone.
template <typename Operation>
AgentStatus Contain(const Operation& operation)
{
    try
    {
        operation();
        return Status::Success;
    }
    catch (VzCommon::Exception::Base* caught)
    {
        const std::unique_ptr<VzCommon::Exception::Base> exception(caught);
        return Status::Failure;
    }
    catch (const std::bad_alloc&)
    {
        return Status::OutOfMemory;
    }
    catch (const std::exception&)
    {
        return Status::Failure;
    }
}

void LogFailure(const wchar_t* what, const SvcLink::Client& client, AgentStatus status)
{
    LOG_ERROR << what << L", process=" << client.processId << L", status=0x" << std::hex << status;
}
} // namespace

void HostHandler::OnConnected(const SvcLink::Client& client)
{
    // A line less is all that can come of it.
    static_cast<void>(Contain(
        [&client]
        { LOG_INFO << L"connected, process=" << client.processId << L", session=" << client.sessionId; }));
}

void HostHandler::OnDisconnected(const SvcLink::Client& client)
{
    const AgentStatus status = Contain(
        [&]
        {
            LOG_INFO << L"disconnected, process=" << client.processId;
            if (m_parts.clients.Unregister(client.id))
            {
                Note(client, L"gone", std::nullopt);
            }
        });
    if (Status::Failed(status))
    {
        LogFailure(L"it is not noted that a client is gone", client, status);
    }
}

SvcLink::Answer HostHandler::OnCall(const SvcLink::Client& client, const SvcLink::Call& call)
{
    SvcLink::Answer answer;
    const AgentStatus status = Contain([&] { answer = Dispatch(client, call); });
    if (Status::Failed(status))
    {
        LogFailure(L"a command failed", client, status);
        return {status, {}};
    }
    return answer;
}

SvcLink::Answer HostHandler::Dispatch(const SvcLink::Client& client, const SvcLink::Call& call)
{
    switch (call.commandId)
    {
    case RpcCommandId::EraseCallbacks: return OnErase(client, call);
    case RpcCommandId::Mail: return OnMail(client, call);
    case RpcCommandId::RegisterProcess: return OnRegister(client, call);
    case RpcCommandId::UnregisterProcess: return OnUnregister(client, call);
    default:
        LOG_WARN << L"unknown command " << call.commandId << L", process=" << client.processId;
        return {Status::InvalidParameter, {}};
    }
}

AgentStatus HostHandler::Register(const SvcLink::Client& client, const SvcLink::Call& call,
                                  std::wstring& name)
{
    Registration registration;
    const AgentStatus status = ReadRegistration(call.message, registration);
    name = registration.clientName;
    if (Status::Failed(status) || registration.processId != client.processId)
    {
        LOG_WARN << L"registration refused, process=" << client.processId << L", as="
                 << registration.processId;
        return Status::InvalidParameter;
    }
    m_parts.clients.Register(client, std::move(registration.clientName), call.trackingId);
    return Status::Success;
}

SvcLink::Answer HostHandler::OnRegister(const SvcLink::Client& client, const SvcLink::Call& call)
{
    const AnswerRule rule = RuleFor(0, call.commandId).value_or(AnswerRule());
    std::wstring name;
    const AgentStatus done = Refuses(rule) ? RefusalOf(rule) : Register(client, call, name);
    const AgentStatus result = rule.result.value_or(done);
    Note(client, L"register", result, name);
    m_parts.stopping.WaitFor(rule.delay);
    return {rule.status.value_or(Status::Success), ResultAnswer(result, rule.drop)};
}

AgentStatus HostHandler::Unregister(const SvcLink::Client& client, const SvcLink::Call& call)
{
    std::uint32_t processId = 0;
    if (Status::Failed(ReadProcessId(call.message, processId)) || processId != client.processId)
    {
        return Status::InvalidParameter;
    }
    return m_parts.clients.Unregister(client.id) ? Status::Success : Status::NotFound;
}

SvcLink::Answer HostHandler::OnUnregister(const SvcLink::Client& client, const SvcLink::Call& call)
{
    const AnswerRule rule = RuleFor(0, call.commandId).value_or(AnswerRule());
    const AgentStatus done = Refuses(rule) ? RefusalOf(rule) : Unregister(client, call);
    const AgentStatus result = rule.result.value_or(done);
    Note(client, L"unregister", result);
    m_parts.stopping.WaitFor(rule.delay);
    return {rule.status.value_or(Status::Success), ResultAnswer(result, rule.drop)};
}

// A client that cannot be called back under its tracking id is no longer registered.
SvcLink::Answer HostHandler::OnErase(const SvcLink::Client& client, const SvcLink::Call& call)
{
    if (m_parts.clients.EraseTrackingId(client.id, call.trackingId))
    {
        Note(client, L"unregister", Status::Success);
    }
    return {Status::Success, {}};
}

std::optional<AnswerRule> HostHandler::RuleFor(std::uint32_t pluginId, std::uint32_t mailId)
{
    return m_parts.rules.Take(pluginId, mailId);
}

MailReply HostHandler::RunPlugin(const SvcLink::Client& client, const Mail& mail) const
{
    Plugin* plugin = m_parts.plugins.Find(mail.pluginId);
    if (plugin == nullptr)
    {
        LOG_WARN << L"no plug-in " << mail.pluginId << L" for mail " << mail.mailId;
        return {Status::NotFound};
    }
    return plugin->OnMail({client, mail.mailId, mail.request});
}

SvcLink::Answer HostHandler::OnMail(const SvcLink::Client& client, const SvcLink::Call& call)
{
    Mail mail;
    if (const AgentStatus status = ReadMail(call.message, mail); Status::Failed(status))
    {
        LOG_WARN << L"malformed mail, process=" << client.processId;
        Note(client, L"mail", status);
        return {Status::Success, MailAnswer(status, std::nullopt, Drop())};
    }
    if (mail.pluginId == Control::PluginId)
    {
        const MailReply reply = RunPlugin(client, mail);
        return {Status::Success, MailAnswer(reply.result, reply.json, Drop())};
    }
    m_parts.clients.CountMail(client.id);
    std::optional<AnswerRule> found = RuleFor(mail.pluginId, mail.mailId);
    const AnswerRule rule = (found ? found : RuleFor(0, RpcCommandId::Mail)).value_or(AnswerRule());
    // A reply that was ordered, or a call that is to fail, leaves nothing for the plug-in to do.
    const bool runs = !rule.json && !Status::Failed(rule.status.value_or(Status::Success));
    MailReply reply = runs ? RunPlugin(client, mail) : MailReply{Status::Success};
    const AgentStatus result = rule.result.value_or(reply.result);
    const AgentStatus status = rule.status.value_or(Status::Success);
    NoteMail(client, mail, Status::Failed(status) ? status : result);
    std::optional<std::wstring> json = rule.json;
    if (!json && mail.request)
    {
        json = std::move(reply.json);
    }
    m_parts.stopping.WaitFor(rule.delay);
    return {status, MailAnswer(result, json, rule.drop)};
}

void HostHandler::Note(const SvcLink::Client& client, const wchar_t* kind, std::optional<AgentStatus> status,
                       std::optional<std::wstring> text)
{
    JournalRecord record;
    record.kind = kind;
    record.processId = client.processId;
    record.sessionId = client.sessionId;
    record.status = status;
    record.request = std::move(text);
    m_parts.journal.Add(std::move(record));
}

void HostHandler::NoteMail(const SvcLink::Client& client, const Mail& mail, AgentStatus result)
{
    const bool isEvent = mail.pluginId == ::Plugin::EventCenter && mail.mailId == ::Mail::Event;
    JournalRecord record;
    record.kind = isEvent ? L"event" : L"mail";
    record.processId = client.processId;
    record.sessionId = client.sessionId;
    record.pluginId = mail.pluginId;
    record.mailId = mail.mailId;
    record.request = mail.request;
    record.event = isEvent && mail.request ? EventName(*mail.request) : std::wstring();
    record.status = result;
    m_parts.journal.Add(std::move(record));
}

} // namespace SvcHost
