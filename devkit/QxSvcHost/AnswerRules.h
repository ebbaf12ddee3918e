#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "LinkMessage.h"

namespace SvcHost
{

// How an answer differs from the usual one. What is not set stays as usual.
struct AnswerRule
{
    std::optional<AgentStatus> status; // what the caller's library call returns
    std::optional<AgentStatus> result; // the item of the answer
    std::optional<std::wstring> json;
    std::chrono::milliseconds delay{0};
    Drop drop;
    std::optional<std::uint32_t> times; // how often; without end if not set
};

// The answers that were ordered from outside. Plug-in 0 with the number of one of the link's commands stands
// for that command. Any thread.
class AnswerRules
{
public:
    // Takes the place of an earlier rule of that address; 0 times forgets it.
    void Set(std::uint32_t pluginId, std::uint32_t mailId, const AnswerRule& rule);

    void Reset();

    // The rule for one call, which it uses up by one.
    [[nodiscard]] std::optional<AnswerRule> Take(std::uint32_t pluginId, std::uint32_t mailId);

private:
    std::mutex m_lock;
    std::map<std::pair<std::uint32_t, std::uint32_t>, AnswerRule> m_rules; // Guarded by m_lock.
};

} // namespace SvcHost
