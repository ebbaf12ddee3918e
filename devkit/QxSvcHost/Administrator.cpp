#include "Administrator.h"

#include <windows.h>

#include <array>

#include "VzComn_Handle.h"

namespace SvcHost
{
namespace
{
bool BelongsToAdministrators(HANDLE token)
{
    std::array<BYTE, SECURITY_MAX_SID_SIZE> sid{};
    DWORD size = sid.size();
    BOOL belongs = FALSE;
    return CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid.data(), &size) &&
           CheckTokenMembership(token, sid.data(), &belongs) && belongs;
}
} // namespace

// A token that holds the group for denials alone, as without the user's consent, does not count.
bool IsAdministrator(std::uint32_t processId)
{
    const VzCommon::KernelHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    VzCommon::KernelHandle token;
    VzCommon::KernelHandle impersonation;
    return process && OpenProcessToken(process.Get(), TOKEN_QUERY | TOKEN_DUPLICATE, token.Put()) &&
           DuplicateToken(token.Get(), SecurityIdentification, impersonation.Put()) &&
           BelongsToAdministrators(impersonation.Get());
}

} // namespace SvcHost
