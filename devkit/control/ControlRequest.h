#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The JSON texts of the control mails, as Control in ControlMails.h lays them down.
namespace ControlRequest
{

[[nodiscard]] std::wstring Send(std::uint32_t processId, const std::wstring& command,
                                std::uint32_t timeoutMs);

// The next records behind that one, or behind this moment.
[[nodiscard]] std::wstring Watch(std::uint64_t after, std::uint32_t waitMs, std::uint32_t max);
[[nodiscard]] std::wstring WatchFromNow();

// One rule of how the service answers. What is not set leaves the usual answer.
struct AnswerRule
{
    std::uint32_t pluginId = 0;
    std::uint32_t mailId = 0;
    std::optional<std::uint32_t> status;
    std::optional<std::uint32_t> result;
    std::optional<std::wstring> json;
    std::optional<std::uint32_t> delayMs;
    std::vector<std::wstring> drop; // names of items
    std::optional<std::uint32_t> times;
};

[[nodiscard]] std::wstring Answer(const AnswerRule& rule);
[[nodiscard]] std::wstring ResetAnswers();

} // namespace ControlRequest
