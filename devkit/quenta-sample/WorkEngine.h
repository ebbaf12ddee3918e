#pragma once

#include "SampleEngine.h"

#include <condition_variable>
#include <mutex>
#include <thread>

// Item "work": works for some seconds, 3 unless PutDetails gave {"seconds": n}, on a thread of its own, so
// that no command has to wait for it. Perform begins, and refuses while work is under way; Query gives
// {"working": 0 or 1, "done": n, "total": n, "stopped": 0 or 1} with steps of a tenth of a second; Signal
// stops.
class WorkEngine : public SampleEngine
{
public:
    WorkEngine() = default;
    ~WorkEngine() override;

    AgentStatus Perform() override;
    QxCommon::JsonDb Query() override;
    void PutDetails(std::wstring key, QxCommon::JsonDb details) override;
    void Signal() override;

private:
    void Work();
    void Stop();

    std::mutex m_mutex; // guards all below but the thread
    std::condition_variable m_changed;
    std::uint32_t m_seconds = 3;
    std::uint32_t m_done = 0;
    std::uint32_t m_total = 0;
    bool m_isWorking = false;
    bool m_isToStop = false;
    bool m_wasStopped = false;
    std::thread m_thread;
};
