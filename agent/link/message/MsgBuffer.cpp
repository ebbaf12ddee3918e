#include "MsgBuffer.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <new>
#include <vector>

namespace
{
// Message and item alike: id, type, length.
struct Head
{
    std::uint32_t id;
    std::uint32_t type;
    std::uint32_t length;
};

constexpr std::uint32_t headSize = 12;
constexpr std::uint32_t lengthOffset = 8;
static_assert(sizeof(Head) == headSize);

// Nothing in a message is aligned.
Head ReadHead(const std::uint8_t* bytes)
{
    Head head{};
    std::memcpy(&head, bytes, sizeof head);
    return head;
}

// How much of a value is copied: a string's terminator is not.
std::uint32_t CopiedLength(const MsgItem& item)
{
    if (item.type == MsgType::String)
    {
        return item.length >= 2 ? item.length - 1 : 0;
    }
    if (item.type == MsgType::WideString)
    {
        return item.length >= 3 ? item.length - 2 : 0;
    }
    return item.length;
}
} // namespace

MsgBuffer::MsgBuffer(std::uint32_t id)
{
    Reset(id);
}

MsgBuffer::~MsgBuffer() = default;

void MsgBuffer::Reset(std::uint32_t id)
{
    const Head head{id, MsgType::Message, 0};
    m_buffer.resize(headSize, boost::container::default_init);
    std::memcpy(m_buffer.data(), &head, sizeof head);
    m_index.Clear();
    m_pExternal = nullptr;
    m_uExternalLength = 0;
}

void MsgBuffer::Attach(const std::uint8_t* bytes, std::uint32_t length)
{
    if (bytes == nullptr || length == 0)
    {
        return;
    }
    if (Holds(bytes))
    {
        Assign(bytes, length);
        return;
    }
    Reset(0);
    if (Parse({bytes, length}))
    {
        m_pExternal = bytes;
        m_uExternalLength = length;
    }
}

void MsgBuffer::Assign(const std::uint8_t* bytes, std::uint32_t length)
{
    if (bytes == nullptr || length == 0)
    {
        return;
    }
    if (Holds(bytes))
    {
        const std::vector<std::uint8_t> copy(bytes, bytes + length);
        Assign(copy.data(), length);
        return;
    }
    m_buffer.reserve(length);
    Reset(0);
    if (Parse({bytes, length}))
    {
        m_buffer.assign(bytes, bytes + length);
    }
}

// Enters all items in the index, which is empty. False, and an empty message, if they do not fill the bytes
// exactly. The length in the head is not asked.
bool MsgBuffer::Parse(std::span<const std::uint8_t> bytes)
{
    // Wider than a length, so that no sum of a position and a length wraps around.
    std::uint64_t position = headSize;
    try
    {
        while (position + headSize <= bytes.size())
        {
            const Head head = ReadHead(bytes.data() + position);
            position += headSize;
            m_index.Add({head.id, head.type, head.length, static_cast<std::uint32_t>(position)});
            position += head.length;
        }
    }
    catch (const std::bad_alloc&)
    {
        Reset(0);
        throw;
    }
    if (position != bytes.size())
    {
        Reset(0);
        return false;
    }
    return true;
}

void MsgBuffer::Append(MsgItem& item, const void* value)
{
    Own();
    if (value != nullptr && Holds(value))
    {
        // Growing may move the bytes, so they are taken first.
        const auto* first = static_cast<const std::uint8_t*>(value);
        const std::vector<std::uint8_t> copy(first, first + CopiedLength(item));
        // Not null even if there are none.
        Insert(item, copy.empty() ? value : copy.data());
        return;
    }
    Insert(item, value);
}

