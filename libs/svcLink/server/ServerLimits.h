#pragma once

#include <chrono>
#include <cstdint>

// What clients may take of the service.
namespace SvcLink
{

// Calls of one process under way at once, and the bytes of their messages. A call beyond is answered with
// 0xE0FE00AA (busy).
inline constexpr std::uint32_t MaxCallsOfProcess = 256;
inline constexpr std::uint64_t MaxCallBytesOfProcess = 256ULL * 1024 * 1024;

// Clients at once, of all and of one process. One more is cut off.
inline constexpr std::size_t MaxClients = 1024;
inline constexpr std::uint32_t MaxClientsOfProcess = 128;

// A client that has not said who it is within this time is cut off.
inline constexpr std::chrono::milliseconds IntroductionLimit{10000};

// A client that does not take a frame within this time is cut off, never before.
inline constexpr std::chrono::milliseconds WriteLimit{10000};

// The same for a refusal that is sent while nobody else is there for the others.
inline constexpr std::chrono::milliseconds LoneWriteLimit{100};

// How long the last threads may take to hear that the service ends, until they are told again.
inline constexpr std::chrono::milliseconds QuitAgain{1000};

// A thread without work ends after this time, unless it is the last one at the port.
inline constexpr std::uint32_t ThreadIdleMs = 10000;

// A thread that has done its last work is gone within this time.
inline constexpr std::uint32_t ThreadEndMs = 5000;

// How long until it is tried again to make an instance of the pipe, when the system had no means for one.
inline constexpr std::uint32_t ListenRetryMs = 500;

// How long the port is waited at while there is an instance; then it is made sure that there still is one.
inline constexpr std::uint32_t ListenCheckMs = 30000;

// Clients in a row that may come and go before an instance waits for them, until other work has its turn.
inline constexpr std::uint32_t MaxHastyClients = 16;

} // namespace SvcLink
