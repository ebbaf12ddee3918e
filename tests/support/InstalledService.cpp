#include "InstalledService.h"

#include "TestProgram.h"
#include "WaitUntil.h"

#include <stdexcept>

namespace TestSupport
{

using VzCommon::KernelHandle;
using VzCommon::ServiceHandle;

namespace
{

SERVICE_STATUS_PROCESS StatusOf(SC_HANDLE service)
{
    SERVICE_STATUS_PROCESS status{};
    DWORD size = 0;
    QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof(status),
                         &size);
    return status;
}

void EndProcessOf(SC_HANDLE service)
{
    const DWORD processId = StatusOf(service).dwProcessId;
    if (processId != 0)
    {
        const KernelHandle process(OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, processId));
        TerminateProcess(process.Get(), 0);
        WaitForSingleObject(process.Get(), 30000);
    }
}

void RemoveService(SC_HANDLE manager, const std::wstring& name)
{
    const ServiceHandle service(OpenServiceW(manager, name.c_str(), SERVICE_ALL_ACCESS));
    if (service)
    {
        EndProcessOf(service.Get());
        DeleteService(service.Get());
    }
}

std::wstring TestServiceLine(const std::wstring& name, const std::wstring& mode)
{
    const std::wstring program = TestProgram(L"TestService", L"TestService.exe");
    return L'"' + program + L"\" \"" + name + L"\" " + mode;
}

void Require(bool done, const char* operation)
{
    if (!done)
    {
        throw std::runtime_error(std::string(operation) + " failed: " + std::to_string(GetLastError()));
    }
}

} // namespace

InstalledService::InstalledService(const std::wstring& name, const std::wstring& mode, DWORD startType)
    : InstalledService(name, Command{TestServiceLine(name, mode)}, startType)
{
}

InstalledService::InstalledService(const std::wstring& name, const Command& command, DWORD startType)
    : m_manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS))
{
    RemoveService(m_manager.Get(), name);
    const auto create = [&]
    {
        m_service.Reset(CreateServiceW(m_manager.Get(), name.c_str(), name.c_str(), SERVICE_ALL_ACCESS,
                                       SERVICE_WIN32_OWN_PROCESS, startType, SERVICE_ERROR_NORMAL,
                                       command.line.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr));
        return static_cast<bool>(m_service);
    };
    Require(WaitUntil(create), "CreateServiceW");
}

InstalledService::~InstalledService()
{
    Kill();
    DeleteService(m_service.Get());
}

void InstalledService::Start() const
{
    Require(StartServiceW(m_service.Get(), 0, nullptr), "StartServiceW");
}

void InstalledService::Stop() const
{
    SERVICE_STATUS ignored{};
    Require(ControlService(m_service.Get(), SERVICE_CONTROL_STOP, &ignored), "ControlService");
}

bool InstalledService::Reaches(DWORD state) const
{
    return WaitUntil([&] { return State() == state; });
}

DWORD InstalledService::State() const
{
    return StatusOf(m_service.Get()).dwCurrentState;
}

DWORD InstalledService::ProcessId() const
{
    return StatusOf(m_service.Get()).dwProcessId;
}

void InstalledService::Kill() const
{
    EndProcessOf(m_service.Get());
}

} // namespace TestSupport
