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
// that stops of itself, without an error, stays stopped. Belongs to one thread.
class ServiceKeeper
{
public:
    explicit ServiceKeeper(std::wstring name) : m_name(std::move(name)) {}

    void WantRunning();
    void WantStopped();

    // Looks at the service and does what is next. The time until the next step is due; nothing if only the
    // end of the process or another wish can make one necessary.
    std::optional<std::chrono::milliseconds> Step();

    // The service's process, to be waited for. Null while none is known. Weak.
    [[nodiscard]] HANDLE Process() const { return m_process.Get(); }

    // The process is signalled.
    void OnProcessEnd();

private:
    enum class Goal
    {
        None, // as others want it
        Running,
        Stopped,
    };

    void WatchProcess(DWORD processId);
    std::optional<std::chrono::milliseconds> StepToRunning(SC_HANDLE service, DWORD state);
    std::optional<std::chrono::milliseconds> StepToStopped(SC_HANDLE service, DWORD state);
    std::optional<std::chrono::milliseconds> StayIdle(DWORD state);
    void Start(SC_HANDLE service);
    void ComplainOnce(const wchar_t* what, DWORD error);

    std::wstring m_name;
    Goal m_goal = Goal::None;
    bool m_hasRun = false; // since it was wanted
    VzCommon::KernelHandle m_process;
    DWORD m_processId = 0;
    bool m_isProcessGone = true;   // as opposed to one that may not be opened
    DWORD m_complainedError = 0;   // of the last complaint, 0 when all went well since
    Clock::time_point m_nextStart; // not earlier
    std::chrono::milliseconds m_startDelay{};
};

} // namespace WatchDog
