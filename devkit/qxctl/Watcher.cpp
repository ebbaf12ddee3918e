#include "Watcher.h"

#include <algorithm>
#include <thread>

#include "ControlMails.h"
#include "ControlRequest.h"
#include "Failure.h"
#include "RecordLine.h"

namespace
{
constexpr std::chrono::milliseconds longestWait{1000};
constexpr std::chrono::milliseconds retryInterval{200};
constexpr std::chrono::seconds grace{10};
constexpr std::chrono::minutes longestLimit{1};
constexpr std::chrono::seconds shortestLimit{5};
constexpr std::uint32_t mostRecords = 100;

// What is told unless more is wanted: what clients sent.
bool IsMailOrEvent(QxCommon::JsonDb& record)
{
    const std::wstring kind = record.HasMember(L"kind") ? record[L"kind"].AsString() : std::wstring();
    return kind == L"mail" || kind == L"event";
}
} // namespace

Watcher::Watcher(const Arguments& arguments, ControlClient& client, Output& output)
    : m_arguments(arguments), m_client(client), m_output(output),
      m_end(arguments.timeoutSeconds ? Clock::now() + std::chrono::seconds(*arguments.timeoutSeconds)
                                     : Clock::time_point::max())
{
}

int Watcher::Run()
{
    Step step = Attach();
    if (step == Step::Lost)
    {
        return ReportFailure(m_lastFailure, m_output);
    }
    while (step == Step::Done && !IsDone())
    {
        step = ReadOn();
        if (step == Step::Lost)
        {
            step = Reattach();
        }
    }
    if (step == Step::Over || step == Step::Lost)
    {
        return TimedOut();
    }
    return step == Step::Refused ? m_refusal : ExitCode::Ok;
}

Watcher::Step Watcher::Attach()
{
    const MailAnswer answer = Ask(Control::Status, L"{}", std::chrono::milliseconds(0));
    QxCommon::JsonDb reply;
    if (answer.Failed() || reply.ParseFromString(answer.json) != 0)
    {
        return Judge(answer);
    }
    QxCommon::JsonDb fields(reply[L"service"]);
    const std::wstring processId = fields[L"processId"].AsString();
    const std::wstring identity = processId + L' ' + fields[L"startedAt"].AsString();
    const std::wstring place = fields[L"name"].AsString() + L", process " + processId;
    if (m_service.empty())
    {
        const Step step = m_arguments.wantsAll ? Step::Done : BeginNow();
        if (step != Step::Done)
        {
            return step;
        }
        m_output.Note(L"watching " + place);
    }
    else
    {
        m_after = identity == m_service ? m_after : 0;
        m_output.Note(L"the service is back: " + place);
    }
    m_service = identity;
    return Step::Done;
}

Watcher::Step Watcher::BeginNow()
{
    const MailAnswer answer =
        Ask(Control::Watch, ControlRequest::WatchFromNow(), std::chrono::milliseconds(0));
    QxCommon::JsonDb reply;
    if (answer.Failed() || reply.ParseFromString(answer.json) != 0)
    {
        return Judge(answer);
    }
    m_after = UInt64OrZero(reply[L"next"]);
    return Step::Done;
}

Watcher::Step Watcher::Reattach()
{
    m_output.Note(L"the service is gone; waiting until it is back");
    Step step = Step::Lost;
    while (step == Step::Lost && Clock::now() < m_end)
    {
        step = Attach();
        if (step == Step::Lost)
        {
            std::this_thread::sleep_for(TimeLeft(retryInterval));
        }
    }
    return step;
}

Watcher::Step Watcher::ReadOn()
{
    const std::chrono::milliseconds wait = TimeLeft(longestWait);
    const std::wstring request =
        ControlRequest::Watch(m_after, static_cast<std::uint32_t>(wait.count()), mostRecords);
    const MailAnswer answer = Ask(Control::Watch, request, wait);
    QxCommon::JsonDb reply;
    if (answer.Failed() || reply.ParseFromString(answer.json) != 0)
    {
        return Judge(answer);
    }
    m_after = UInt64OrZero(reply[L"next"]);
    const std::uint64_t lost = UInt64OrZero(reply[L"lost"]);
    if (lost != 0)
    {
        m_output.Note(std::to_wstring(lost) + L" records had left the journal");
    }
    return Print(reply[L"records"]);
}

Watcher::Step Watcher::Print(QxCommon::JsonDb& records)
{
    const std::uint32_t size = records.Size();
    // What was there when the time ended is still told: all of it, when there is no time at all.
    if (size == 0 && Clock::now() >= m_end)
    {
        return Step::Over;
    }
    for (std::uint32_t i = 0; i < size && !IsDone(); ++i)
    {
        QxCommon::JsonDb record(records[i]);
        if (!m_arguments.wantsEverything && !IsMailOrEvent(record))
        {
            continue;
        }
        if (!m_output.Line(RecordLine(record)))
        {
            return Step::Unread;
        }
        ++m_printed;
    }
    return Step::Done;
}

Watcher::Step Watcher::Judge(const MailAnswer& answer)
{
    m_lastFailure = answer;
    if (!answer.Failed())
    {
        m_output.Note(L"the service's reply is no JSON; are service and qxctl of one version?");
        return Step::Refused;
    }
    if (Status::Failed(answer.call) && !IsRefusal(answer.call))
    {
        return Step::Lost;
    }
    m_refusal = ReportFailure(answer, m_output);
    return Step::Refused;
}

MailAnswer Watcher::Ask(std::uint32_t mailId, const std::wstring& request, std::chrono::milliseconds wait)
{
    const std::chrono::milliseconds limit =
        std::min<std::chrono::milliseconds>(wait + grace, TimeLeft(longestLimit) + shortestLimit);
    return m_client.Mail(Control::PluginId, mailId, request, limit);
}

bool Watcher::IsDone() const
{
    return m_arguments.count && m_printed >= *m_arguments.count;
}

std::chrono::milliseconds Watcher::TimeLeft(std::chrono::milliseconds most) const
{
    const Clock::time_point now = Clock::now();
    if (m_end == Clock::time_point::max() || m_end - now > most)
    {
        return most;
    }
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::max(m_end - now, Clock::duration::zero()));
}

int Watcher::TimedOut() const
{
    return m_arguments.count ? ExitCode::TimedOut : ExitCode::Ok;
}
