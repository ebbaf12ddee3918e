#include "AnswerRequest.h"

#include <algorithm>

#include "ControlMails.h"
#include "MessageIds.h"
#include "QxCommon_JsonDb.h"

namespace SvcHost
{
namespace
{
constexpr std::uint32_t maxDelayMs = 600'000;

// A status may be written with its sign or as the unsigned number with the same bits.
std::optional<AgentStatus> ReadStatus(QxCommon::JsonDb& json, const wchar_t* name)
{
    if (!json.HasMember(name))
    {
        return std::nullopt;
    }
    const AgentStatus number = QxCommon::IntOrZero(json[name]);
    return number != 0 ? number : Status::FromBits(QxCommon::UIntOrZero(json[name]));
}

std::uint32_t ReadUInt(QxCommon::JsonDb& json, const wchar_t* name)
{
    return json.HasMember(name) ? QxCommon::UIntOrZero(json[name]) : 0;
}

// The reply is text; an object or array stands for its own text.
std::optional<std::wstring> ReadReplyText(QxCommon::JsonDb& json)
{
    if (!json.HasMember(L"json"))
    {
        return std::nullopt;
    }
    const QxCommon::JsonDb& text = json[L"json"];
    return text.IsArray() || text.Size() > 0 ? text.ToFastString() : text.AsString();
}

bool ReadDrop(QxCommon::JsonDb& json, Drop& drop)
{
    if (!json.HasMember(L"drop"))
    {
        return true;
    }
    QxCommon::JsonDb items(json[L"drop"]);
    if (!items.IsArray())
    {
        return false;
    }
    for (std::uint32_t i = 0; i < items.Size(); ++i)
    {
        const std::wstring name = items[i].AsString();
        drop.result = drop.result || name == L"result";
        drop.param = drop.param || name == L"param";
        drop.message = drop.message || name == L"message";
        drop.json = drop.json || name == L"json";
        if (name != L"result" && name != L"param" && name != L"message" && name != L"json")
        {
            return false;
        }
    }
    return true;
}

// The control mails themselves are left out, or nobody could take an order back.
bool CanBeOrdered(std::uint32_t pluginId, std::uint32_t mailId)
{
    if (pluginId == 0)
    {
        return mailId == RpcCommandId::Mail || mailId == RpcCommandId::RegisterProcess ||
               mailId == RpcCommandId::UnregisterProcess;
    }
    return pluginId != Control::PluginId;
}
} // namespace

AgentStatus ReadAnswerRequest(QxCommon::JsonDb& json, AnswerRequest& request)
{
    request.pluginId = ReadUInt(json, L"pluginId");
    request.mailId = ReadUInt(json, L"mailId");
    AnswerRule& rule = request.rule;
    if (!CanBeOrdered(request.pluginId, request.mailId) || !ReadDrop(json, rule.drop))
    {
        return Status::InvalidParameter;
    }
    rule.status = ReadStatus(json, L"status");
    rule.result = ReadStatus(json, L"result");
    rule.json = ReadReplyText(json);
    rule.delay = std::chrono::milliseconds(std::min(ReadUInt(json, L"delayMs"), maxDelayMs));
    if (json.HasMember(L"times"))
    {
        rule.times = ReadUInt(json, L"times");
    }
    return Status::Success;
}

} // namespace SvcHost
