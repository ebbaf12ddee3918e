#include "QxCommon_names.h"

#include "FrwkMode.h"

namespace QxCommon
{

std::wstring GetServiceName()
{
    return GetProductId() + L" Host Service";
}

std::wstring GetStartRequestEventName()
{
    return L"Global\\WATCHDOG_EVENT_START_SERVICE" + GetProductId();
}

std::wstring GetStopRequestEventName()
{
    return L"Global\\WATCHDOG_EVENT_STOP_SERVICE" + GetProductId();
}

std::wstring GetExitEventName()
{
    return L"Global\\WATCHDOG_NOTIFY_UIDESKTRAY_EXIT" + GetProductId();
}

} // namespace QxCommon
