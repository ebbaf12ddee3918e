#include "Commander.h"

#include <utility>

#include "LinkMessage.h"

namespace SvcHost
{

Commander::Commander(const ClientTable& clients, Journal& journal, CallBack callBack)
    : m_clients(clients), m_journal(journal), m_callBack(std::move(callBack))
{
}

Commander::Outcome Commander::Send(std::uint32_t processId, std::wstring_view command,
                                   std::chrono::milliseconds limit)
{
    const std::optional<RegisteredClient> target = m_clients.Find(processId);
    if (!target)
    {
        return {false, processId, Status::NotFound, std::nullopt};
    }
    const SvcLink::Answer answer =
        m_callBack(target->client.id, target->trackingId, CommandMessage(command), limit);
    Outcome outcome{true, target->client.processId, answer.status, std::nullopt};
    std::wstring reply;
    if (!Status::Failed(ReadReply(answer.message, reply)))
    {
        outcome.reply = std::move(reply);
    }
    JournalRecord record;
    record.kind = L"command";
    record.processId = target->client.processId;
    record.sessionId = target->client.sessionId;
    record.request = command;
    record.status = answer.status;
    m_journal.Add(std::move(record));
    return outcome;
}

} // namespace SvcHost
