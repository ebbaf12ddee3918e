#pragma once

#include <windows.h>

#include <optional>
#include <vector>

#include "AgentKeeper.h"
#include "Options.h"
#include "ServiceThread.h"
#include "VzComn_Synchronize.h"

namespace WatchDog
{

// The watchdog at work: its events and the thread that answers them. Belongs to one thread.
class Watch
{
public:
    explicit Watch(const Options& options);

    // Makes the events under the product's names; from then on the agent sees that a watchdog is there.
    // False: it has said why.
    [[nodiscard]] bool MakeEvents();

    // Brings service and agent up and keeps them until the end is signalled. They stay as they are then. If
    // the product's exit event is waited for as well and comes first, the agent ends by itself, and the
    // service is stopped behind it.
    void Run(HANDLE end);

private:
    // Something to wait for and what to do then.
    struct Signal
    {
        HANDLE handle;
        void (Watch::*answer)();
    };

    // The end and the exit come first; the agent's process only while there is one.
    [[nodiscard]] std::vector<Signal> Signals(HANDLE end) const;

    void OnStartRequest();
    void OnStopRequest();
    void OnCrashSignal();
    void OnAgentEnd();
    void EndAll(HANDLE end);

    // What is due, and the time until the next thing is.
    DWORD Step();

    VzCommon::Synchronize::Event m_exit; // without a handle if it is not waited for
    VzCommon::Synchronize::Event m_startRequest;
    VzCommon::Synchronize::Event m_stopRequest;
    VzCommon::Synchronize::Event m_crashSignal;
    ServiceThread m_service;
    std::optional<AgentKeeper> m_agent;
    bool m_untilExit;
};

} // namespace WatchDog
