#pragma once

#include <windows.h>

#include <cstddef>

#include "DllModule.h"
#include "VzComn_AgentStatus.h"

// Turns the power notices of the main frame into events for the service. Lives on the main thread.
class CPowerEventHandler : public Frwk::OperationSystem::CDllModule
{
public:
    CPowerEventHandler() = default;
    ~CPowerEventHandler() override;
    CPowerEventHandler(const CPowerEventHandler&) = delete;
    CPowerEventHandler& operator=(const CPowerEventHandler&) = delete;

    // Asks the system to notify the window of changes of power source, battery and power scheme. A failure
    // keeps what was registered before it; a system without these notices is a success.
    AgentStatus InitPowerEvents(HWND window);

    // Handles one WM_POWERBROADCAST. setting is read only for PBT_POWERSETTINGCHANGE. Zero for a notice that
    // is no event, otherwise the status of the mail.
    AgentStatus HandlePowerEvent(UINT eventCode, const POWERBROADCAST_SETTING* setting);

private:
    using RegisterFunction = HPOWERNOTIFY WINAPI(HANDLE recipient, LPCGUID setting, DWORD flags);
    using UnregisterFunction = BOOL WINAPI(HPOWERNOTIFY handle);

    struct Registration
    {
        HPOWERNOTIFY handle = nullptr;
        // The system tells each setting's value at registration: that first notice is no change.
        bool isSeen = false;
    };

    static constexpr std::size_t settingCount = 3;

    void EndRegistrations();

    // What the notice means for the service; 0 for nothing.
    int TypeOfSettingChange(const POWERBROADCAST_SETTING* setting);

    RegisterFunction* m_pfnRegister = nullptr;
    UnregisterFunction* m_pfnUnregister = nullptr;
    Registration m_registrations[settingCount]; // power source, battery, power scheme
};
