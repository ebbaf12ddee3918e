#pragma once

#include "Frame.h"
#include "VzComn_AgentStatus.h"
#include "svcLink.h"

#include <cstdint>
#include <memory>
#include <span>

namespace SvcLink
{

// The bytes behind a data handle; none for an empty one. Valid as long as the message stays.
[[nodiscard]] std::span<const std::uint8_t> BytesOf(const CRpcDataHandle& handle);

// Puts the frame's message behind an empty handle; no bytes leave it empty. Takes the frame's block and gives
// it back to the memory: at once, or with a message that fills most of it and is read where it stands.
[[nodiscard]] AgentStatus FillHandle(CRpcDataHandle& handle, Frame& frame,
                                     const std::shared_ptr<FrameMemory>& memory);

} // namespace SvcLink
