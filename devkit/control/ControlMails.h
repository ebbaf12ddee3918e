#pragma once

#include <cstdint>

// How the dev kit's command line talks to the reference host service: JSON mails to a plug-in of the
// service's own, which only administrators may send. Requests and replies:
//
// Status    {}
//           {"service": {"name", "processId", "product", "startedAt"},
//            "clients": [{"processId", "sessionId", "clientName", "registeredAt", "mails"}]}
//           The command line adds "state" to the service, as the service control manager names it.
//           Registered clients only; times are "YYYY-MM-DDTHH:MM:SS.mmm" in local time.
// Send      {"processId": 0, "command": "<text>", "timeoutMs": 60000}
//           {"processId", "status", "reply": "<text>"}
//           processId 0 is the only registered client; with none or several the mail's result is NotFound and
//           "reply" lacks. The command is text, so that what is no JSON can be sent too.
// Watch     {"after": 0, "waitMs": 1000, "max": 100, "fromNow": false}
//           {"records": [record], "next": 17, "lost": 0}
//           Answers at once when records behind "after" are there, else when one comes or the time is over.
//           "fromNow" true: nothing before this moment counts. "lost" records had left the journal.
//           record: {"sequence", "time", "kind", "processId", "sessionId", "pluginId", "mailId", "request",
//           "event", "status"}; "kind" is "register", "unregister", "mail", "event" (a mail to the event
//           center), "command" (sent to the client), "gone"; keys without a meaning for the kind lack.
// Answer    {"pluginId", "mailId", "status", "result", "json", "delayMs", "drop", "times"}
//           From then on, "times" times or without end, mails to that address are answered so; pluginId 0
//           with mailId 0x2051, 0x2052 or 0x2053 stands for that command of the link itself. "status" is what
//           the caller's library call returns, "result" the item of the answer, "json" the reply's text.
//           "drop" is an array and leaves items out: "result", "param", "message", "json". Keys that
//           lack leave the usual answer. {"reset": true} forgets all.
namespace Control
{
inline constexpr std::uint32_t PluginId = 0x4E00FF;
inline constexpr std::uint32_t Status = 1;
inline constexpr std::uint32_t Send = 2;
inline constexpr std::uint32_t Watch = 3;
inline constexpr std::uint32_t Answer = 4;
} // namespace Control
