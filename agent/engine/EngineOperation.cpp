#include "EngineOperation.h"

#include <algorithm>
#include <iterator>

#include "EngineAction.h"

namespace
{
// A copy, since the engine may keep handles on what it gets, and the command's own nodes go with the reply.
void CopyMember(const EngineArguments& arguments, const wchar_t* name, QxCommon::JsonDb& copy)
{
    copy.Assign(arguments.command[name]);
}

// A copy as well: the engine's tree may change, and may end with the library.
AgentStatus TakeAnswer(const EngineArguments& arguments, const QxCommon::JsonDb& answer)
{
    arguments.data.Assign(answer);
    return arguments.data.IsNull() ? Status::Failure : Status::Success;
}

AgentStatus Perform(ISpecialEngine& engine, const EngineArguments& /*arguments*/)
{
    return engine.Perform();
}

AgentStatus Signal(ISpecialEngine& engine, const EngineArguments& /*arguments*/)
{
    engine.Signal();
    return Status::Success;
}

AgentStatus Query(ISpecialEngine& engine, const EngineArguments& arguments)
{
    return TakeAnswer(arguments, engine.Query());
}

AgentStatus QueryByKey(ISpecialEngine& engine, const EngineArguments& arguments)
{
    return TakeAnswer(arguments, engine.QueryByKey({}));
}

AgentStatus PutDetails(ISpecialEngine& engine, const EngineArguments& arguments)
{
    QxCommon::JsonDb details;
    CopyMember(arguments, L"details", details);
    engine.PutDetails({}, details);
    return Status::Success;
}

AgentStatus PerformFix(ISpecialEngine& engine, const EngineArguments& arguments)
{
    QxCommon::JsonDb param;
    CopyMember(arguments, L"param", param);
    return engine.PerformFix(arguments.fixSessionId, param);
}

AgentStatus QueryFix(ISpecialEngine& engine, const EngineArguments& arguments)
{
    return TakeAnswer(arguments, engine.QueryFix(arguments.fixSessionId));
}

AgentStatus QueryFixDetail(ISpecialEngine& engine, const EngineArguments& arguments)
{
    return TakeAnswer(arguments, engine.QueryFixDetail(arguments.fixSessionId));
}

constexpr EngineOperation operations[] = {
    {EngineAction::Perform, L"Perform", &Perform},
    {EngineAction::Signal, L"Signal", &Signal},
    {EngineAction::Query, L"Query", &Query},
    {EngineAction::QueryByKey, L"QueryByKey", &QueryByKey},
    {EngineAction::PutDetails, L"PutDetails", &PutDetails},
    {EngineAction::PerformFix, L"PerformFix", &PerformFix},
    {EngineAction::QueryFix, L"QueryFix", &QueryFix},
    {EngineAction::QueryFixDetail, L"QueryFixDetail", &QueryFixDetail},
};
} // namespace

const EngineOperation* FindEngineOperation(std::uint32_t action)
{
    const auto* const row =
        std::find_if(std::begin(operations), std::end(operations),
                     [action](const EngineOperation& candidate) { return candidate.action == action; });
    return row == std::end(operations) ? nullptr : row;
}
