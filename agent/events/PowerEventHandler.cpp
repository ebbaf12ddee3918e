#include "PowerEventHandler.h"

#include <cstdint>
#include <iterator>
#include <utility>

#include "AgentIds.h"
#include "MailHelper.h"
#include "OuterClientGuard.h"
#include "QxCommon_JsonDb.h"
#include "VzComn_LogFront.h"

namespace
{
constexpr AgentStatus nothingSent = 0;

struct PowerSetting
{
    const GUID& id;
    int eventType;
    const wchar_t* name; // in the log
};

const PowerSetting powerSettings[] = {
    {GUID_ACDC_POWER_SOURCE, PowerEventType::SourceChanged, L"AC and DC power source"},
    {GUID_BATTERY_PERCENTAGE_REMAINING, PowerEventType::BatteryChanged, L"Battery capacity"},
    {GUID_POWERSCHEME_PERSONALITY, PowerEventType::SchemeChanged, L"Power setting"},
};

// Whether every byte can be read.
bool IsReadable(const void* begin, std::size_t size)
{
    constexpr DWORD readable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ |
                               PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    const auto address = reinterpret_cast<std::uintptr_t>(begin);
    for (std::uintptr_t next = address; next - address < size;)
    {
        MEMORY_BASIC_INFORMATION region{};
        if (VirtualQuery(reinterpret_cast<const void*>(next), &region, sizeof(region)) == 0 ||
            region.State != MEM_COMMIT || (region.Protect & PAGE_GUARD) != 0 ||
            (region.Protect & readable) == 0)
        {
            return false;
        }
        next = reinterpret_cast<std::uintptr_t>(region.BaseAddress) + region.RegionSize;
    }
    return true;
}

void RegisterAfterResume()
{
    const AgentStatus status = RegisterRPC();
    if (Status::Failed(status))
    {
        LOG_ERROR << L"RegisterRPC failed...Error Code=" << status;
    }
}

// Deliberate: tells what changed, neither the new value nor the session.
AgentStatus SendPowerEvent(int eventType)
{
    QxCommon::JsonDb request;
    request[L"eventId"].SetInt(static_cast<std::int32_t>(EventId::PowerChanged));
    request[L"eventType"].SetInt(eventType);
    LOG_INFO << L"SERVICE_CONTROL_POWEREVENT triggered, EventType = " << eventType;
    return SendToEventCenter(request);
}
} // namespace

CPowerEventHandler::~CPowerEventHandler()
{
    EndRegistrations();
}

AgentStatus CPowerEventHandler::InitPowerEvents(HWND window)
{
    static_assert(std::size(powerSettings) == settingCount);
    EndRegistrations();
    if (!Load(L"User32.dll"))
    {
        LOG_ERROR << L"Failed to load user32 dll";
        return Status::NoUser32;
    }
    m_pfnRegister = Find<RegisterFunction>("RegisterPowerSettingNotification");
    m_pfnUnregister = Find<UnregisterFunction>("UnregisterPowerSettingNotification");
    if (m_pfnRegister == nullptr)
    {
        return Status::Success;
    }
    for (std::size_t i = 0; i < settingCount; ++i)
    {
        m_registrations[i].handle = m_pfnRegister(window, &powerSettings[i].id, DEVICE_NOTIFY_WINDOW_HANDLE);
        if (m_registrations[i].handle == nullptr)
        {
            const DWORD error = GetLastError();
            LOG_ERROR << powerSettings[i].name << L" RegisterPowerSettingNotification failed, error = "
                      << error;
            return Status::InitializeFailed;
        }
    }
    return Status::Success;
}

void CPowerEventHandler::EndRegistrations()
{
    if (m_pfnUnregister == nullptr)
    {
        return;
    }
    for (Registration& registration : m_registrations)
    {
        if (registration.handle != nullptr)
        {
            m_pfnUnregister(registration.handle);
            registration.handle = nullptr;
        }
    }
}

int CPowerEventHandler::TypeOfSettingChange(const POWERBROADCAST_SETTING* setting)
{
    static_assert(offsetof(POWERBROADCAST_SETTING, PowerSetting) == 0);
    GUID id{};
    if (!IsReadable(setting, sizeof(id))) // anybody can send the message
    {
        return 0;
    }
    CopyMemory(&id, setting, sizeof(id)); // from any address
    for (std::size_t i = 0; i < settingCount; ++i)
    {
        if (id == powerSettings[i].id)
        {
            return std::exchange(m_registrations[i].isSeen, true) ? powerSettings[i].eventType : 0;
        }
    }
    return 0;
}

AgentStatus CPowerEventHandler::HandlePowerEvent(UINT eventCode, const POWERBROADCAST_SETTING* setting)
{
    int eventType = 0;
    switch (eventCode)
    {
    case PBT_POWERSETTINGCHANGE: eventType = TypeOfSettingChange(setting); break;
    case PBT_APMRESUMESUSPEND: // Deliberate: also in a locked session, which has a link again from then on.
        RegisterAfterResume();
        eventType = PowerEventType::Resumed;
        break;
    default: break;
    }
    if (eventType == 0)
    {
        return nothingSent;
    }
    return Guarded(L"HandlePowerEvent", [eventType] { return SendPowerEvent(eventType); });
}