void MsgBuffer::Insert(MsgItem& item, const void* value)
{
    const std::size_t old = m_buffer.size();
    const std::uint64_t size = std::uint64_t{old} + headSize + item.length;
    if (size > std::numeric_limits<std::uint32_t>::max())
    {
        throw std::bad_alloc(); // No message can be as long as that.
    }
    m_buffer.resize(static_cast<std::size_t>(size), boost::container::default_init);

    item.offset = static_cast<std::uint32_t>(old + headSize);
    if (item.type != MsgType::RawBytes)
    {
        try
        {
            m_index.Add({item.id, item.type, item.length, item.offset});
        }
        catch (const std::bad_alloc&)
        {
            m_buffer.resize(old);
            throw;
        }
    }

    const Head head{item.id, item.type, item.length};
    std::memcpy(m_buffer.data() + old, &head, sizeof head);
    std::uint8_t* place = m_buffer.data() + item.offset;
    if (value == nullptr)
    {
        std::memset(place, 0, item.length);
        return;
    }
    // A string's terminator, which is not copied, is zero.
    const std::uint32_t copied = CopiedLength(item);
    std::memcpy(place, value, copied);
    std::memset(place + copied, 0, item.length - copied);
    const auto length = static_cast<std::uint32_t>(size - headSize);
    std::memcpy(m_buffer.data() + lengthOffset, &length, sizeof length);
}

void MsgBuffer::AppendMessage(const MsgBuffer& other)
{
    const std::span<const std::uint8_t> bytes = other.Bytes();
    if (bytes.size() < headSize)
    {
        return;
    }
    // The head's length may be smaller than what follows, and counts. A borrowed one may be larger.
    const Head head = ReadHead(bytes.data());
    const auto there = static_cast<std::uint32_t>(bytes.size() - headSize);
    MsgItem item{head.id, head.type, std::min(head.length, there), 0};
    Append(item, bytes.data() + headSize);
}

AgentStatus MsgBuffer::GetUInt(std::uint32_t id, std::uint32_t& out) const
{
    const MsgItem* item = m_index.First(id);
    if (item == nullptr)
    {
        return Status::NotFound;
    }
    if ((item->type != MsgType::Int && item->type != MsgType::UInt) || item->length != sizeof out)
    {
        return Status::InvalidParameter;
    }
    std::memcpy(&out, Bytes().data() + item->offset, sizeof out);
    return Status::Success;
}

AgentStatus MsgBuffer::GetString(std::uint32_t id, MsgChar* buffer, std::uint32_t capacity,
                                 std::uint32_t& length) const
{
    const MsgItem* item = m_index.First(id);
    if (item == nullptr)
    {
        return Status::NotFound;
    }
    if (item->type != MsgType::WideString)
    {
        return Status::InvalidParameter;
    }
    // Deliberate: the last unit counts as the terminator, whatever it is.
    const auto units = static_cast<std::uint32_t>(item->length / sizeof(MsgChar));
    length = units > 1 ? units - 1 : 0;
    if (buffer != nullptr && capacity > length)
    {
        std::memcpy(buffer, Bytes().data() + item->offset, length * sizeof(MsgChar));
        buffer[length] = 0;
    }
    return Status::Success;
}

AgentStatus MsgBuffer::GetMessage(std::uint32_t id, MsgBuffer& out) const
{
    const MsgItem* item = m_index.First(id);
    if (item == nullptr)
    {
        return Status::NotFound;
    }
    if (item->type == MsgType::Message)
    {
        out.Assign(Bytes().data() + item->offset - headSize, item->length + headSize);
    }
    return Status::Success;
}

std::span<const std::uint8_t> MsgBuffer::Bytes() const
{
    if (m_pExternal != nullptr)
    {
        return {m_pExternal, m_uExternalLength};
    }
    return {m_buffer.data(), m_buffer.size()};
}

// Takes a copy of what is borrowed.
void MsgBuffer::Own()
{
    if (m_pExternal != nullptr)
    {
        m_buffer.assign(m_pExternal, m_pExternal + m_uExternalLength);
        m_pExternal = nullptr;
        m_uExternalLength = 0;
    }
}

// Whether the bytes are the message's own, which its next write may move.
bool MsgBuffer::Holds(const void* bytes) const
{
    const auto* first = static_cast<const std::uint8_t*>(bytes);
    return !std::less<>()(first, m_buffer.data()) && std::less<>()(first, m_buffer.data() + m_buffer.size());
}
