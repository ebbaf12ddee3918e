#pragma once

#include "VzComn_AgentStatus.h"
#include "svcLink.h"

#include <cstdint>
#include <span>

namespace SvcLink
{

// The bytes behind a data handle; none for an empty one. Valid as long as the message stays.
[[nodiscard]] std::span<const std::uint8_t> BytesOf(const CRpcDataHandle& handle);

// Puts a message made of the bytes behind an empty handle; no bytes leave it empty.
[[nodiscard]] AgentStatus FillHandle(CRpcDataHandle& handle, std::span<const std::uint8_t> bytes);

} // namespace SvcLink
