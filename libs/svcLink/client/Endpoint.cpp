#include "Endpoint.h"

#include "HostProcess.h"
#include "Names.h"

#include <windows.h>

#include <string>

namespace SvcLink
{

namespace
{

// Not GENERIC_WRITE: that asks for the right to make instances of the pipe as well, which users lack.
constexpr DWORD pipeAccess =
    FILE_READ_DATA | FILE_WRITE_DATA | FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES | SYNCHRONIZE;

// The service may learn who calls, and nobody behind the pipe may act as the caller.
constexpr DWORD pipeFlags = FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;

VzCommon::FileHandle OpenWhenFree(const std::wstring& name, std::uint32_t busyMs, std::uint32_t& error)
{
    const ULONGLONG end = GetTickCount64() + busyMs;
    for (;;)
    {
        VzCommon::FileHandle pipe(
            CreateFileW(name.c_str(), pipeAccess, 0, nullptr, OPEN_EXISTING, pipeFlags, nullptr));
        error = pipe ? ERROR_SUCCESS : GetLastError();
        const ULONGLONG now = GetTickCount64();
        if (error != ERROR_PIPE_BUSY || now >= end)
        {
            return pipe;
        }
        // Another client may take the instance that becomes free, so its result says little.
        WaitNamedPipeW(name.c_str(), static_cast<DWORD>(end - now));
    }
}

bool BelongsToHost(HANDLE pipe)
{
    ULONG processId = 0;
    return GetNamedPipeServerProcessId(pipe, &processId) && IsHostProcess(processId);
}

} // namespace

VzCommon::FileHandle OpenEndpoint(std::uint32_t busyMs, std::uint32_t& error)
{
    VzCommon::FileHandle pipe = OpenWhenFree(EndpointName(), busyMs, error);
    if (!pipe)
    {
        return {};
    }
    if (!BelongsToHost(pipe.Get()))
    {
        OutputDebugStringW(L"svcLink: the endpoint does not belong to the host service and is not used\n");
        error = ERROR_ACCESS_DENIED;
        return {};
    }
    DWORD mode = PIPE_READMODE_MESSAGE;
    if (!SetNamedPipeHandleState(pipe.Get(), &mode, nullptr, nullptr))
    {
        error = GetLastError();
        return {};
    }
    return pipe;
}

} // namespace SvcLink
