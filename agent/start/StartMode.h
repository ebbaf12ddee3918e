#pragma once

#include <cstdint>
#include <map>
#include <queue>
#include <string>
#include <vector>

#include "QxCommon_JsonDb.h"
#include "VzComn_AgentStatus.h"

// One entry of a start mode: a start function, its arguments and its place in the order.
struct StartModeItem
{
    // Reads the item of the configuration; what is missing or of another type counts as 0 or empty.
    explicit StartModeItem(QxCommon::JsonDb& item);

    // Calls the start function. Status::NotFound when there is none of that name.
    AgentStatus Run() const;

    std::int32_t sequence;
    std::wstring startFunc;
    std::wstring startArgs;
};

struct LaterInSequence
{
    bool operator()(const StartModeItem& left, const StartModeItem& right) const
    {
        return left.sequence > right.sequence;
    }
};

// Smallest sequence first; items of equal sequence leave in whatever order the heap gives.
using StartModeQueue = std::priority_queue<StartModeItem, std::vector<StartModeItem>, LaterInSequence>;

// The queue of each mode number that the configuration names.
using StartModeTable = std::map<std::int32_t, StartModeQueue>;

// Builds the table from a parsed configuration. Status::NoStartMode when it has no "startMode".
AgentStatus BuildStartModeTable(QxCommon::JsonDb& config, StartModeTable& table);

// Runs the queue of a mode, one function after the other on this thread. Always success: a failing
// function is logged and does not stop the next.
AgentStatus RunStartMode(const StartModeTable& table, std::int32_t startMode);
