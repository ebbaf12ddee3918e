#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ControlRequest.h"

// Exit codes of the program, which scripts rely on.
namespace ExitCode
{
inline constexpr int Ok = 0;
inline constexpr int Refused = 1;
inline constexpr int Usage = 2;
inline constexpr int NotReachable = 3;
inline constexpr int TimedOut = 4;
} // namespace ExitCode

enum class Verb : std::uint32_t
{
    None,
    Status,
    Send,
    Watch,
    Mail,
    Answer,
    Simulate,
    Exit,
};

// What a command line asks for.
struct Arguments
{
    Verb verb = Verb::None;
    bool wantsHelp = false;
    bool wantsJson = false;
    std::optional<std::wstring> product; // as written

    std::optional<std::wstring> command; // send; mail: the request
    std::optional<std::wstring> file;    // send, mail: which holds it
    std::uint32_t processId = 0;         // send, simulate

    std::optional<std::uint32_t> timeoutSeconds; // send, watch, mail, simulate

    std::optional<std::uint32_t> count; // watch
    bool wantsAll = false;              // watch: the past too
    bool wantsEverything = false;       // watch: other kinds of records too

    bool wantsReset = false;         // answer
    bool hasPlugin = false;          // answer, mail
    bool hasMail = false;            // answer, mail
    ControlRequest::AnswerRule rule; // mail: the address alone

    std::optional<std::wstring> change; // simulate
    std::optional<std::wstring> value;  // simulate: of the change
};

struct ParsedArguments
{
    Arguments arguments;
    std::wstring error; // one line; empty if the command line is right
};

// Without the program's own name.
[[nodiscard]] ParsedArguments ParseArguments(const std::vector<std::wstring>& words);

// A whole number of 32 bits, decimal or 0x.
[[nodiscard]] std::optional<std::uint32_t> ParseNumber(const std::wstring& text);

// A number as above or a negative decimal, as which the log writes a status.
[[nodiscard]] std::optional<std::uint32_t> ParseStatus(const std::wstring& text);
