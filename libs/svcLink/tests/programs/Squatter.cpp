// Owns a pipe's name before the true owner does: Squatter.exe NAME [COUNT]
//
// Waits for so many clients, one if it is not told, and until each has gone, and exits with
//
//     0      they came and not a byte of them
//     1      one of them sent something
//     2      the name could not be had
#include <windows.h>

#include <cstdlib>

namespace
{
bool IsSentTo(HANDLE pipe)
{
    ConnectNamedPipe(pipe, nullptr);
    char bytes[4096];
    DWORD read = 0;
    const bool sent =
        ReadFile(pipe, bytes, sizeof bytes, &read, nullptr) || GetLastError() == ERROR_MORE_DATA;
    DisconnectNamedPipe(pipe);
    return sent;
}
} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count < 2)
    {
        return 2;
    }
    const HANDLE pipe = CreateNamedPipeW(arguments[1], PIPE_ACCESS_DUPLEX | FILE_FLAG_FIRST_PIPE_INSTANCE,
                                         PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, PIPE_UNLIMITED_INSTANCES,
                                         4096, 4096, 0, nullptr);
    if (pipe == INVALID_HANDLE_VALUE)
    {
        return 2;
    }
    const int clients = count > 2 ? _wtoi(arguments[2]) : 1;
    for (int client = 0; client < clients; ++client)
    {
        if (IsSentTo(pipe))
        {
            return 1;
        }
    }
    return 0;
}
