#pragma once

#include "SampleEngine.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <set>

// Item "inspection": reports details and a fix.
//
//     Perform         inspects; before that, Query gives null
//     Query           {"findings": [{"id": 1, "details": {"title": "...", "fixable": true}, "fixed": 0},
//     ...]} PerformFix      fixes what param {"ids": [1, 2]} names, or all that can be fixed if it names
//     nothing;
//                     0xE0FF0007 for a number that is no finding or cannot be fixed, and then nothing is
//                     fixed
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
