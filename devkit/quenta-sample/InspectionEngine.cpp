#include "InspectionEngine.h"

#include "Findings.h"

namespace
{
constexpr std::uint32_t findingCount = 3;

std::set<std::uint32_t> IdsIn(QxCommon::JsonDb& param)
{
    if (!param.HasMember(L"ids"))
    {
        return FixableFindings();
    }
    std::set<std::uint32_t> ids;
    QxCommon::JsonDb list(param[L"ids"]);
    for (std::uint32_t i = 0; list.IsArray() && i < list.Size(); ++i)
    {
        ids.insert(QxCommon::UIntOrZero(list[i]));
    }
    return ids;
}
} // namespace

AgentStatus InspectionEngine::Perform()
{
    const std::lock_guard lock(m_mutex);
    m_hasInspected = true;
    return Status::Success;
}

QxCommon::JsonDb InspectionEngine::Query()
{
    const std::lock_guard lock(m_mutex);
    QxCommon::JsonDb answer;
    if (!m_hasInspected)
    {
        return answer;
    }
    QxCommon::JsonDb list(answer[L"findings"]);
    for (std::uint32_t i = 0; i < findingCount; ++i)
    {
        const Finding& finding = *FindFinding(i + 1);
        QxCommon::JsonDb entry(list[i]);
        entry[L"id"].SetUInt(finding.id);
        entry[L"details"].ParseFromString(finding.description);
        entry[L"fixed"].SetUInt(m_fixed.contains(finding.id) ? 1 : 0);
    }
    return answer;
}

AgentStatus InspectionEngine::PerformFix(std::wstring fixSessionId, QxCommon::JsonDb& param)
{
    const std::lock_guard lock(m_mutex);
    const Ids ids = IdsIn(param);
    for (const std::uint32_t id : ids)
    {
        const Finding* const finding = FindFinding(id);
        if (finding == nullptr || !finding->isFixable)
        {
            return Status::InvalidParameter;
        }
    }
    m_fixed.insert(ids.begin(), ids.end());
    m_fixSessions[fixSessionId] = ids;
    return Status::Success;
}

QxCommon::JsonDb InspectionEngine::QueryFix(std::wstring fixSessionId)
{
    const std::lock_guard lock(m_mutex);
    QxCommon::JsonDb answer;
    const auto found = m_fixSessions.find(fixSessionId);
    if (found != m_fixSessions.end())
    {
        answer[L"fixed"].SetUInt(static_cast<std::uint32_t>(found->second.size()));
    }
    return answer;
}

QxCommon::JsonDb InspectionEngine::QueryFixDetail(std::wstring fixSessionId)
{
    const std::lock_guard lock(m_mutex);
    QxCommon::JsonDb answer;
    const auto found = m_fixSessions.find(fixSessionId);
    if (found == m_fixSessions.end())
    {
        return answer;
    }
    answer.ParseFromString(L"{\"ids\":[]}");
    QxCommon::JsonDb list(answer[L"ids"]);
    for (const std::uint32_t id : found->second)
    {
        list[list.Size()].SetUInt(id);
    }
    return answer;
}
