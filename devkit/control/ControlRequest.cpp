#include "ControlRequest.h"

#include <cstddef>

namespace ControlRequest
{
namespace
{
void AppendEscape(std::wstring& text, wchar_t unit)
{
    constexpr wchar_t digits[] = L"0123456789abcdef";
    text += L"\\u00";
    text += digits[(unit >> 4) & 0xF];
    text += digits[unit & 0xF];
}

void AppendMember(std::wstring& text, const wchar_t* name, const std::wstring& value)
{
    text += text.size() > 1 ? L"," : L"";
    text += Quote(name);
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
        text += Quote(name);
    }
    return text + L"]";
}
} // namespace

std::wstring Quote(const std::wstring& text)
{
    std::wstring quoted;
    quoted.reserve(text.size() + text.size() / 8 + 2);
    quoted += L'"';
    for (const wchar_t unit : text)
    {
        if (unit < L' ')
        {
            AppendEscape(quoted, unit);
            continue;
        }
        if (unit == L'"' || unit == L'\\')
        {
            quoted += L'\\';
        }
        quoted += unit;
    }
    return quoted += L'"';
}

std::wstring Send(std::uint32_t processId, const std::wstring& command, std::uint32_t timeoutMs)
{
    std::wstring text = L"{";
    AppendMember(text, L"processId", std::to_wstring(processId));
    AppendMember(text, L"command", Quote(command));
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
        AppendMember(text, L"json", Quote(*rule.json));
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
