#include "StartMode.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "FrwkMode.h"
#include "SplashLaunch.h"
#include "UiLaunch.h"
#include "VzComn_LogFront.h"

namespace
{
AgentStatus ShowSplashIgnoringArguments(const std::wstring& /*arguments*/)
{
    return ShowSplash();
}

struct StartFunction
{
    std::wstring_view name; // compared exactly
    AgentStatus (*run)(const std::wstring& arguments);
};

// Constant, so that it stands before the entry point and is never destroyed: the start-mode thread may still
// look something up while the process ends.
constexpr StartFunction startFunctions[] = {
    {L"ShowQxUi", &ShowQxUi},
    {L"ShowSplash", &ShowSplashIgnoringArguments},
};

// Puts the item into the queue of each mode that it names, twice if it names one twice.
void PushItem(const std::wstring& name, QxCommon::JsonDb& value, StartModeTable& table)
{
    // Reading a missing member writes it, so the configuration itself is never read in place.
    QxCommon::JsonDb copy;
    copy.Assign(value);
    const StartModeItem item(copy);
    QxCommon::JsonDb modeIds(copy[L"modeId"]);
    if (!modeIds.IsArray())
    {
        return;
    }
    const std::uint32_t count = modeIds.Size();
    for (std::uint32_t index = 0; index < count; ++index)
    {
        const auto modeNumber = static_cast<std::int32_t>(QxCommon::UIntOrZero(modeIds[index]));
        table[modeNumber].push(item);
        LOG_INFO << L"Push " << name << L" to " << modeNumber;
    }
}
} // namespace

StartModeItem::StartModeItem(QxCommon::JsonDb& item)
    : sequence(QxCommon::IntOrZero(item[L"sequence"])), startFunc(item[L"startFunc"].AsString()),
      startArgs(item[L"startArgs"].AsString())
{
}

AgentStatus StartModeItem::Run() const
{
    const auto* const row =
        std::find_if(std::begin(startFunctions), std::end(startFunctions),
                     [this](const StartFunction& candidate) { return candidate.name == startFunc; });
    if (row == std::end(startFunctions))
    {
        LOG_ERROR << L"Can't find the start function: " << startFunc;
        return Status::NotFound;
    }
    return row->run(startArgs);
}

AgentStatus BuildStartModeTable(QxCommon::JsonDb& config, StartModeTable& table)
{
    if (!config.HasMember(L"startMode"))
    {
        LOG_ERROR << L"Invalid JSON config: " << config.ToStyledString();
        return Status::NoStartMode;
    }
    QxCommon::JsonDb items(config[L"startMode"]);
    std::vector<std::wstring> names;
    items.GetMemberNames(names);
    for (const std::wstring& name : names)
    {
        PushItem(name, items[name], table);
    }
    return Status::Success;
}

AgentStatus RunStartMode(const StartModeTable& table, std::int32_t startMode)
{
    // Deliberate: the other products of the family keep their modes and never run them, with no message.
    if (!QxCommon::IsFrwkModeOne())
    {
        return Status::Success;
    }
    const auto row = table.find(startMode);
    if (row == table.end())
    {
        LOG_WARN << L"Can not find the start mode " << startMode;
        return Status::Success;
    }
    for (StartModeQueue queue = row->second; !queue.empty(); queue.pop())
    {
        if (Status::Failed(queue.top().Run()))
        {
            LOG_ERROR << L"Call the start function failed with ";
        }
    }
    return Status::Success;
}
