#pragma once

#include <string>
#include <vector>

#include "LinkTest.h"

// A test of events that go to the service: a healthy one, nobody registered yet.
class EventTest : public LinkTest
{
protected:
    EventTest();
    ~EventTest() override;

    // Registers, and waits until the link has nothing more to say of its own.
    static void Connect();

    // The requests that reached the event center so far, without their line feeds.
    [[nodiscard]] static std::vector<std::wstring> Requests();

    // Their mails, each sent by this thread with nothing else in it; throws std::runtime_error otherwise.
    [[nodiscard]] static std::vector<SentCommand> Mails();

    // The statements so far, without the functions' traces and the link's own.
    [[nodiscard]] std::vector<std::wstring> Own() const;

    // The errors among them.
    [[nodiscard]] std::vector<std::wstring> Errors() const;

    // The request of an event with its session.
    [[nodiscard]] static std::wstring SessionRequest(unsigned eventId);
};

// A service that takes the mail and answers with a failure.
inline constexpr AgentStatus refusal = Status::InitializeFailed;
void RefuseMails();
