#include "RawPipe.h"

#include "Names.h"
#include "WaitUntil.h"

#include <windows.h>

#include <cstring>

using SvcLink::FrameHeader;
using SvcLink::FrameKind;

Bytes BytesOfFrame(const FrameHeader& header, std::size_t messageSize)
{
    Bytes bytes(sizeof header + messageSize, 0x5A);
    std::memcpy(bytes.data(), &header, sizeof header);
    return bytes;
}

FrameHeader Introduction()
{
    FrameHeader header;
    header.kind = FrameKind::Introduction;
    header.SetTrackingId(std::string(36, 'r'));
    return header;
}

FrameHeader Of(FrameKind kind, std::uint32_t length)
{
    FrameHeader header;
    header.kind = kind;
    header.length = length;
    return header;
}

RawPipe::RawPipe()
{
    // One instance waits at a time: the next may not be there yet.
    const std::wstring name = SvcLink::EndpointName();
    EXPECT_TRUE(TestSupport::WaitUntil(
        [&]
        {
            m_pipe = VzCommon::FileHandle(CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                                      OPEN_EXISTING, 0, nullptr));
            return m_pipe || GetLastError() != ERROR_PIPE_BUSY;
        }));
    EXPECT_TRUE(m_pipe);
    DWORD mode = PIPE_READMODE_MESSAGE;
    SetNamedPipeHandleState(m_pipe.Get(), &mode, nullptr, nullptr);
}

bool RawPipe::Write(const Bytes& bytes) const
{
    DWORD written = 0;
    return WriteFile(m_pipe.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) != 0;
}

bool RawPipe::Read(FrameHeader& header) const
{
    DWORD read = 0;
    return ReadFile(m_pipe.Get(), &header, sizeof header, &read, nullptr) ||
           GetLastError() == ERROR_MORE_DATA;
}

void RawPipe::Introduce() const
{
    FrameHeader welcome;
    EXPECT_TRUE(Write(BytesOfFrame(Introduction())));
    EXPECT_TRUE(Read(welcome));
    EXPECT_EQ(welcome.kind, FrameKind::Welcome);
    EXPECT_EQ(welcome.status, 0x20FF0000);
}
