#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "VzComn_AgentStatus.h"

// The messages of the link as this service reads and writes them. Foreign bytes never do harm: what is
// missing or of another type is Status::InvalidParameter. Any thread. May throw std::bad_alloc.
namespace SvcHost
{

// Of a client's name, in characters. What is longer is cut, so that a list of clients fits a message.
inline constexpr std::size_t MaxClientName = 256;

struct Registration
{
    std::wstring clientName;
    std::uint32_t processId = 0; // what the message says, not necessarily the truth
};

struct Mail
{
    std::uint32_t pluginId = 0;
    std::uint32_t mailId = 0;
    std::optional<std::wstring> request; // the JSON text, if the mail carries one
};

// What an answer leaves out.
struct Drop
{
    bool result = false;
    bool param = false;
    bool message = false;
    bool json = false;
};

[[nodiscard]] AgentStatus ReadRegistration(std::span<const std::uint8_t> bytes, Registration& registration);
[[nodiscard]] AgentStatus ReadProcessId(std::span<const std::uint8_t> bytes, std::uint32_t& processId);
[[nodiscard]] AgentStatus ReadMail(std::span<const std::uint8_t> bytes, Mail& mail);

// The answer to a registration or its end.
[[nodiscard]] std::vector<std::uint8_t> ResultAnswer(AgentStatus result, const Drop& drop);

// The answer to a mail.
[[nodiscard]] std::vector<std::uint8_t> MailAnswer(AgentStatus result,
                                                   const std::optional<std::wstring>& json, const Drop& drop);

// A command to a client, and the text of its reply.
[[nodiscard]] std::vector<std::uint8_t> CommandMessage(std::wstring_view command);
[[nodiscard]] AgentStatus ReadReply(std::span<const std::uint8_t> bytes, std::wstring& reply);

} // namespace SvcHost
