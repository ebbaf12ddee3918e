#include "Watch.h"

#include <algorithm>

#include "FrwkMode.h"
#include "ObjectNames.h"
#include "QxCommon_service.h"
#include "QxCommon_utility.h"
#include "Report.h"

namespace WatchDog
{
namespace
{
using VzCommon::Synchronize::Event;

// One folder above this program's.
std::wstring AgentPath()
{
    std::wstring folder = QxCommon::GetModuleFolder();
    folder.resize(std::min(folder.size(), folder.rfind(L'\\')));
    return QxCommon::AppendName(folder, QxCommon::MapProductFileName(L"QxSessionAgent.exe"));
}

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

DWORD Milliseconds(Clock::duration duration)
{
    const auto rounded = std::chrono::ceil<std::chrono::milliseconds>(duration).count();
    return static_cast<DWORD>(std::max<decltype(rounded)>(rounded, 0));
}
} // namespace

Watch::Watch(const Options& options) : m_service(QxCommon::GetServiceName())
{
    if (options.withAgent)
    {
        m_agent.emplace(AgentPath(), options.mode);
    }
}

bool Watch::MakeEvents()
{
    return Make(m_stopRequest, QxCommon::GetStopRequestEventName()) &&
           Make(m_crashSignal, ObjectNames::CrashRestartEvent()) &&
           Make(m_startRequest, QxCommon::GetStartRequestEventName());
}

void Watch::Run(HANDLE end)
{
    m_service.WantRunning();
    if (m_agent)
    {
        m_agent->Start();
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
        {m_stopRequest.Handle(), &Watch::OnStopRequest},
        {m_startRequest.Handle(), &Watch::OnStartRequest},
        {m_crashSignal.Handle(), &Watch::OnCrashSignal},
        {m_service.Process(), &Watch::OnServiceEnd},
        {m_agent ? m_agent->Process() : nullptr, &Watch::OnAgentEnd},
    };
    std::erase_if(signals, [](const Signal& signal) { return signal.handle == nullptr; });
    return signals;
}

DWORD Watch::Step()
{
    DWORD timeout = INFINITE;
    if (const auto next = m_service.Step())
    {
        timeout = Milliseconds(*next);
    }
    if (m_agent)
    {
        m_agent->Step(Clock::now());
        if (const auto due = m_agent->Due())
        {
            timeout = std::min(timeout, Milliseconds(*due - Clock::now()));
        }
    }
    return timeout;
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

void Watch::OnServiceEnd()
{
    m_service.OnProcessEnd();
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

} // namespace WatchDog
