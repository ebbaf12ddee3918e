#include "ControlPlugin.h"

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "AnswerRequest.h"
#include "ControlMails.h"
#include "FrwkMode.h"
#include "JsonWriter.h"
#include "LocalTime.h"
#include "QxCommon_JsonDb.h"
#include "QxCommon_utility.h"

namespace SvcHost
{
namespace
{
constexpr std::uint32_t defaultTimeoutMs = 60'000;
constexpr std::uint32_t maxTimeoutMs = 600'000;
constexpr std::uint32_t defaultWaitMs = 1000;
constexpr std::uint32_t maxWaitMs = 60'000;
constexpr std::uint32_t defaultMax = 100;
constexpr std::uint32_t maxMax = 1000;
constexpr std::size_t replyLength = 1'000'000; // characters, far below what a message takes

std::uint32_t UIntOr(QxCommon::JsonDb& json, const wchar_t* name, std::uint32_t otherwise)
{
    return json.HasMember(name) ? QxCommon::UIntOrZero(json[name]) : otherwise;
}

bool IsTrue(QxCommon::JsonDb& json, const wchar_t* name)
{
    return json.HasMember(name) && QxCommon::TrimTrailingLineFeeds(json[name].ToFastString()) == L"true";
}

std::wstring DescribeClient(const RegisteredClient& client)
{
    return JsonObject()
        .Number(L"processId", client.client.processId)
        .Number(L"sessionId", client.client.sessionId)
        .Text(L"clientName", client.name)
        .Text(L"registeredAt", client.registeredAt)
        .Number(L"mails", client.mails)
        .Finish();
}
} // namespace

ControlPlugin::ControlPlugin(const Parts& parts, std::wstring serviceName, IsAllowed isAllowed)
    : m_parts(parts), m_serviceName(std::move(serviceName)), m_startedAt(LocalTimeText()),
      m_isAllowed(std::move(isAllowed))
{
}

MailReply ControlPlugin::OnMail(const MailRequest& mail)
{
    if (!m_isAllowed(mail.caller.processId))
    {
        return {Status::FromSystemError(ERROR_ACCESS_DENIED)};
    }
    QxCommon::JsonDb request;
    if (!mail.json || request.ParseFromString(*mail.json) != 0)
    {
        return {Status::InvalidParameter};
    }
    return Dispatch(mail.mailId, request);
}

MailReply ControlPlugin::Dispatch(std::uint32_t mailId, QxCommon::JsonDb& request)
{
    switch (mailId)
    {
    case Control::Status: return ReportStatus();
    case Control::Send: return Send(request);
    case Control::Watch: return Watch(request);
    case Control::Answer: return Answer(request);
    default: return {Status::NotFound};
    }
}

MailReply ControlPlugin::ReportStatus() const
{
    const std::wstring service = JsonObject()
                                     .Text(L"name", m_serviceName)
                                     .Number(L"processId", GetCurrentProcessId())
                                     .Text(L"product", QxCommon::GetProductId())
                                     .Text(L"startedAt", m_startedAt)
                                     .Finish();
    JsonArray clients;
    for (const RegisteredClient& client : m_parts.clients.All())
    {
        clients.Add(DescribeClient(client));
    }
    return {Status::Success,
            JsonObject().Raw(L"service", service).Raw(L"clients", clients.Finish()).Finish()};
}

MailReply ControlPlugin::Send(QxCommon::JsonDb& request)
{
    if (!request.HasMember(L"command"))
    {
        return {Status::InvalidParameter};
    }
    const std::wstring command = request[L"command"].AsString();
    const std::uint32_t limit = std::min(UIntOr(request, L"timeoutMs", defaultTimeoutMs), maxTimeoutMs);
    const Commander::Outcome outcome =
        m_parts.commander.Send(UIntOr(request, L"processId", 0), command, std::chrono::milliseconds(limit));
    JsonObject reply;
    reply.Number(L"processId", outcome.processId).Signed(L"status", outcome.status);
    if (outcome.reply)
    {
        reply.Text(L"reply", *outcome.reply);
    }
    return {outcome.found ? Status::Success : Status::NotFound, reply.Finish()};
}

MailReply ControlPlugin::Watch(QxCommon::JsonDb& request)
{
    std::uint64_t after = request.HasMember(L"after") ? QxCommon::UInt64OrZero(request[L"after"]) : 0;
    if (IsTrue(request, L"fromNow"))
    {
        after = m_parts.journal.Last();
    }
    const std::uint32_t wait = std::min(UIntOr(request, L"waitMs", defaultWaitMs), maxWaitMs);
    const std::uint32_t max = std::clamp(UIntOr(request, L"max", defaultMax), 1U, maxMax);
    Journal::Page page = m_parts.journal.Read(after, max, std::chrono::milliseconds(wait));
    const std::uint64_t before = page.next - page.records.size();
    JsonArray records;
    std::uint64_t told = 0;
    for (const auto& record : page.records)
    {
        const std::wstring json = record->ToJson();
        if (told > 0 && records.Length() + json.size() > replyLength)
        {
            break; // the caller comes again for the rest
        }
        records.Add(json);
        ++told;
    }
    return {Status::Success, JsonObject()
                                 .Raw(L"records", records.Finish())
                                 .Number(L"next", before + told)
                                 .Number(L"lost", page.lost)
                                 .Finish()};
}

MailReply ControlPlugin::Answer(QxCommon::JsonDb& request)
{
    if (IsTrue(request, L"reset"))
    {
        m_parts.rules.Reset();
        return {Status::Success};
    }
    AnswerRequest order;
    const AgentStatus status = ReadAnswerRequest(request, order);
    if (!Status::Failed(status))
    {
        m_parts.rules.Set(order.pluginId, order.mailId, order.rule);
    }
    return {status};
}

} // namespace SvcHost
