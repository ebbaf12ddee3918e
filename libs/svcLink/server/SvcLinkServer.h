#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

// The service's side of the link: one endpoint, any number of clients, many calls at once. Message bytes are
// opaque to it.
namespace SvcLink
{

// Largest message of a call, a callback or an answer, in bytes.
inline constexpr std::uint32_t MaxMessageSize = 16U * 1024 * 1024;

// Who calls. Process and session come from the system, never from a message.
struct Client
{
    std::uint64_t id = 0; // of the connection; never used twice
    std::uint32_t processId = 0;
    std::uint32_t sessionId = 0;
};

struct Call
{
    std::uint32_t commandId = 0;
    std::uint32_t second = 0;
    std::string trackingId;                // up to 36 characters
    std::span<const std::uint8_t> message; // valid until the call is answered
};

struct Answer
{
    std::int32_t status = 0; // what the client's ExecuteCommand, or the service's CallBack, returns
    std::vector<std::uint8_t> message;
};

// What the service does with its clients. Any thread, several at once. What one throws ends there: a call is
// answered by a failure, a client that could not be told of is let go. The operations may call the server.
class Handler
{
public:
    virtual ~Handler() = default;

    // The client has been welcomed; its first call comes after this has returned, and so does any reply to a
    // callback.
    virtual void OnConnected(const Client& client) = 0;

    // May take as long as it likes: other calls, of this client too, go on meanwhile.
    virtual Answer OnCall(const Client& client, const Call& call) = 0;

    // The client is gone. Comes after the client's last OnCall has returned.
    virtual void OnDisconnected(const Client& client) = 0;
};

// Owns the endpoint between Start and Stop.
class Server
{
public:
    // The handler must outlive the server.
    explicit Server(Handler& handler);
    ~Server(); // stops

    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // Opens the endpoint of the running product. Fails with a Windows error code in error: 5 if another
    // process owns the name.
    [[nodiscard]] bool Start(std::uint32_t& error);

    // Ends every connection and waits until no operation of the handler runs. Not from within one.
    void Stop();

    // Calls a client back and waits for its reply, at most as long as told. status is 0xE0FE04CF (network
    // unreachable) for a client that is gone, before or meanwhile, 0xE0FE05B4 (timed out) when the time is
    // over, 0xE0FE007A (too large) for a message beyond the limit. A client that has not read what it got
    // before may hold this up for longer than told, up to 10 seconds: only then it counts as hung and is cut
    // off.
    [[nodiscard]] Answer CallBack(std::uint64_t clientId, const std::string& trackingId,
                                  std::span<const std::uint8_t> message, std::chrono::milliseconds limit);

    // Ends one client's connection.
    void Disconnect(std::uint64_t clientId);

private:
    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace SvcLink
