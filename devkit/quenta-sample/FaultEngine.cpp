#include "FaultEngine.h"

#include <algorithm>
#include <barrier>
#include <memory>

#include "Faults.h"

namespace
{
constexpr std::uint32_t mostThreads = 64;

void TakeText(QxCommon::JsonDb& details, const wchar_t* name, std::wstring& text)
{
    if (details.HasMember(name))
    {
        text = details[name].AsString();
    }
}
} // namespace

FaultEngine::~FaultEngine()
{
    for (std::thread& thread : m_threads)
    {
        thread.join();
    }
    if (m_isToFaultAtEnd)
    {
        Commit(m_fault);
    }
}

AgentStatus FaultEngine::Perform()
{
    if (!IsFault(m_fault))
    {
        return Status::InvalidParameter;
    }
    if (m_where == L"command")
    {
        Commit(m_fault);
    }
    else if (m_where == L"thread")
    {
        FaultOnThreads();
    }
    else if (m_where == L"end")
    {
        m_isToFaultAtEnd = true;
    }
    else
    {
        return Status::InvalidParameter;
    }
    return Status::Success;
}

void FaultEngine::PutDetails(std::wstring /*key*/, QxCommon::JsonDb details)
{
    TakeText(details, L"fault", m_fault);
    TakeText(details, L"where", m_where);
    if (details.HasMember(L"threads"))
    {
        m_threadCount = std::clamp(QxCommon::UIntOrZero(details[L"threads"]), 1U, mostThreads);
    }
}

// All are there before the first one faults.
void FaultEngine::FaultOnThreads()
{
    const auto start = std::make_shared<std::barrier<>>(m_threadCount);
    for (std::uint32_t i = 0; i < m_threadCount; ++i)
    {
        m_threads.emplace_back(
            [start, fault = m_fault]
            {
                start->arrive_and_wait();
                Commit(fault);
            });
    }
}
