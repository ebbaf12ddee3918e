// A service to test against: TestService.exe NAME MODE [MILLISECONDS]
//
//     normal         starts and stops at once
//     slow-start     is start pending, with a rising checkpoint, for the time
//     stuck-start    stays start pending, with a still checkpoint
//     slow-stop      is stop pending for the time
//     refuse-stop    does not accept the stop control
//     mute           never tells the service manager that it is there
//
// The name has to be the one under which it is installed.
#include <windows.h>

#include <cwchar>
#include <string>

namespace
{

constexpr DWORD checkpointMs = 20;

struct Service
{
    std::wstring name;
    std::wstring mode;
    DWORD milliseconds = 0;
    HANDLE stopped = nullptr;
    SERVICE_STATUS_HANDLE handle = nullptr;
    SERVICE_STATUS status{};
} g_service;

void Report(DWORD state)
{
    SERVICE_STATUS& status = g_service.status;
    const bool pending = state == SERVICE_START_PENDING || state == SERVICE_STOP_PENDING;
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCheckPoint = pending ? (state == status.dwCurrentState ? status.dwCheckPoint + 1 : 1) : 0;
    status.dwWaitHint = pending ? checkpointMs * 10 : 0;
    status.dwControlsAccepted =
        state == SERVICE_RUNNING && g_service.mode != L"refuse-stop" ? SERVICE_ACCEPT_STOP : 0;
    status.dwCurrentState = state;
    SetServiceStatus(g_service.handle, &status);
}

void StayPending(DWORD state)
{
    for (DWORD passed = 0; passed < g_service.milliseconds; passed += checkpointMs)
    {
        Report(state);
        Sleep(checkpointMs);
    }
}

DWORD WINAPI HandleControl(DWORD control, DWORD /*type*/, void* /*data*/, void* /*context*/)
{
    switch (control)
    {
    case SERVICE_CONTROL_STOP:
        Report(SERVICE_STOP_PENDING);
        SetEvent(g_service.stopped);
        return NO_ERROR;
    case SERVICE_CONTROL_INTERROGATE: return NO_ERROR;
    default: return ERROR_CALL_NOT_IMPLEMENTED;
    }
}

void WINAPI Main(DWORD /*count*/, wchar_t** /*arguments*/)
{
    g_service.handle = RegisterServiceCtrlHandlerExW(g_service.name.c_str(), &HandleControl, nullptr);
    Report(SERVICE_START_PENDING);
    if (g_service.mode == L"slow-start")
    {
        StayPending(SERVICE_START_PENDING);
    }
    if (g_service.mode != L"stuck-start")
    {
        Report(SERVICE_RUNNING);
    }
    WaitForSingleObject(g_service.stopped, INFINITE);
    if (g_service.mode == L"slow-stop")
    {
        StayPending(SERVICE_STOP_PENDING);
    }
    Report(SERVICE_STOPPED);
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count < 3)
    {
        return 2;
    }
    g_service.name = arguments[1];
    g_service.mode = arguments[2];
    g_service.milliseconds = count > 3 ? std::wcstoul(arguments[3], nullptr, 10) : 0;
    g_service.stopped = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (g_service.mode == L"mute")
    {
        WaitForSingleObject(g_service.stopped, INFINITE);
    }

    const SERVICE_TABLE_ENTRYW table[] = {{g_service.name.data(), &Main}, {nullptr, nullptr}};
    return StartServiceCtrlDispatcherW(table) ? 0 : 1;
}
