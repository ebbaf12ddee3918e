#pragma once

#include "AnswerRules.h"

namespace QxCommon
{
class JsonDb;
}

namespace SvcHost
{

// Reads what the control mail "Answer" orders: its address, and how the answers differ.
struct AnswerRequest
{
    std::uint32_t pluginId = 0;
    std::uint32_t mailId = 0;
    AnswerRule rule;
};

// Status::InvalidParameter for an address whose answers cannot be ordered, and for an unknown "drop".
[[nodiscard]] AgentStatus ReadAnswerRequest(QxCommon::JsonDb& json, AnswerRequest& request);

} // namespace SvcHost
