#pragma once

#include <cstdint>

// The 32-bit result of the agent's operations: bit 31 clear is success, set is failure, so a failure is
// negative. Callers log a failure where it happens and pass the number up.
using AgentStatus = std::int32_t;

namespace Status
{
constexpr AgentStatus FromBits(std::uint32_t bits)
{
    return static_cast<AgentStatus>(bits);
}

constexpr bool Failed(AgentStatus status)
{
    return status < 0;
}

// The status of a failed system call, from its Windows error code: access denied, 5, is 0xE0FE0005.
constexpr AgentStatus FromSystemError(std::uint32_t error)
{
    return FromBits(0xE0FE0000U | (error & 0xFFFFU));
}

inline constexpr AgentStatus Success = FromBits(0x20FF0000U);
inline constexpr AgentStatus Failure = FromBits(0xE0FF0001U);          // generic
inline constexpr AgentStatus UnknownTrackId = FromBits(0xE0FF0002U);   // no live engine of that id
inline constexpr AgentStatus InitializeFailed = FromBits(0xE0FF0005U); // an engine or a power registration
inline constexpr AgentStatus InvalidParameter = FromBits(0xE0FF0007U); // also: missing item, no arguments
inline constexpr AgentStatus AlreadyDone = FromBits(0xE0FF000AU);      // initialised, registered
inline constexpr AgentStatus NoCallback = FromBits(0xE0FF000BU);       // a command came with nobody to run it
inline constexpr AgentStatus NoUser32 = FromBits(0xE0FF000DU);         // User32.dll could not be loaded
inline constexpr AgentStatus NotFound = FromBits(0xE0FF000EU);         // start function, file, item, event
inline constexpr AgentStatus FileNotOpened = FromBits(0xE0FF0012U);    // file could not be opened
inline constexpr AgentStatus NoClient = FromBits(0xE0FF001AU);         // no client helper
inline constexpr AgentStatus NoEngineLibrary = FromBits(0xE0FF001DU);  // engine library not loaded
inline constexpr AgentStatus OutOfMemory = FromBits(0xE0FF001EU);      // also: engine could not be created
inline constexpr AgentStatus WrongContext = FromBits(0xE0FF001FU);     // context not of the expected kind
inline constexpr AgentStatus NoStartMode = FromBits(0xE0FF0023U);      // no "startMode" in the configuration
inline constexpr AgentStatus InstanceExists = FromBits(0xE00E0017U);   // another instance owns the session
inline constexpr AgentStatus NoForegroundWindow = FromBits(0xE0150001U);
inline constexpr AgentStatus UnknownClient = FromBits(0xE0010803U); // the service does not know the client
} // namespace Status
