#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>

#include "RestartPolicy.h"
#include "VzComn_Handle.h"

namespace WatchDog
{

// Starts the agent and starts it again after a crash: when the agent has signalled one and its process has
// ended, for which it has ten seconds. A start that the system refuses is tried again in the same way. An
// agent that ends without the signal has been asked to, and is left so. Belongs to one thread.
class AgentKeeper
{
public:
    AgentKeeper(std::wstring path, std::int32_t mode, RestartPolicy policy = RestartPolicy())
        : m_path(std::move(path)), m_mode(mode), m_policy(std::move(policy))
    {
    }

    void Start(Clock::time_point now);

    // The agent has signalled a crash; also one that was started by somebody else.
    void OnCrashSignal(Clock::time_point now);

    // The agent's process is signalled.
    void OnProcessEnd(Clock::time_point now);

    // Does what is due by now.
    void Step(Clock::time_point now);

    // When Step has something to do next; nothing if it has not.
    [[nodiscard]] std::optional<Clock::time_point> Due() const { return m_due; }

    // To be waited for. Null while no agent of this watchdog runs. Weak.
    [[nodiscard]] HANDLE Process() const { return m_process.Get(); }

private:
    void RestartLater(Clock::time_point now, const std::wstring& what);
    void EndProcess();

    std::wstring m_path;
    std::int32_t m_mode;
    VzCommon::KernelHandle m_process;
    bool m_hasSignalled = false;            // a crash, and runs on
    std::optional<Clock::time_point> m_due; // of the restart, or of the end of a crashing process
    RestartPolicy m_policy;
};

} // namespace WatchDog
