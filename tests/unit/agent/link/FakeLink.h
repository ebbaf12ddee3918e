#pragma once

#include <windows.h>

#include <boost/weak_ptr.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "VzComn_AgentStatus.h"
#include "svcLink.h"

// Stands in for svcLink.dll in the test program, and for the service behind it: keeps the bytes of each
// command, answers as told, and calls the program back.

// Commands.
inline constexpr std::uint32_t mailId = 0x2051;
inline constexpr std::uint32_t registerId = 0x2052;

// A command as it reached the library.
struct SentCommand
{
    std::uint32_t id = 0;
    std::uint32_t second = 0;
    std::string trackingId;
    std::string record;  // all bytes, the data's pointer and the tracking id zeroed
    std::string message; // the serialised message; empty if there is none
    bool withCallback = false;
    const CRpcClientManager* manager = nullptr;
    DWORD thread = 0;
    std::uint64_t tick = 0;                // milliseconds
    boost::weak_ptr<CRpcMsgBuffer> buffer; // expired when nobody owns the message any more
};

// What the service does with a command: a status of the library, and a serialised message for the result;
// an empty one is no message.
struct Answer
{
    std::int32_t status = Status::Success;
    std::string message;
};

// What came back from a call of the service.
struct CallOutcome
{
    std::int32_t returned = 0;
    std::int32_t status = 0; // of the record, 0 as long as nobody writes it
    std::uint32_t messageId = 0;
    std::string message;
    CRpcDataHandle data{}; // its two numbers
    DWORD thread = 0;
};

class FakeLink
{
public:
    FakeLink();

    // Answers of the commands of an id, in their order; the last one stays. Without any, a healthy service
    // answers: success, and for a mail an empty object.
    void AnswerTo(std::uint32_t commandId, std::vector<Answer> answers);

    // The reply to the mail that asks for the service's process; the value of "handle" as JSON.
    void GiveProcess(const std::string& handle);

    // Runs on the calling thread before the command gets its answer; what it throws comes out of the library.
    void Before(std::uint32_t commandId, std::function<void()> action);

    // Holds commands of the id in the library until they are let go.
    void Hold(std::uint32_t commandId);
    void LetGo();
    [[nodiscard]] std::size_t Held() const;

    [[nodiscard]] std::vector<SentCommand> Commands() const;
    [[nodiscard]] std::vector<SentCommand> Commands(std::uint32_t id) const;

    // The only command of the id so far.
    [[nodiscard]] SentCommand Only(std::uint32_t id) const;

    // The operations of the library in the order of their calls.
    [[nodiscard]] std::vector<std::string> Calls() const;
    void ForgetCalls();

    // Calls the program back under the callback that was registered last, on a thread of its own.
    [[nodiscard]] CallOutcome Call(const std::string& message) const;

    [[nodiscard]] CRpcClientManager::Callback Callback() const;

    [[nodiscard]] std::size_t LivingManagers() const;

    // What the operations give.
    AgentStatus load = Status::Success; // of the library
    AgentStatus createUuid = Status::Success;
    AgentStatus destroyTrackingId = Status::Success;
    AgentStatus destroyContext = Status::Success;
    bool noMemoryForManager = false;
    bool leavesHandles = false; // as they are when it destroys them; releases them after the test
};

// The one of the test that runs.
[[nodiscard]] FakeLink& TheLink();

// Begins a test with a healthy service and without any connection.
void ResetLink();

// A manager's own tracking id.
inline constexpr char ManagerTrackingId[] = "01234567-89ab-cdef-0123-456789abcdef";
