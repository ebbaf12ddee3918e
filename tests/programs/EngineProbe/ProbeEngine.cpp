#include "ProbeEngine.h"

#include "Failure.h"
#include "QxCommon_utility.h"
#include "Record.h"

#include <atomic>

namespace
{

std::atomic<long> g_living = 0;
std::atomic<bool> g_released = false;

// The compact text, without its line feed.
std::wstring TextOf(const QxCommon::JsonDb& json)
{
    return QxCommon::TrimTrailingLineFeeds(json.ToFastString());
}

} // namespace

ProbeEngine::ProbeEngine(std::wstring itemId, std::wstring sessionId)
    : m_itemId(std::move(itemId)), m_sessionId(std::move(sessionId)),
      m_signalled(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    ++g_living;
}

ProbeEngine::~ProbeEngine() noexcept(false)
{
    --g_living;
    delete m_kept;
    CloseHandle(m_signalled);
    Note(L"end");
}

long ProbeEngine::Living()
{
    return g_living;
}

void ProbeEngine::ReleaseAll()
{
    g_released = true;
}

void ProbeEngine::Note(const std::wstring& operation, const std::wstring& arguments) const
{
    Record::Add(operation + L"(" + arguments + L")");
    if (m_itemId == L"throws " + operation)
    {
        ThrowKind(m_sessionId);
    }
}

QxCommon::JsonDb ProbeEngine::Answer(const wchar_t* operation)
{
    QxCommon::JsonDb answer;
    if (m_itemId == L"silent")
    {
        return answer;
    }
    if (m_itemId == L"nowhere")
    {
        answer.ParseFromString(L"[]");
        return answer[L"no member of a list"];
    }
    if (m_itemId == L"keeper" && m_kept != nullptr)
    {
        return *m_kept;
    }
    answer.ParseFromString(std::wstring(L"{\"from\":\"") + operation + L"\"}");
    return answer;
}

void ProbeEngine::AwaitSignal() const
{
    while (!g_released && WaitForSingleObject(m_signalled, 10) == WAIT_TIMEOUT)
    {
    }
}

AgentStatus ProbeEngine::Perform()
{
    Note(L"Perform");
    if (m_itemId == L"slow")
    {
        AwaitSignal();
    }
    return m_itemId == L"silent" ? Status::NotFound : 4711;
}

AgentStatus ProbeEngine::PerformFix(std::wstring fixSessionId, QxCommon::JsonDb& param)
{
    Note(L"PerformFix", fixSessionId + L"," + TextOf(param));
    param.ParseFromString(L"\"overwritten\"");
    return -4711;
}

QxCommon::JsonDb ProbeEngine::Query()
{
    Note(L"Query");
    return Answer(L"Query");
}

QxCommon::JsonDb ProbeEngine::QueryByKey(std::wstring key)
{
    Note(L"QueryByKey", key);
    return Answer(L"QueryByKey");
}

void ProbeEngine::PutDetails(std::wstring key, QxCommon::JsonDb details)
{
    Note(L"PutDetails", key + L"," + TextOf(details));
    delete m_kept;
    m_kept = new QxCommon::JsonDb(details);
}

QxCommon::JsonDb ProbeEngine::QueryFix(std::wstring fixSessionId)
{
    Note(L"QueryFix", fixSessionId);
    return Answer(L"QueryFix");
}

QxCommon::JsonDb ProbeEngine::QueryFixDetail(std::wstring fixSessionId)
{
    Note(L"QueryFixDetail", fixSessionId);
    return Answer(L"QueryFixDetail");
}

void ProbeEngine::Reserved1()
{
    Note(L"Reserved1");
}

std::int32_t ProbeEngine::Initialize()
{
    Note(L"Initialize");
    if (m_itemId == L"late")
    {
        AwaitSignal();
    }
    return m_itemId == L"refused" ? -1 : 1;
}

void ProbeEngine::Reserved2()
{
    Note(L"Reserved2");
}

void ProbeEngine::Signal()
{
    Note(L"Signal");
    SetEvent(m_signalled);
}
