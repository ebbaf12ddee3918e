#include "ObjectNames.h"

#include <windows.h>

#include "FrwkMode.h"
#include "QxCommon_names.h"
#include "VzComn_LogFront.h"

namespace ObjectNames
{
std::wstring InstanceMutex()
{
    return QxCommon::GetProductId() + L"_QxSessionAgent";
}

std::wstring ExitEvent()
{
    return QxCommon::GetExitEventName();
}

std::wstring CrashRestartEvent()
{
    return L"Global\\WATCHDOG_EVENT_RESTART_QX_SESSIONAGENT" + QxCommon::GetProductId();
}

std::wstring SplashEvent()
{
    return L"Global\\GLOBAL_EVENT_SPLASH_NOTIFY" + QxCommon::GetProductId();
}

// Deliberate: the maker's name is written with a blank here and without one in the other properties.
std::wstring FrameProperty()
{
    return L"Norvane Soft " + QxCommon::GetProductId() + L" SessionAgent";
}

std::wstring ConsoleProperty()
{
    return L"NorvaneSoft " + QxCommon::GetProductId() + L" uiDeskConsole.exe";
}

// Deliberate: no blank before the product id, unlike the two above.
std::wstring SplashProperty()
{
    return L"NorvaneSoft" + QxCommon::GetProductId() + L" uiDeskTray.exe splash";
}
} // namespace ObjectNames

bool CreateExitEvent(VzCommon::Synchronize::Event& event)
{
    std::uint32_t error = 0;
    if (event.CreateMultipleGlobal(ObjectNames::ExitEvent().c_str(), &error))
    {
        return true;
    }
    LOG_ERROR << L"CreateMultipleGlobal failed... ErrorCode=" << error;
    return false;
}
