#include "PowerEventHandler.h"

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
    if (setting == nullptr) // forged
    {
        return 0;
    }
    for (std::size_t i = 0; i < settingCount; ++i)
    {
        if (setting->PowerSetting == powerSettings[i].id)
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
