#include "VzComn_Service.h"

#include "VzComn_Error.h"

namespace VzCommon::Service
{

Base::~Base()
{
    // The service is closed before the manager that it was opened through.
    service.Reset();
    scm.Reset();
}

bool Base::Connect(std::uint32_t mode, std::uint32_t* error)
{
    DWORD access = 0;
    switch (mode)
    {
    case ConnectMode::Read: access = GENERIC_READ; break;
    case ConnectMode::Execute: access = GENERIC_EXECUTE; break;
    case ConnectMode::All: access = SC_MANAGER_ALL_ACCESS; break;
    default: return Fail(error, ERROR_BAD_ARGUMENTS);
    }
    if (scm)
    {
        return Fail(error, ERROR_OBJECT_ALREADY_EXISTS);
    }
    scm.Reset(OpenSCManagerW(nullptr, nullptr, access));
    return scm ? Succeed(error) : Fail(error, GetLastError());
}

bool Base::Open(const wchar_t* name, std::uint32_t access, std::uint32_t* error)
{
    if (!scm)
    {
        return Fail(error, ERROR_INVALID_HANDLE);
    }
    if (service)
    {
        return Fail(error, ERROR_OBJECT_ALREADY_EXISTS);
    }
    if (name == nullptr || *name == L'\0')
    {
        return Fail(error, ERROR_BAD_ARGUMENTS);
    }
    service.Reset(OpenServiceW(scm.Get(), name, access));
    return service ? Succeed(error) : Fail(error, GetLastError());
}

bool Base::Open(const std::wstring& name, std::uint32_t access, std::uint32_t* error)
{
    return Open(name.c_str(), access, error);
}

bool Base::Start(std::uint32_t argumentCount, const wchar_t** arguments, std::uint32_t* error)
{
    if (!service)
    {
        return Fail(error, ERROR_INVALID_HANDLE);
    }
    return StartServiceW(service.Get(), argumentCount, arguments) ? Succeed(error)
                                                                  : Fail(error, GetLastError());
}

bool Base::Stop(std::uint32_t* error)
{
    if (!service)
    {
        return Fail(error, ERROR_INVALID_HANDLE);
    }
    SERVICE_STATUS ignored{};
    return ControlService(service.Get(), SERVICE_CONTROL_STOP, &ignored) ? Succeed(error)
                                                                         : Fail(error, GetLastError());
}

bool Base::QueryStatus(SERVICE_STATUS& status, std::uint32_t* error)
{
    status = {};
    if (!service)
    {
        return Fail(error, ERROR_INVALID_HANDLE);
    }
    return QueryServiceStatus(service.Get(), &status) ? Succeed(error) : Fail(error, GetLastError());
}

bool Base::WaitStatus(std::uint32_t wantedState, std::uint32_t retries, std::uint32_t intervalMs,
                      SERVICE_STATUS* status, std::uint32_t* error)
{
    if (!service)
    {
        return Fail(error, ERROR_INVALID_HANDLE);
    }
    SERVICE_STATUS last{};
    for (std::uint32_t round = 0; round < retries; ++round)
    {
        if (!QueryStatus(last, error))
        {
            return false;
        }
        if (last.dwCurrentState == wantedState)
        {
            break;
        }
        // Deliberate: also behind the last query, whose answer then counts although the state may be reached.
        Sleep(intervalMs);
    }
    if (last.dwCurrentState != wantedState)
    {
        return Fail(error, ERROR_TIMEOUT);
    }
    if (status != nullptr)
    {
        *status = last;
    }
    return Succeed(error);
}

} // namespace VzCommon::Service
