#include "HostService.h"

namespace
{
constexpr DWORD limit = 60000; // milliseconds
constexpr wchar_t serviceName[] = L"Melvio Host Service";
} // namespace

VzCommon::KernelHandle StartProgram(const std::wstring& program, const std::wstring& arguments)
{
    std::wstring commandLine = L"\"" + program + L"\" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr,
                        nullptr, &startup, &process))
    {
        return {};
    }
    const VzCommon::KernelHandle thread(process.hThread);
    return VzCommon::KernelHandle(process.hProcess);
}

HostService::HostService(const std::wstring& stage) : m_program(stage + L"/win32/QxSvcHost_M.exe")
{
    m_ready = Run(L"--install") && Run(L"--start");
    m_manager = VzCommon::ServiceHandle(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    m_service = VzCommon::ServiceHandle(
        OpenServiceW(m_manager.Get(), serviceName, SERVICE_QUERY_STATUS | SERVICE_START));
}

HostService::~HostService()
{
    static_cast<void>(Run(L"--stop"));
    static_cast<void>(Run(L"--uninstall"));
}

bool HostService::Kill()
{
    const VzCommon::KernelHandle process(OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, ProcessId()));
    return process && TerminateProcess(process.Get(), 1) &&
           WaitForSingleObject(process.Get(), limit) == WAIT_OBJECT_0;
}

bool HostService::StartAgain()
{
    // The manager may need a moment to see that the process is gone.
    const ULONGLONG end = GetTickCount64() + limit;
    while (!StartServiceW(m_service.Get(), 0, nullptr))
    {
        if (GetLastError() != ERROR_SERVICE_ALREADY_RUNNING || GetTickCount64() > end)
        {
            return false;
        }
        Sleep(1);
    }
    return true;
}

bool HostService::Run(const wchar_t* option) const
{
    const VzCommon::KernelHandle process = StartProgram(m_program, option);
    DWORD exitCode = 1;
    return process && WaitForSingleObject(process.Get(), limit) == WAIT_OBJECT_0 &&
           GetExitCodeProcess(process.Get(), &exitCode) && exitCode == 0;
}

DWORD HostService::ProcessId() const
{
    SERVICE_STATUS_PROCESS status{};
    DWORD needed = 0;
    return QueryServiceStatusEx(m_service.Get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                                sizeof(status), &needed)
               ? status.dwProcessId
               : 0;
}
