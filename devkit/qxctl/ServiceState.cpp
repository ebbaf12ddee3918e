#include "ServiceState.h"

#include <windows.h>

#include "QxCommon_names.h"
#include "VzComn_Service.h"

ServiceState QueryHostService()
{
    ServiceState found;
    found.name = QxCommon::GetServiceName();
    VzCommon::Service::Base service;
    SERVICE_STATUS status{};
    if (service.Connect(VzCommon::Service::ConnectMode::Read, &found.error) &&
        service.Open(found.name, SERVICE_QUERY_STATUS, &found.error) &&
        service.QueryStatus(status, &found.error))
    {
        found.state = status.dwCurrentState;
    }
    return found;
}

std::wstring StateName(const ServiceState& service)
{
    switch (service.state)
    {
    case SERVICE_STOPPED: return L"stopped";
    case SERVICE_START_PENDING: return L"start pending";
    case SERVICE_STOP_PENDING: return L"stop pending";
    case SERVICE_RUNNING: return L"running";
    case SERVICE_CONTINUE_PENDING: return L"continue pending";
    case SERVICE_PAUSE_PENDING: return L"pause pending";
    case SERVICE_PAUSED: return L"paused";
    default: return service.error == ERROR_SERVICE_DOES_NOT_EXIST ? L"not installed" : L"unknown";
    }
}
