#pragma once

#include <windows.h>

#include <winsvc.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "RestartPolicy.h"
#include "VzComn_Handle.h"

namespace WatchDog
{

// Brings the host service to where it is wanted and keeps it there, a step at a time. Its death is seen by
// the handle of its process, for the service manager may go on calling a killed service running. A service
// that stops of itself, without an error, stays stopped. One that dies again and again is started at longer
// and longer intervals, up to a minute, until it has run for half a minute. Belongs to one thread.
class ServiceKeeper
{
public:
    explicit ServiceKeeper(std::wstring name) : m_name(std::move(name)) {}

    void WantRunning();
    void WantStopped();

    // Looks at the service and does what is next. The time until the next step is due; nothing if only the
    // end of the process or another wish can make one necessary.
    std::optional<std::chrono::milliseconds> Step(Clock::time_point now);

    // True if the service is left as others want it.
    [[nodiscard]] bool IsContent() const { return m_goal == Goal::None; }

    // The service's process, to be waited for. Null while none is known. Weak.
    [[nodiscard]] HANDLE Process() const { return m_process.Get(); }

    // The process is signalled. The next step, due at once, tells why.
    void OnProcessEnd();

private:
    enum class Goal
    {
        None, // as others want it
        Running,
        Stopped,
    };

    using NextStep = std::optional<std::chrono::milliseconds>;

    void WatchProcess(const SERVICE_STATUS_PROCESS& status);
    NextStep StepToRunning(SC_HANDLE service, const SERVICE_STATUS_PROCESS& status, Clock::time_point now);
    NextStep StepToStopped(SC_HANDLE service, DWORD state, Clock::time_point now);
    NextStep StayIdle(DWORD state);
    NextStep StartInTime(SC_HANDLE service, Clock::time_point now);
    bool IsToComeBack(const SERVICE_STATUS_PROCESS& status, Clock::time_point now);
    void ComplainOnce(const wchar_t* what, DWORD error);

    std::wstring m_name;
    Goal m_goal = Goal::None;
    bool m_hasRun = false;     // since it was wanted, or since it has died
    bool m_isExpected = false; // to be up, so that its end is news
    VzCommon::KernelHandle m_process;
    DWORD m_processId = 0;
    bool m_isProcessGone = false;     // as opposed to one that may not be opened
    std::wstring m_complaint;         // the last one, empty when all went well since
    Clock::time_point m_runningSince; // as far as it is known
    Clock::time_point m_nextStart;    // not earlier
    Clock::time_point m_nextAsk;      // for a stop, not earlier
    std::chrono::milliseconds m_startDelay{};
};

} // namespace WatchDog
