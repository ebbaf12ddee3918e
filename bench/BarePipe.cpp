#include "BarePipe.h"

#include <windows.h>

namespace
{

constexpr wchar_t name[] = L"\\\\.\\pipe\\QxBenchBarePipe";
constexpr DWORD bufferSize = 128 * 1024;

VzCommon::KernelHandle MakeEvent()
{
    return VzCommon::KernelHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
}

bool Finish(HANDLE pipe, BOOL done, OVERLAPPED& overlapped, DWORD& bytes)
{
    return (done || GetLastError() == ERROR_IO_PENDING) &&
           GetOverlappedResult(pipe, &overlapped, &bytes, TRUE);
}

bool Transfer(HANDLE pipe, HANDLE event, bool write, std::uint8_t* data, DWORD size, DWORD& bytes)
{
    OVERLAPPED overlapped{};
    overlapped.hEvent = event;
    const BOOL done = write ? WriteFile(pipe, data, size, nullptr, &overlapped)
                            : ReadFile(pipe, data, size, nullptr, &overlapped);
    return Finish(pipe, done, overlapped, bytes);
}

} // namespace

int ServeBarePipe()
{
    const VzCommon::FileHandle pipe(CreateNamedPipeW(name, PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                                                     PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, 1, bufferSize,
                                                     bufferSize, 0, nullptr));
    const VzCommon::KernelHandle event = MakeEvent();
    OVERLAPPED overlapped{};
    overlapped.hEvent = event.Get();
    DWORD bytes = 0;
    const BOOL connected = ConnectNamedPipe(pipe.Get(), &overlapped);
    if (connected ||
        GetLastError() != ERROR_PIPE_CONNECTED) // a client that was faster is reported nowhere else
    {
        Finish(pipe.Get(), connected, overlapped, bytes);
    }
    std::vector<std::uint8_t> buffer(bufferSize);
    while (Transfer(pipe.Get(), event.Get(), false, buffer.data(), bufferSize, bytes) &&
           Transfer(pipe.Get(), event.Get(), true, buffer.data(), bytes, bytes))
    {
    }
    return 0;
}

BarePipeClient::BarePipeClient() : m_event(MakeEvent())
{
    while (!m_pipe)
    {
        m_pipe = VzCommon::FileHandle(CreateFileW(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                                  OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr));
        Sleep(1);
    }
    DWORD mode = PIPE_READMODE_MESSAGE;
    SetNamedPipeHandleState(m_pipe.Get(), &mode, nullptr, nullptr);
}

bool BarePipeClient::RoundTrip(std::vector<std::uint8_t>& bytes) const
{
    DWORD transferred = 0;
    const auto size = static_cast<DWORD>(bytes.size());
    return Transfer(m_pipe.Get(), m_event.Get(), true, bytes.data(), size, transferred) &&
           Transfer(m_pipe.Get(), m_event.Get(), false, bytes.data(), size, transferred) &&
           transferred == size;
}
