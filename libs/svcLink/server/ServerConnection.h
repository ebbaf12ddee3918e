#pragma once

#include "MessagePipe.h"
#include "ProcessShare.h"
#include "ServerLimits.h"
#include "SlimLock.h"
#include "SvcLinkServer.h"

#include <cstdint>
#include <map>
#include <memory>

namespace SvcLink
{

// One client's connection, from the moment that its instance of the pipe waits for a client. One pool thread
// at a time is its reader: the one that got its last completion, until it or another begins the next read.
// Everything else comes from any thread.
class ServerConnection
{
public:
    // What a connection is at, for its reader.
    enum class Stage
    {
        Listening,   // no client yet
        Introducing, // the first frame is to come
        Serving,
        Refused // was told that it is not known; has to go
    };

    explicit ServerConnection(VzCommon::FileHandle owned) : pipe(std::move(owned), MessagePipe::Notify::Port)
    {
    }

    // Takes process and session from the system. False if that is refused.
    [[nodiscard]] bool Identify(std::uint64_t id);

    // Counts a call that begins. False if the client's process has as many under way as it may have.
    [[nodiscard]] bool BeginCall(std::size_t messageSize);

    // True if that was the last call of a client that is gone.
    [[nodiscard]] bool EndCall(std::size_t messageSize);

    // Calls that begin now, and those that wait, end with the status of a client that is gone. True if no
    // call is under way.
    [[nodiscard]] bool MarkGone();

    // Sends a frame. A client that does not take it in time is cut off.
    [[nodiscard]] std::uint32_t Send(const FrameHeader& header, std::span<const std::uint8_t> message,
                                     std::chrono::milliseconds limit = WriteLimit);

    [[nodiscard]] Answer CallBack(const std::string& trackingId, std::span<const std::uint8_t> message,
                                  std::chrono::milliseconds limit);

    // A reply that nobody waits for is dropped.
    void TakeReply(Frame frame);

    MessagePipe pipe;
    std::shared_ptr<ProcessShare> share; // from when the client is known; does not change

    // The reader's.
    Stage stage = Stage::Listening;
    Client client;
    std::shared_ptr<ServerConnection> self; // while an operation is under way that ends at the port

private:
    struct Waiting
    {
        bool answered = false;
        Frame reply;
        Condition wake;
    };

    [[nodiscard]] Answer AnswerOf(Frame reply);

    SlimLock m_lock;
    bool m_gone = false; // Guarded by m_lock, as all below.
    std::uint32_t m_calls = 0;
    std::uint64_t m_nextCallback = 1;
    std::map<std::uint64_t, Waiting*> m_waiting; // Weak. By the callback's id.
};

} // namespace SvcLink
