#pragma once

#include "VzComn_Handle.h"

#include <cstdint>
#include <string>

namespace SvcLink
{

// Makes one instance of the service's pipe, ready to be bound to a completion port. The system and
// administrators may do everything, the session's users call, nobody over the network. The first instance
// fails with ERROR_ACCESS_DENIED if the name exists already. Empty on failure, with the error.
[[nodiscard]] VzCommon::FileHandle MakeEndpointPipe(const std::wstring& name, bool first,
                                                    std::uint32_t& error);

} // namespace SvcLink
