// An engine library to start from: copy the folder, and fill in what your engine does.
#include "Quenta.h"

namespace
{

constexpr wchar_t templateItem[] = L"template";

// Answers with the number of times that it was performed.
class TemplateEngine : public ISpecialEngine
{
public:
    std::int32_t Initialize() override { return Status::Success; }

    AgentStatus Perform() override
    {
        ++m_performed;
        return Status::Success;
    }

    QxCommon::JsonDb Query() override
    {
        QxCommon::JsonDb answer;
        answer[L"performed"].SetUInt(m_performed);
        return answer;
    }

    // Null, and so a failed command.
    QxCommon::JsonDb QueryByKey(std::wstring /*key*/) override { return {}; }

    void PutDetails(std::wstring /*key*/, QxCommon::JsonDb details) override
    {
        if (details.HasMember(L"performed"))
        {
            m_performed = QxCommon::UIntOrZero(details[L"performed"]);
        }
    }

    AgentStatus PerformFix(std::wstring /*fixSessionId*/, QxCommon::JsonDb& /*param*/) override
    {
        return Status::NotFound;
    }

    QxCommon::JsonDb QueryFix(std::wstring /*fixSessionId*/) override { return {}; }

    QxCommon::JsonDb QueryFixDetail(std::wstring /*fixSessionId*/) override { return {}; }

    // Wakes what Perform waits for; nothing here.
    void Signal() override {}

private:
    std::uint32_t m_performed = 0;
};

} // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value is what the agent calls
extern "C" __declspec(dllexport) IEngine* CreateSpecialEngine(std::wstring itemId, std::wstring /*sessionId*/)
{
    return itemId == templateItem ? new TemplateEngine : nullptr;
}
