#pragma once

#include "VzComn_Handle.h"

#include <cstdint>
#include <vector>

// The peer: an overlapped message-mode pipe with the buffers of the link's, and nothing around it.

// Echoes the messages of one client until it goes.
int ServeBarePipe();

class BarePipeClient
{
public:
    // Waits for the server.
    BarePipeClient();

    [[nodiscard]] bool RoundTrip(std::vector<std::uint8_t>& bytes) const;

private:
    VzCommon::FileHandle m_pipe;
    VzCommon::KernelHandle m_event;
};
