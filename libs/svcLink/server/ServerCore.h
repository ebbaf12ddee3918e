#pragma once

#include "ConnectionTable.h"
#include "OwedReads.h"
#include "PortTurns.h"
#include "ServerConnection.h"
#include "SlimLock.h"
#include "VzComn_Handle.h"

#include <cstdint>
#include <memory>
#include <string>

namespace SvcLink
{

// The endpoint and its threads between Start and Stop. The threads share one completion port. Whoever gets a
// frame runs the call itself and then begins the connection's next read, so that a call needs no change of
// threads; if the call takes its time, whoever goes to the port meanwhile begins that read.
class ServerCore : public std::enable_shared_from_this<ServerCore>
{
public:
    explicit ServerCore(Handler& handler) : m_handler(handler) {}

    [[nodiscard]] bool Start(std::uint32_t& error);

    // Waits for calls of the handler and for the threads.
    void Stop();

    // Null if there is none.
    [[nodiscard]] std::shared_ptr<ServerConnection> Find(std::uint64_t clientId);

private:
    using Connection = std::shared_ptr<ServerConnection>;

    // What the port gave.
    struct Report
    {
        ULONG_PTR key = 0; // a connection's address, or QuitKey
        DWORD bytes = 0;
        std::uint32_t error = 0;
    };

    static constexpr ULONG_PTR QuitKey = 0;
    static constexpr ULONG_PTR LookKey = 1; // whoever is at the port is to look whether a client can come

    bool AddThread();
    void RunThread();
    void TakeLeave();
    bool ServeNext();
    void Await(Report& report);
    void Dispatch(const Report& report, bool alone);

    // Make an instance of the pipe wait for a client. One that could not be had is tried again: by the one at
    // the port when it is due, or before that by whoever leaves the port.
    [[nodiscard]] std::uint32_t Listen(bool first);
    [[nodiscard]] std::uint32_t MakeInstance(bool first, Connection& connection);
    [[nodiscard]] std::uint32_t AwaitClient(const Connection& connection);
    [[nodiscard]] bool Admit(const Connection& connection);

    // Does what is due by time: cuts off who has not said who it is, and makes an instance of the pipe wait
    // if none does. PatienceMs tells how long the port may be waited at until then.
    void CatchUp();
    [[nodiscard]] DWORD PatienceMs();

    void DropListening();

    // The reader's turn. Each ends with the next read begun or the connection ended.
    void OnClient(const Connection& connection, std::uint32_t error);
    void OnFrame(const Connection& connection, const Report& report, bool alone);
    void OnIntroduction(const Connection& connection, const Frame& frame);
    void OnCall(const Connection& connection, Frame frame, bool alone);
    void ReadOn(const Connection& connection);

    // Put the next read off until a call has been answered, and begin it.
    void OweRead(const Connection& connection);
    void PayRead(const Connection& connection);
    void PayReads();

    void RunCall(const Connection& connection, Frame frame);
    void End(const Connection& connection);
    void Forget(const Connection& connection);

    Handler& m_handler;
    std::wstring m_name;
    VzCommon::KernelHandle m_port;
    PortTurns m_turns;
    OwedReads m_owedReads;

    SlimLock m_lock;
    Condition m_changed;     // for Stop
    bool m_stopping = false; // Guarded by m_lock, as all below.
    ConnectionTable m_clients;
    Connection m_listening;
    bool m_isPreparing = false;              // a thread makes what is to be m_listening
    Condition::Clock::time_point m_listenAt; // not before that
    std::uint64_t m_nextClient = 1;
    std::uint32_t m_threads = 0;
    VzCommon::KernelHandle m_lastLeaver; // the thread that ends, or has ended, after all others that have
};

} // namespace SvcLink
