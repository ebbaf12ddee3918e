#include "SimulatedChange.h"

#include <objbase.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "AgentIds.h"
#include "Arguments.h"
#include "VzComn_TerminalService.h"

namespace
{
template <typename Value>
struct Word
{
    const wchar_t* name;
    Value value;
};

// Null if none has the name.
template <typename Words>
auto* Find(Words& words, const std::wstring& name)
{
    const auto word = std::find_if(std::begin(words), std::end(words),
                                   [&name](const auto& candidate) { return name == candidate.name; });
    return word != std::end(words) ? &*word : nullptr;
}

template <typename Value>
void SetSetting(Notice& notice, const GUID& id, const Value& value)
{
    constexpr std::size_t dataOffset = offsetof(POWERBROADCAST_SETTING, Data);
    POWERBROADCAST_SETTING head{};
    head.PowerSetting = id;
    head.DataLength = sizeof value;
    notice.setting.resize(std::max(sizeof head, dataOffset + sizeof value));
    std::memcpy(notice.setting.data(), &head, dataOffset);
    std::memcpy(notice.setting.data() + dataOffset, &value, sizeof value);
}

bool TakeConnectionType(Notice& notice, const std::wstring& value)
{
    const std::optional<std::uint32_t> type = ParseNumber(value);
    notice.wParam = type.value_or(0);
    return type.has_value();
}

bool TakeSource(Notice& notice, const std::wstring& value)
{
    constexpr Word<std::uint32_t> sources[] = {{L"mains", PoAc}, {L"battery", PoDc}, {L"ups", PoHot}};
    const auto* source = Find(sources, value);
    SetSetting(notice, GUID_ACDC_POWER_SOURCE, source != nullptr ? source->value : 0);
    return source != nullptr;
}

bool TakePercentage(Notice& notice, const std::wstring& value)
{
    const std::optional<std::uint32_t> percentage = ParseNumber(value);
    SetSetting(notice, GUID_BATTERY_PERCENTAGE_REMAINING, percentage.value_or(0));
    return percentage && *percentage <= 100;
}

// With or without its braces.
std::optional<GUID> ParseGuid(const std::wstring& text)
{
    constexpr std::size_t bracedLength = 38;
    const std::wstring braced = text.starts_with(L'{') ? text : L'{' + text + L'}';
    GUID guid{};
    const bool isGuid = braced.size() == bracedLength && braced.back() == L'}' &&
                        IIDFromString(braced.c_str(), &guid) == S_OK;
    return isGuid ? std::optional(guid) : std::nullopt;
}

bool TakeScheme(Notice& notice, const std::wstring& value)
{
    const Word<GUID> schemes[] = {{L"power-saver", GUID_MAX_POWER_SAVINGS},
                                  {L"balanced", GUID_TYPICAL_POWER_SAVINGS},
                                  {L"high-performance", GUID_MIN_POWER_SAVINGS}};
    const auto* scheme = Find(schemes, value);
    const std::optional<GUID> guid = scheme != nullptr ? scheme->value : ParseGuid(value);
    SetSetting(notice, GUID_POWERSCHEME_PERSONALITY, guid.value_or(GUID{}));
    return guid.has_value();
}

constexpr ChangeRow OfSession(const wchar_t* name, WPARAM state)
{
    return {name, WM_WTSSESSION_CHANGE, state, nullptr, false, L"", nullptr};
}

// The type that a start tells where there is a network.
constexpr WPARAM localNetwork = 1;

constexpr std::array changeRows = {
    OfSession(L"lock", WTS_SESSION_LOCK),
    OfSession(L"unlock", WTS_SESSION_UNLOCK),
    OfSession(L"console-connect", WTS_CONSOLE_CONNECT),
    OfSession(L"console-disconnect", WTS_CONSOLE_DISCONNECT),
    OfSession(L"remote-connect", WTS_REMOTE_CONNECT),
    OfSession(L"remote-disconnect", WTS_REMOTE_DISCONNECT),
    OfSession(L"logon", WTS_SESSION_LOGON),
    OfSession(L"logoff", WTS_SESSION_LOGOFF),
    ChangeRow{L"network-made", WindowMessage::NetworkMade, localNetwork, L"TYPE", false,
              L"a number, decimal or 0x", TakeConnectionType},
    ChangeRow{L"network-lost", WindowMessage::NetworkLost, localNetwork, L"TYPE", false,
              L"a number, decimal or 0x", TakeConnectionType},
    ChangeRow{L"power-source", WM_POWERBROADCAST, PBT_POWERSETTINGCHANGE, L"SOURCE", true,
              L"mains, battery or ups", TakeSource},
    ChangeRow{L"battery", WM_POWERBROADCAST, PBT_POWERSETTINGCHANGE, L"PERCENT", true,
              L"a percentage, 0 to 100", TakePercentage},
    ChangeRow{L"scheme", WM_POWERBROADCAST, PBT_POWERSETTINGCHANGE, L"SCHEME", true,
              L"power-saver, balanced, high-performance or a GUID", TakeScheme},
    ChangeRow{L"resume", WM_POWERBROADCAST, PBT_APMRESUMESUSPEND, nullptr, false, L"", nullptr},
};
} // namespace

std::span<const ChangeRow> ChangeRows()
{
    return changeRows;
}

ParsedChange ParseChange(const std::wstring& change, const std::optional<std::wstring>& value)
{
    const ChangeRow* row = Find(changeRows, change);
    if (row == nullptr)
    {
        return {{}, L"unknown change " + change};
    }
    if (value && row->placeholder == nullptr)
    {
        return {{}, change + L" takes no value"};
    }
    if (!value && row->isValueNeeded)
    {
        return {{}, change + L" needs a value: " + row->placeholder};
    }
    Notice notice{row->message, row->wParam, 0, {}};
    if (value && !row->apply(notice, *value))
    {
        return {{}, change + L": \"" + *value + L"\" is not " + row->expected};
    }
    if (row->message == WM_WTSSESSION_CHANGE)
    {
        std::uint32_t session = 0;
        VzCommon::TerminalService::GetCurrentSessionId(session);
        notice.lParam = static_cast<LPARAM>(session);
    }
    return {notice, L""};
}
