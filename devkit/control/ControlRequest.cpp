#include "ControlRequest.h"

#include "JsonQuote.h"

namespace ControlRequest
{
namespace
{
void AppendMember(std::wstring& text, const wchar_t* name, const std::wstring& value)
{
    text += text.size() > 1 ? L"," : L"";
    text += JsonQuote(name);
    text += L':';
    text += value;
}

void AppendMember(std::wstring& text, const wchar_t* name, const std::optional<std::uint32_t>& number)
{
    if (number)
    {
        AppendMember(text, name, std::to_wstring(*number));
    }
}

std::wstring Array(const std::vector<std::wstring>& names)
{
    std::wstring text = L"[";
    for (const std::wstring& name : names)
    {
        text += text.size() > 1 ? L"," : L"";
        text += JsonQuote(name);
    }
    return text + L"]";
}
} // namespace

std::wstring Send(std::uint32_t processId, const std::wstring& command, std::uint32_t timeoutMs)
{
    std::wstring text = L"{";
    AppendMember(text, L"processId", std::to_wstring(processId));
    AppendMember(text, L"command", JsonQuote(command));
    AppendMember(text, L"timeoutMs", std::to_wstring(timeoutMs));
    return text + L"}";
}

std::wstring Watch(std::uint64_t after, std::uint32_t waitMs, std::uint32_t max)
{
    std::wstring text = L"{";
    AppendMember(text, L"after", std::to_wstring(after));
    AppendMember(text, L"waitMs", std::to_wstring(waitMs));
    AppendMember(text, L"max", std::to_wstring(max));
    return text + L"}";
}

std::wstring WatchFromNow()
{
    return LR"({"waitMs":0,"fromNow":true})";
}

std::wstring Answer(const AnswerRule& rule)
{
    std::wstring text = L"{";
    AppendMember(text, L"pluginId", std::to_wstring(rule.pluginId));
    AppendMember(text, L"mailId", std::to_wstring(rule.mailId));
    AppendMember(text, L"status", rule.status);
    AppendMember(text, L"result", rule.result);
    if (rule.json)
    {
        AppendMember(text, L"json", JsonQuote(*rule.json));
    }
    AppendMember(text, L"delayMs", rule.delayMs);
    if (!rule.drop.empty())
    {
        AppendMember(text, L"drop", Array(rule.drop));
    }
    AppendMember(text, L"times", rule.times);
    return text + L"}";
}

std::wstring ResetAnswers()
{
    return LR"({"reset":true})";
}
} // namespace ControlRequest
