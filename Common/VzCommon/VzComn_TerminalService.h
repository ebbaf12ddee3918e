#pragma once

#include <cstdint>

namespace VzCommon::TerminalService
{

inline constexpr std::uint32_t NoSession = 0xFFFFFFFFU;

// The session of a process; NoSession on failure.
bool GetSessionId(std::uint32_t& sessionId, std::uint32_t processId, std::uint32_t* error);

// The session of this process; NoSession on failure, also when the system version cannot be told.
bool GetCurrentSessionId(std::uint32_t& sessionId);

// Whether this process runs in the session of the services. A failed step leaves isService false.
bool IsServiceSession(bool& isService);

} // namespace VzCommon::TerminalService
