#include "EndpointPipe.h"

#include "MessagePipe.h"

#include <windows.h>

#include <sddl.h>

namespace SvcLink
{

namespace
{

// Users who are logged on may connect, read and write. They lack FILE_CREATE_PIPE_INSTANCE, with which they
// could answer in the service's place.
constexpr wchar_t rights[] = L"D:P(D;;GA;;;NU)(A;;GA;;;SY)(A;;GA;;;BA)(A;;0x12019b;;;IU)";

// Some systems take the flag for a first instance and do not heed it.
bool IsTaken(const std::wstring& name)
{
    return WaitNamedPipeW(name.c_str(), 1) || GetLastError() != ERROR_FILE_NOT_FOUND;
}

} // namespace

VzCommon::FileHandle MakeEndpointPipe(const std::wstring& name, bool first, std::uint32_t& error)
{
    if (first && IsTaken(name))
    {
        error = ERROR_ACCESS_DENIED;
        return {};
    }
    VzCommon::LocalMemory descriptor;
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(rights, SDDL_REVISION_1, descriptor.Put(),
                                                              nullptr))
    {
        error = GetLastError();
        return {};
    }
    SECURITY_ATTRIBUTES attributes{sizeof attributes, descriptor.Get(), FALSE};
    const DWORD mode =
        PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | (first ? FILE_FLAG_FIRST_PIPE_INSTANCE : 0);
    VzCommon::FileHandle pipe(CreateNamedPipeW(
        name.c_str(), mode, PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_REJECT_REMOTE_CLIENTS,
        PIPE_UNLIMITED_INSTANCES, PipeBufferSize, PipeBufferSize, 0, &attributes));
    error = pipe ? ERROR_SUCCESS : GetLastError();
    return pipe;
}

} // namespace SvcLink
