#pragma once

#include "Frame.h"
#include "VzComn_AgentStatus.h"
#include "svcLink.h"

#include <memory>
#include <span>

namespace SvcLink
{

// One run of a callback, and what it left. Releases both its records' messages.
class CallbackRun
{
public:
    CallbackRun(CRpcClientManager::Callback callback, Frame& frame,
                const std::shared_ptr<FrameMemory>& memory) noexcept;
    ~CallbackRun();

    CallbackRun(const CallbackRun&) = delete;
    CallbackRun& operator=(const CallbackRun&) = delete;

    [[nodiscard]] AgentStatus Result() const { return m_status; }

    // Valid as long as this object.
    [[nodiscard]] std::span<const std::uint8_t> Message() const { return m_message; }

private:
    CRpcCommandResult m_in{};
    CRpcCommandResult m_out{};
    AgentStatus m_status;
    std::span<const std::uint8_t> m_message;
};

} // namespace SvcLink
