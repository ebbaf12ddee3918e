#include "EventNames.h"

#include <cstdint>

#include "QxCommon_JsonDb.h"

namespace SvcHost
{
namespace
{
struct NamedEvent
{
    std::int32_t id;
    const wchar_t* name;
};

constexpr NamedEvent events[] = {
    {0, L"StartedInMode1"}, {1, L"LoggedOff"},    {16, L"SessionActive"},    {17, L"SessionInactive"},
    {18, L"StartFinished"}, {19, L"TrayClosing"}, {23, L"NetworkConnected"}, {24, L"NetworkConnectionLost"},
};

// Reading would make a missing member, so it is looked for first.
std::int32_t Member(QxCommon::JsonDb& json, const wchar_t* name)
{
    return json.HasMember(name) ? QxCommon::IntOrZero(json[name]) : 0;
}

const wchar_t* PowerChange(std::int32_t type)
{
    switch (type)
    {
    case 2: return L"PowerSourceChange";
    case 3: return L"BatteryCapacityChange";
    case 4: return L"PowerSchemeChange";
    case 5: return L"ResumeFromSuspend";
    default: return L"PowerChange";
    }
}
} // namespace

std::wstring EventName(std::wstring_view request)
{
    QxCommon::JsonDb json;
    if (request.size() > LongestEvent || json.ParseFromString(std::wstring(request)) != 0 ||
        !json.HasMember(L"eventId"))
    {
        return {};
    }
    constexpr std::int32_t powerEvent = 32768;
    const std::int32_t id = Member(json, L"eventId");
    if (id == powerEvent)
    {
        return PowerChange(Member(json, L"eventType"));
    }
    for (const NamedEvent& event : events)
    {
        if (event.id == id)
        {
            return event.name;
        }
    }
    return L"Event " + std::to_wstring(id);
}

} // namespace SvcHost
