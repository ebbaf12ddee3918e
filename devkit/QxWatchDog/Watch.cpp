#include "Watch.h"

#include <algorithm>

#include "AgentPath.h"
#include "Milliseconds.h"
#include "ObjectNames.h"
#include "QxCommon_service.h"
#include "Report.h"

namespace WatchDog
{
namespace
{
using VzCommon::Synchronize::Event;

// Automatic reset: each request is heard once. Not "must be new", whose rights would let nobody see that the
// event is there.
bool Make(Event& event, const std::wstring& name)
{
    std::uint32_t error = 0;
    if (!event.CreateGlobal(name, false, false, false, &error))
    {
        Complain(L"The event " + name + L" cannot be made: error " + std::to_wstring(error) + L".");
        return false;
    }
    // What an earlier watchdog did not hear is over, and the event may be a foreign one that does not reset
    // itself.
    ResetEvent(event.Handle());
    return true;
}
} // namespace

Watch::Watch(const Options& options) : m_service(QxCommon::GetServiceName()), m_untilExit(options.untilExit)
{
    if (options.withAgent)
    {
        m_agent.emplace(AgentPath(), options.mode, RestartPolicy(options.crashLimit));
    }
}

bool Watch::MakeEvents()
{
    return (!m_untilExit || CreateExitEvent(m_exit)) &&
           Make(m_stopRequest, QxCommon::GetStopRequestEventName()) &&
           Make(m_crashSignal, ObjectNames::CrashRestartEvent()) &&
           Make(m_startRequest, QxCommon::GetStartRequestEventName());
}

void Watch::Run(HANDLE end)
{
    m_service.WantRunning();
    if (m_agent)
    {
        m_agent->Start(Clock::now());
    }
    for (;;)
    {
        const DWORD timeout = Step();
        const std::vector<Signal> signals = Signals(end);
        std::vector<HANDLE> handles(signals.size());
        std::transform(signals.begin(), signals.end(), handles.begin(),
                       [](const Signal& signal) { return signal.handle; });
        const DWORD answer =
            WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), FALSE, timeout);
        if (answer == WAIT_OBJECT_0)
        {
            return;
        }
        if (answer < signals.size() && signals[answer].handle == m_exit.Handle())
        {
            EndAll(end);
            return;
        }
        if (answer < signals.size())
        {
            (this->*signals[answer].answer)();
        }
    }
}

// The first that is signalled is answered first.
std::vector<Watch::Signal> Watch::Signals(HANDLE end) const
{
    std::vector<Signal> signals = {
        {end, nullptr},
        {m_exit.Handle(), nullptr},
        {m_stopRequest.Handle(), &Watch::OnStopRequest},
        {m_startRequest.Handle(), &Watch::OnStartRequest},
        {m_crashSignal.Handle(), &Watch::OnCrashSignal},
        {m_agent ? m_agent->Process() : nullptr, &Watch::OnAgentEnd},
    };
    std::erase_if(signals, [](const Signal& signal) { return signal.handle == nullptr; });
    return signals;
}

DWORD Watch::Step()
{
    if (!m_agent)
    {
        return INFINITE;
    }
    m_agent->Step(Clock::now());
    const auto due = m_agent->Due();
    return due ? Milliseconds(*due - Clock::now()) : INFINITE;
}

void Watch::OnStartRequest()
{
    ResetEvent(m_startRequest.Handle());
    Tell(L"The start of the service is asked for.");
    m_service.WantRunning();
}

void Watch::OnStopRequest()
{
    ResetEvent(m_stopRequest.Handle());
    Tell(L"The stop of the service is asked for.");
    m_service.WantStopped();
}

void Watch::OnCrashSignal()
{
    ResetEvent(m_crashSignal.Handle());
    if (m_agent)
    {
        m_agent->OnCrashSignal(Clock::now());
    }
}

// A crashing agent signals before it ends, but the two may be seen at once.
void Watch::OnAgentEnd()
{
    if (WaitForSingleObject(m_crashSignal.Handle(), 0) == WAIT_OBJECT_0)
    {
        OnCrashSignal();
        return;
    }
    m_agent->OnProcessEnd(Clock::now());
}

// An agent that ends takes leave of the service, which is to be there still.
void Watch::EndAll(HANDLE end)
{
    constexpr DWORD agentLimitMs = 15000;
    constexpr std::chrono::seconds serviceLimit{30};
    Tell(L"The exit event is signalled; the service is stopped, and the watchdog ends.");
    if (m_agent && m_agent->Process() != nullptr)
    {
        const HANDLE handles[] = {end, m_agent->Process()};
        WaitForMultipleObjects(2, handles, FALSE, agentLimitMs);
    }
    if (!m_service.EndStopped(serviceLimit, end))
    {
        Complain(L"The service does not stop in time; it is left so.");
    }
}

} // namespace WatchDog
