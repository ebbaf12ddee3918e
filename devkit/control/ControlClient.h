#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "VzComn_AgentStatus.h"

// What came of one mail.
struct MailAnswer
{
    AgentStatus call = Status::Success;   // negative: the mail was not delivered, or not answered
    AgentStatus result = Status::Success; // what the service says of a mail that it answered
    std::wstring json;                    // the reply; empty if the answer holds none

    [[nodiscard]] bool Failed() const { return Status::Failed(call) || Status::Failed(result); }
};

// Sends JSON mails to plug-ins of the running product's host service, over a connection of its own. Belongs
// to one thread. Nothing but std::bad_alloc is thrown.
//
//     ControlClient client;
//     if (!Status::Failed(LoadLink(folder)))
//     {
//         const MailAnswer answer = client.Mail(Control::PluginId, Control::Status, L"{}", limit);
class ControlClient
{
public:
    ControlClient() = default;
    ~ControlClient() = default;

    ControlClient(const ControlClient&) = delete;
    ControlClient& operator=(const ControlClient&) = delete;

    // Waits for the answer, at most as long as told: the call is then 0xE0FE05B4 (timed out), and goes on in
    // the background. Every failed call ends the connection; the next mail makes a new one.
    [[nodiscard]] MailAnswer Mail(std::uint32_t pluginId, std::uint32_t mailId, const std::wstring& request,
                                  std::chrono::milliseconds limit);

private:
    class Connection;
    struct Call;

    std::shared_ptr<Connection> m_connection; // shared with the thread of a call
};

// Loads svcLink.dll from that folder and from nowhere else. To be called before the first mail.
[[nodiscard]] AgentStatus LoadLink(const std::wstring& folder);
