#include "Journal.h"

#include <algorithm>
#include <utility>

#include "JsonWriter.h"
#include "LocalTime.h"

namespace SvcHost
{
namespace
{
std::size_t RequestBytes(const JournalRecord& record)
{
    return record.request ? record.request->size() * sizeof(wchar_t) : 0;
}

void Cut(std::wstring& request, std::size_t bytes)
{
    constexpr std::size_t markLength = std::size(Journal::CutMark) - 1;
    const std::size_t room = bytes / sizeof(wchar_t);
    if (request.size() > room)
    {
        request.resize(room - std::min(room, markLength));
        request += Journal::CutMark;
        request.shrink_to_fit();
    }
}
} // namespace

std::wstring JournalRecord::ToJson() const
{
    JsonObject json;
    json.Number(L"sequence", sequence).Text(L"time", time).Text(L"kind", kind);
    json.Number(L"processId", processId).Number(L"sessionId", sessionId);
    if (pluginId)
    {
        json.Number(L"pluginId", *pluginId);
    }
    if (mailId)
    {
        json.Number(L"mailId", *mailId);
    }
    if (request)
    {
        json.Text(L"request", *request);
    }
    if (!event.empty())
    {
        json.Text(L"event", event);
    }
    if (status)
    {
        json.Signed(L"status", *status);
    }
    return json.Finish();
}

Journal::Journal(const std::wstring& path, const Limits& limits) : m_limits(limits), m_file(path) {}

void Journal::Add(JournalRecord record)
{
    if (record.request)
    {
        Cut(*record.request, m_limits.requestBytes);
    }
    const std::lock_guard order(m_fileLock);
    auto added = std::make_shared<JournalRecord>(std::move(record));
    added->time = LocalTimeText();
    {
        const std::lock_guard lock(m_lock);
        added->sequence = m_last + 1;
        m_records.push_back(added);
        m_last = added->sequence;
        m_bytes += RequestBytes(*added);
        Trim();
    }
    m_changed.notify_all();
    m_file.Write(added->ToJson());
}

// The newest record stays in any case.
void Journal::Trim()
{
    while (m_records.size() > 1 && (m_records.size() > m_limits.records || m_bytes > m_limits.totalBytes))
    {
        m_bytes -= RequestBytes(*m_records.front());
        m_records.pop_front();
    }
}

Journal::Page Journal::Read(std::uint64_t after, std::size_t max, std::chrono::milliseconds wait)
{
    std::unique_lock lock(m_lock);
    after = after > m_last ? 0 : after;
    m_changed.wait_for(lock, wait, [&] { return m_closed || m_last > after; });
    Page page;
    const std::uint64_t first = m_last - m_records.size() + 1;
    const std::uint64_t from = std::max(after + 1, first);
    page.lost = from - after - 1;
    page.next = from - 1;
    for (; page.next < m_last && page.records.size() < max; ++page.next)
    {
        page.records.push_back(m_records[static_cast<std::size_t>(page.next + 1 - first)]);
    }
    return page;
}

std::uint64_t Journal::Last() const
{
    const std::lock_guard lock(m_lock);
    return m_last;
}

void Journal::Close()
{
    {
        const std::lock_guard lock(m_lock);
        m_closed = true;
    }
    m_changed.notify_all();
}

} // namespace SvcHost
