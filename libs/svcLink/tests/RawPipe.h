#pragma once

#include "Frame.h"
#include "LinkTest.h"
#include "VzComn_Handle.h"

// Frames as bytes, for what no client of the library would send.
[[nodiscard]] Bytes BytesOfFrame(const SvcLink::FrameHeader& header, std::size_t messageSize = 0);
[[nodiscard]] SvcLink::FrameHeader Introduction();
[[nodiscard]] SvcLink::FrameHeader Of(SvcLink::FrameKind kind, std::uint32_t length = 0);

// The client's end of the pipe, by hand.
class RawPipe
{
public:
    RawPipe();

    [[nodiscard]] bool Write(const Bytes& bytes) const;

    // False if the connection has ended.
    [[nodiscard]] bool Read(SvcLink::FrameHeader& header) const;

    void Introduce() const;

private:
    VzCommon::FileHandle m_pipe;
};
