#pragma once

#include "CallbackTable.h"
#include "MessagePipe.h"
#include "VzComn_AgentStatus.h"
#include "WorkerPool.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace SvcLink
{

// One connection to the service, from the welcome to its end. One thread at a time reads: a caller who waits
// for an answer, or else the listener, a thread of the connection; so an answer mostly needs no change of
// threads. Whoever reads wakes the callers whose answers come and hands callbacks to the workers. The threads
// of the connection hold it alive; Close lets them go.
class ClientConnection : public std::enable_shared_from_this<ClientConnection>
{
public:
    // Opens the endpoint and introduces the manager. Null on failure, with the status.
    [[nodiscard]] static std::shared_ptr<ClientConnection>
    Open(std::uint32_t busyMs, const std::string& managerId, std::uint32_t acquaintance,
         std::shared_ptr<CallbackTable> callbacks, AgentStatus& status);

    ClientConnection(VzCommon::FileHandle pipe, std::shared_ptr<CallbackTable> callbacks);

    // Sends a call and waits for its answer. Negative if none came; otherwise the answer's status.
    [[nodiscard]] AgentStatus Call(FrameHeader header, std::span<const std::uint8_t> message, Frame& answer);

    // Where an answer's block is given back.
    [[nodiscard]] const std::shared_ptr<FrameMemory>& Memory() const { return m_pipe.Memory(); }

    [[nodiscard]] bool IsLost();

    // Any thread. Does not wait for callbacks.
    void Close();

private:
    struct Waiting
    {
        std::uint64_t id = 0; // of the call
        bool answered = false;
        bool waits = false; // for its answer, not to write
        Frame answer;
        Condition wake;
    };

    AgentStatus Introduce(const std::string& managerId, std::uint32_t acquaintance);
    void WaitForAnswer(std::unique_lock<SlimLock>& hold, Waiting& waiting);

    // Has somebody read if nobody does.
    void PassOn();

    // The listener.
    [[nodiscard]] bool StartListening();
    void Listen();
    void WaitForQuiet(std::unique_lock<SlimLock>& hold);

    // The reader's.
    void ReadOne(std::unique_lock<SlimLock>& hold);
    std::uint32_t TakeOne(Frame& frame);
    void TakeAnswer(Frame frame); // m_lock is held
    void TakeCallback(Frame frame);

    void RunCallback(Frame& frame);
    void Reply(std::uint64_t id, AgentStatus status, std::span<const std::uint8_t> message);

    // No call waits from here on. The first error stays. Lose: m_lock is held.
    void LoseNow(std::uint32_t error);
    void Lose(std::uint32_t error);

    MessagePipe m_pipe;
    std::shared_ptr<CallbackTable> m_callbacks;
    std::shared_ptr<WorkerPool> m_workers;

    SlimLock m_lock;
    std::vector<Waiting*> m_waiting; // Weak. In the order of their calls. Guarded by m_lock, as all below.
    std::uint64_t m_nextCall = 1;
    std::uint32_t m_lostBy = 0; // the error that ended the connection
    bool m_isRead = false;      // there is a reader
    bool m_listenerSleeps = false;
    Condition::Clock::time_point m_lastAnswer;
    Condition m_listener;
};

} // namespace SvcLink
