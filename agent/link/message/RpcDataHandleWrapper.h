#pragma once

#include <map>
#include <string>

#include "RpcMsgBuffer.h"
#include "svcLink.h"

// Owns what a data handle refers to, and makes and reads the messages behind such handles. Belongs to one
// thread at a time. Nothing is thrown.
class CRpcDataHandleWrapper
{
public:
    using Text = std::basic_string<MsgChar>;

    CRpcDataHandleWrapper() = default;

    // Shares the handle's message: one further reference, no copy. Empty if there is no memory for it.
    explicit CRpcDataHandleWrapper(const CRpcDataHandle& handle);

    CRpcDataHandleWrapper(const CRpcDataHandleWrapper&) = delete;
    CRpcDataHandleWrapper& operator=(const CRpcDataHandleWrapper&) = delete;

    virtual ~CRpcDataHandleWrapper();

    // Lets go of the message and makes a new one of id 0x10014.
    AgentStatus Create();

    // Puts a deep copy into target, whose former content it releases. Without a message target becomes empty.
    AgentStatus CopyTo(CRpcDataHandle& target) const;

    // Reads a wide string of any length, cut at its first zero character.
    [[nodiscard]] AgentStatus Get(std::uint32_t id, Text& out) const;

    // Releases target and fills it with the nested message of that id of holder; an item of another type or
    // none leaves an empty message there. Without a message in holder target becomes empty.
    [[nodiscard]] static AgentStatus ExtractMessage(std::uint32_t index, CRpcDataHandle& target,
                                                    const CRpcDataHandle& holder);

    // Drops the reference and empties the handle. Success for null and for an empty handle as well.
    static AgentStatus Release(CRpcDataHandle* handle);

    // Weak. The message; null if there is none.
    [[nodiscard]] CRpcMsgBuffer* Message() const;

    [[nodiscard]] const CRpcDataHandle& Handle() const { return m_handle; }

    [[nodiscard]] CRpcDataHandle& Handle() { return m_handle; }

private:
    CRpcDataHandle m_handle{};
    std::map<std::uint32_t, std::uint32_t> m_unused; // Deliberate: stays empty.
};
