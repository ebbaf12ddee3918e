#include "AnswerRules.h"

namespace SvcHost
{

void AnswerRules::Set(std::uint32_t pluginId, std::uint32_t mailId, const AnswerRule& rule)
{
    const std::lock_guard lock(m_lock);
    if (rule.times == 0U)
    {
        m_rules.erase({pluginId, mailId});
        return;
    }
    m_rules.insert_or_assign({pluginId, mailId}, rule);
}

void AnswerRules::Reset()
{
    const std::lock_guard lock(m_lock);
    m_rules.clear();
}

std::optional<AnswerRule> AnswerRules::Take(std::uint32_t pluginId, std::uint32_t mailId)
{
    const std::lock_guard lock(m_lock);
    const auto found = m_rules.find({pluginId, mailId});
    if (found == m_rules.end())
    {
        return std::nullopt;
    }
    const AnswerRule rule = found->second;
    if (found->second.times && --*found->second.times == 0)
    {
        m_rules.erase(found);
    }
    return rule;
}

} // namespace SvcHost
