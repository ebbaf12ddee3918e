#include "WorkEngine.h"

#include <algorithm>
#include <chrono>

namespace
{
constexpr std::uint32_t stepsPerSecond = 10;
constexpr std::uint32_t longest = 3600; // seconds
} // namespace

// The thread runs code of this library, which goes soon.
WorkEngine::~WorkEngine()
{
    Stop();
    if (m_thread.joinable())
    {
        m_thread.join();
    }
}

AgentStatus WorkEngine::Perform()
{
    std::unique_lock lock(m_mutex);
    if (m_isWorking)
    {
        return Status::AlreadyDone;
    }
    if (m_thread.joinable())
    {
        m_thread.join(); // it has nothing left to do
    }
    m_done = 0;
    m_total = m_seconds * stepsPerSecond;
    m_isToStop = false;
    m_wasStopped = false;
    m_thread = std::thread([this] { Work(); });
    m_isWorking = true;
    return Status::Success;
}

QxCommon::JsonDb WorkEngine::Query()
{
    const std::lock_guard lock(m_mutex);
    QxCommon::JsonDb answer;
    answer[L"working"].SetUInt(m_isWorking ? 1 : 0);
    answer[L"done"].SetUInt(m_done);
    answer[L"total"].SetUInt(m_total);
    answer[L"stopped"].SetUInt(m_wasStopped ? 1 : 0);
    return answer;
}

void WorkEngine::PutDetails(std::wstring /*key*/, QxCommon::JsonDb details)
{
    const std::lock_guard lock(m_mutex);
    if (details.HasMember(L"seconds"))
    {
        m_seconds = std::min(QxCommon::UIntOrZero(details[L"seconds"]), longest);
    }
}

void WorkEngine::Signal()
{
    Stop();
}

void WorkEngine::Stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isToStop = true;
    }
    m_changed.notify_all();
}

void WorkEngine::Work()
{
    std::unique_lock lock(m_mutex);
    while (m_done < m_total && !m_isToStop)
    {
        const auto step = std::chrono::milliseconds(1000 / stepsPerSecond);
        if (!m_changed.wait_for(lock, step, [this] { return m_isToStop; }))
        {
            ++m_done;
        }
    }
    m_wasStopped = m_done < m_total;
    m_isWorking = false;
}
