#pragma once

#include "ConsoleHostMark.h"
#include "SvcLinkServer.h"
#include "TempRegistry.h"
#include "svcLink.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

// The statuses of a command that most tests see.
inline constexpr std::int32_t success = 0x20FF0000;
inline constexpr auto unknownClient = static_cast<std::int32_t>(0xE0010803);
inline constexpr auto tooLarge = static_cast<std::int32_t>(0xE0FE007A);

// The answer that brings the call's message back.
[[nodiscard]] SvcLink::Answer EchoOf(const SvcLink::Call& call);

// What the service does, as a test says.
class ScriptedHandler : public SvcLink::Handler
{
public:
    void OnConnected(const SvcLink::Client& client) override;
    SvcLink::Answer OnCall(const SvcLink::Client& client, const SvcLink::Call& call) override;
    void OnDisconnected(const SvcLink::Client& client) override;

    // In the order of their connections.
    [[nodiscard]] std::vector<SvcLink::Client> Connected();
    [[nodiscard]] std::vector<SvcLink::Client> Disconnected();

    // Nothing but the entry below unless it is set before the server starts.
    std::function<void(const SvcLink::Client&)> onConnected;

    // Echoes unless it is replaced before the server starts.
    std::function<SvcLink::Answer(const SvcLink::Client&, const SvcLink::Call&)> onCall;

private:
    std::mutex m_lock;
    std::vector<SvcLink::Client> m_connected;
    std::vector<SvcLink::Client> m_disconnected;
};

// On the heap as in a program: the library exports no destructor, only the object knows it.
using Manager = std::unique_ptr<CRpcClientManager>;

[[nodiscard]] Manager Connect(std::uint32_t busyMs = 1000);

// A serialised message of that many bytes, at least 12, all filled.
[[nodiscard]] Bytes MessageOf(std::size_t size);

// The bytes of what a handle refers to; empty for an empty one.
[[nodiscard]] Bytes BytesBehind(const CRpcDataHandle& handle);

// Fills an empty handle.
void PutMessage(CRpcDataHandle& handle, const Bytes& bytes);

struct Outcome
{
    std::int32_t status = 0;
    Bytes message;
};

// Runs one command whose message and result are released.
Outcome Execute(CRpcClientManager& manager, std::uint32_t commandId, const Bytes& message,
                CRpcClientManager::Callback callback = nullptr, const std::string& trackingId = "");

// In the place of CreateThread: there is no memory for one.
HANDLE WINAPI RefuseThread(SECURITY_ATTRIBUTES* security, SIZE_T stack, LPTHREAD_START_ROUTINE start,
                           void* parameter, DWORD flags, DWORD* id);

// A service in this process, which clients of this process accept.
class LinkTest : public testing::Test
{
protected:
    LinkTest();
    ~LinkTest() override;

    void StartServer();

    TestSupport::TempRegistry registry;
    ScriptedHandler handler;
    SvcLink::ConsoleHostMark mark;
    SvcLink::Server server{handler};
};
