#include "VzComn_TerminalService.h"

#include "VzComn_Error.h"
#include "VzComn_Handle.h"
#include "VzComn_Library.h"
#include "VzComn_OsVersion.h"

#include <windows.h>

namespace VzCommon::TerminalService
{

namespace
{

// Before Vista users share session 0 with the services, so the account has to tell.
bool IsLocalSystem(bool& isService)
{
    Library::Base advapi;
    BOOL(WINAPI * createWellKnownSid)(WELL_KNOWN_SID_TYPE, PSID, PSID, DWORD*) = nullptr;
    BOOL(WINAPI * checkTokenMembership)(HANDLE, PSID, BOOL*) = nullptr;
    if (!advapi.Load(L"advapi32.dll", nullptr, nullptr) ||
        !advapi.Resolve(L"CreateWellKnownSid", createWellKnownSid, nullptr) ||
        !advapi.Resolve(L"CheckTokenMembership", checkTokenMembership, nullptr))
    {
        return false;
    }
    DWORD size = SECURITY_MAX_SID_SIZE;
    const LocalMemory sid(LocalAlloc(LPTR, size));
    BOOL isMember = FALSE;
    if (!sid || !createWellKnownSid(WinLocalSystemSid, nullptr, sid.Get(), &size) ||
        !checkTokenMembership(nullptr, sid.Get(), &isMember))
    {
        return false;
    }
    isService = isMember != FALSE;
    return true;
}

} // namespace

bool GetSessionId(std::uint32_t& sessionId, std::uint32_t processId, std::uint32_t* error)
{
    sessionId = NoSession;

    Library::Base kernel;
    BOOL(WINAPI * processIdToSessionId)(DWORD, DWORD*) = nullptr;
    if (!kernel.Load(L"kernel32.dll", nullptr, error) ||
        !kernel.Resolve(L"ProcessIdToSessionId", processIdToSessionId, error))
    {
        return false;
    }
    DWORD found = NoSession;
    if (!processIdToSessionId(processId, &found))
    {
        return Fail(error, GetLastError());
    }
    sessionId = found;
    return Succeed(error);
}

bool GetCurrentSessionId(std::uint32_t& sessionId)
{
    sessionId = NoSession;
    return IsOsVersion(OsVersion::Windows2000OrLater) &&
           GetSessionId(sessionId, GetCurrentProcessId(), nullptr);
}

bool IsServiceSession(bool& isService)
{
    isService = false;
    if (!IsOsVersion(OsVersion::Windows2000OrLater))
    {
        return false;
    }
    if (!IsOsVersion(OsVersion::VistaOrLater))
    {
        return IsLocalSystem(isService);
    }
    std::uint32_t sessionId = NoSession;
    if (!GetCurrentSessionId(sessionId))
    {
        return false;
    }
    isService = sessionId == 0;
    return true;
}

} // namespace VzCommon::TerminalService
