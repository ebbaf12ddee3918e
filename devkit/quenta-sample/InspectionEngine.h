#pragma once

#include "SampleEngine.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <set>

// Item "inspection": reports details and a fix.
//
//     Perform         inspects; before that, Query gives null
//     Query           {"findings": [{"id": 1, "details": {...}, "fixed": 0 or 1}, ...]}, with the details
//                     {"title": "...", "fixable": true or false}
//     PerformFix      fixes what param {"ids": [1, 2]} names, or all that can be fixed without "ids";
//                     0xE0FF0007, and nothing fixed, if one is no finding or cannot be fixed
//     QueryFix        of that fix session: {"fixed": 2}; null for an unknown one
//     QueryFixDetail  likewise: {"ids": [1, 2]}
class InspectionEngine : public SampleEngine
{
public:
    AgentStatus Perform() override;
    AgentStatus PerformFix(std::wstring fixSessionId, QxCommon::JsonDb& param) override;
    QxCommon::JsonDb Query() override;
    QxCommon::JsonDb QueryFix(std::wstring fixSessionId) override;
    QxCommon::JsonDb QueryFixDetail(std::wstring fixSessionId) override;

private:
    using Ids = std::set<std::uint32_t>;

    std::mutex m_mutex; // guards all below
    bool m_hasInspected = false;
    Ids m_fixed;
    std::map<std::wstring, Ids> m_fixSessions;
};
