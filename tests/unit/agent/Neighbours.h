#pragma once

#include <string>
#include <vector>

#include "VzComn_AgentStatus.h"

// Stand-ins for everything that the start path calls in other subsystems: linked in their place, they record
// each call in order and answer as told.
struct Neighbours
{
    std::vector<std::string> calls;
    AgentStatus checkService = Status::Success;
    AgentStatus registerRpc = Status::Success;
    AgentStatus unregisterRpc = Status::Success;
    AgentStatus sendEvent = Status::Success;
    AgentStatus console = Status::Success;
    unsigned long consoleThread = 0; // which opened it
    AgentStatus stopService = Status::Success;
    AgentStatus initPower = Status::Success;
    AgentStatus handlePower = Status::Success;
    bool loadConfig = true;
    bool startScan = true;
    bool scanResult = true;
    bool sensInitialize = true;
    bool sensUninitialize = true;
    bool networkAlive = true;
    unsigned long networkFlags = 1;
};

// The one of this test process.
[[nodiscard]] Neighbours& TheNeighbours();

// Adds a call to the record. Any thread.
void Record(const std::string& call);

// The calls but for those that begin with the word.
[[nodiscard]] std::vector<std::string> CallsBut(const std::string& word);
