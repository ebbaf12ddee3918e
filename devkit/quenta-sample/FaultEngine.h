#pragma once

#include "SampleEngine.h"

#include <thread>
#include <vector>

// Item "fault": makes the agent crash, to see what becomes of it. PutDetails gives
// {"fault": "write", "where": "command", "threads": 1}:
//
//     "fault"     read, write, execute, divide, illegal, overflow, throw, abort, pure-call or raise
//     "where"     command: in Perform; thread: on threads of the engine's own; end: in the destructor
//     "threads"   how many of the engine's own fault at once, 64 at most
//
// What is missing is as above. Perform refuses a fault or a place that it does not know.
class FaultEngine : public SampleEngine
{
public:
    FaultEngine() = default;
    ~FaultEngine() override;

    AgentStatus Perform() override;
    void PutDetails(std::wstring key, QxCommon::JsonDb details) override;

private:
    void FaultOnThreads();

    std::wstring m_fault = L"write";
    std::wstring m_where = L"command";
    std::uint32_t m_threadCount = 1;
    bool m_isToFaultAtEnd = false;
    std::vector<std::thread> m_threads;
};
