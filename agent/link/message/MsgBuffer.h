#pragma once

#include <boost/container/small_vector.hpp>

#include <cstdint>
#include <span>

#include "MsgIndex.h"
#include "VzComn_AgentStatus.h"

// The platform's macro would rename an operation below, and has to be gone before any use of it.
#ifdef _WIN32
#include <windows.h>
#undef GetMessage
#endif

// 16-bit unit of a wide string.
#ifdef _WIN32
using MsgChar = wchar_t;
#else
using MsgChar = char16_t;
#endif

// Types of message items. Any other number is raw bytes as well, but entered in the index.
namespace MsgType
{
inline constexpr std::uint32_t RawBytes = 0; // stored, not entered in the index
inline constexpr std::uint32_t String = 1;
inline constexpr std::uint32_t WideString = 2;
inline constexpr std::uint32_t Int = 6;
inline constexpr std::uint32_t UInt = 7;
inline constexpr std::uint32_t Message = 100;
} // namespace MsgType

// A tagged binary message: a head of 12 bytes and items, one after the other, little-endian. Readers get the
// first item of an id. Belongs to one thread at a time. What needs memory may throw std::bad_alloc: Append
// and AppendMessage then leave the message as it was, Attach and Assign as it was or empty.
class MsgBuffer
{
public:
    // An empty message.
    explicit MsgBuffer(std::uint32_t id = 0);
    virtual ~MsgBuffer();

    MsgBuffer(const MsgBuffer&) = delete;
    MsgBuffer& operator=(const MsgBuffer&) = delete;

    // Makes this an empty message.
    void Reset(std::uint32_t id);

    // Parses a serialised message and borrows it: the bytes must stay until the first write. A malformed one
    // becomes an empty message of id 0; null or no bytes change nothing. Bytes of this message are copied.
    void Attach(const std::uint8_t* bytes, std::uint32_t length);

    // The same, with a copy of its own.
    void Assign(const std::uint8_t* bytes, std::uint32_t length);

    // Appends an item; sets item.offset. Strings bring their terminator in item.length but not in the value.
    // A null value leaves the value's bytes zero and, deliberately, the length in the head as it was.
    void Append(MsgItem& item, const void* value);

    // Nests a message, which may be this one, under the id, type and length of its own head.
    void AppendMessage(const MsgBuffer& other);

    [[nodiscard]] AgentStatus GetUInt(std::uint32_t id, std::uint32_t& out) const;

    // Copies the text and a terminator if capacity, in characters, is greater than its length; else copies
    // nothing and still succeeds. length is the text's, without terminator.
    [[nodiscard]] AgentStatus GetString(std::uint32_t id, MsgChar* buffer, std::uint32_t capacity,
                                        std::uint32_t& length) const;

    // Copies a nested message. Deliberate: an item of another type is success, and out stays as it was.
    [[nodiscard]] AgentStatus GetMessage(std::uint32_t id, MsgBuffer& out) const;

    // The serialised message; valid until the next write.
    [[nodiscard]] std::span<const std::uint8_t> Bytes() const;

private:
    void Own();
    [[nodiscard]] bool Holds(const void* bytes) const;
    [[nodiscard]] bool Parse(std::span<const std::uint8_t> bytes);
    void Insert(MsgItem& item, const void* value);

    // Nearly all messages fit into the object itself.
    static constexpr std::size_t usualSize = 256;

    MsgIndex m_index;
    boost::container::small_vector<std::uint8_t, usualSize> m_buffer;
    const std::uint8_t* m_pExternal = nullptr; // Weak. Is the message when it is set.
    std::uint32_t m_uExternalLength = 0;
};
