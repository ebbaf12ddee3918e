#include "MessagePipe.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <utility>

namespace SvcLink
{

namespace
{

// A frame up to this size goes out without memory of its own, and does not keep a large block when it comes.
constexpr std::size_t smallFrame = FrameMemory::SmallBlock;

// The rest of a frame whose beginning is here is here as well: no more than a guard.
constexpr DWORD restLimitMs = 10000;

// An event with this mark reports to no completion port.
HANDLE NotToPort(HANDLE event)
{
    return reinterpret_cast<HANDLE>(reinterpret_cast<ULONG_PTR>(event) | 1);
}

} // namespace

MessagePipe::MessagePipe(VzCommon::FileHandle pipe, Notify notify) : m_pipe(std::move(pipe))
{
    if (notify == Notify::Event)
    {
        m_readEvent = VzCommon::KernelHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    }
}

OVERLAPPED* MessagePipe::ReaderOverlapped()
{
    m_read = {};
    m_read.hEvent = m_readEvent.Get();
    return &m_read;
}

std::uint32_t MessagePipe::Write(FrameHeader header, std::span<const std::uint8_t> message, DWORD limitMs)
{
    if (message.size() > MaxFrameMessage)
    {
        return ERROR_INSUFFICIENT_BUFFER;
    }
    header.length = static_cast<std::uint32_t>(message.size());
    const std::size_t size = sizeof header + message.size();
    if (size <= smallFrame)
    {
        std::uint8_t frame[smallFrame];
        return Send(header, message, std::span(frame, size), limitMs);
    }
    try
    {
        FrameBlock block = m_memory->Take(size);
        const std::uint32_t error = Send(header, message, block.First(size), limitMs);
        m_memory->Give(std::move(block));
        return error;
    }
    catch (const std::bad_alloc&)
    {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

std::uint32_t MessagePipe::Send(const FrameHeader& header, std::span<const std::uint8_t> message,
                                std::span<std::uint8_t> frame, DWORD limitMs)
{
    std::memcpy(frame.data(), &header, sizeof header);
    std::copy(message.begin(), message.end(), frame.begin() + sizeof header);
    const std::shared_lock inUse(m_useLock);
    return Transfer(true, frame.data(), static_cast<DWORD>(frame.size()), limitMs);
}

std::uint32_t MessagePipe::Transfer(bool write, void* bytes, DWORD size, DWORD limitMs)
{
    if (!m_pipe || m_cancelled)
    {
        return ERROR_OPERATION_ABORTED;
    }
    VzCommon::KernelHandle event = TakeEvent();
    if (!event)
    {
        return GetLastError();
    }
    OVERLAPPED overlapped{};
    overlapped.hEvent = NotToPort(event.Get());
    const BOOL done = write ? WriteFile(m_pipe.Get(), bytes, size, nullptr, &overlapped)
                            : ReadFile(m_pipe.Get(), bytes, size, nullptr, &overlapped);
    std::uint32_t error = done ? ERROR_SUCCESS : GetLastError();
    DWORD transferred = 0;
    if (error == ERROR_IO_PENDING)
    {
        // Either Cancel meets this operation, or it is seen here that Cancel was there.
        const bool late = m_cancelled || WaitForSingleObject(event.Get(), limitMs) != WAIT_OBJECT_0;
        if (late)
        {
            CancelIoEx(m_pipe.Get(), &overlapped);
        }
        error = GetOverlappedResult(m_pipe.Get(), &overlapped, &transferred, TRUE) ? ERROR_SUCCESS
                                                                                   : GetLastError();
        error = late && error != ERROR_SUCCESS && !m_cancelled ? ERROR_TIMEOUT : error;
    }
    else if (error == ERROR_SUCCESS)
    {
        transferred = static_cast<DWORD>(overlapped.InternalHigh);
    }
    GiveEvent(std::move(event));
    return error == ERROR_SUCCESS && transferred != size ? ERROR_INVALID_DATA : error;
}

std::uint32_t MessagePipe::BeginRead()
{
    // Once the read has begun, another thread may be the reader and close the pipe.
    const std::shared_lock inUse(m_useLock);
    if (!m_pipe || m_cancelled)
    {
        return ERROR_OPERATION_ABORTED;
    }
    try
    {
        ProvideFirst();
    }
    catch (const std::bad_alloc&)
    {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    if (!ReadFile(m_pipe.Get(), m_first.First(m_firstSize).data(), static_cast<DWORD>(m_firstSize), nullptr,
                  ReaderOverlapped()))
    {
        const std::uint32_t error = GetLastError();
        if (error != ERROR_IO_PENDING && error != ERROR_MORE_DATA)
        {
            return error;
        }
    }
    if (m_cancelled)
    {
        CancelIoEx(m_pipe.Get(), &m_read);
    }
    return ERROR_SUCCESS;
}

std::uint32_t MessagePipe::FinishRead(Frame& frame, DWORD limitMs)
{
    const bool late = limitMs != INFINITE && WaitForSingleObject(m_readEvent.Get(), limitMs) != WAIT_OBJECT_0;
    if (late)
    {
        Cancel();
    }
    DWORD bytes = 0;
    const std::uint32_t error =
        GetOverlappedResult(m_pipe.Get(), &m_read, &bytes, TRUE) ? ERROR_SUCCESS : GetLastError();
    return late ? ERROR_TIMEOUT : Take(bytes, error, frame);
}

std::uint32_t MessagePipe::Take(DWORD bytes, std::uint32_t error, Frame& frame)
{
    if (error != ERROR_SUCCESS && error != ERROR_MORE_DATA)
    {
        return error;
    }
    if (m_cancelled) // a read that finds data at once cannot be cancelled any more
    {
        return ERROR_OPERATION_ABORTED;
    }
    DWORD rest = 0;
    if (error == ERROR_MORE_DATA && !PeekNamedPipe(m_pipe.Get(), nullptr, 0, nullptr, nullptr, &rest))
    {
        return GetLastError();
    }
    const std::size_t frameSize = std::size_t{bytes} + rest;
    if (!ReadHeader(m_first.First(bytes), frameSize, frame.header))
    {
        return ERROR_INVALID_DATA;
    }
    try
    {
        frame.block = TakeFirst(bytes, frameSize);
    }
    catch (const std::bad_alloc&)
    {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    return rest == 0 ? ERROR_SUCCESS : ReadRest(frame.block.First(frameSize).last(rest));
}

// The block that a read fills. It is small at first; a connection that carries larger frames gets a large
// one, so that most of them come as a whole.
void MessagePipe::ProvideFirst()
{
    if (m_first.Size() < m_firstSize)
    {
        m_memory->Give(std::move(m_first));
        m_first = m_memory->Take(m_firstSize);
    }
}

// A block for the whole frame with its first bytes: the very one that they came in, unless that is too small
// or far too large.
FrameBlock MessagePipe::TakeFirst(std::size_t bytes, std::size_t frameSize)
{
    if (frameSize <= m_first.Size() && (frameSize > smallFrame || m_first.Size() <= smallFrame))
    {
        return std::move(m_first);
    }
    FrameBlock block = m_memory->Take(frameSize);
    std::memcpy(block.First(bytes).data(), m_first.First(bytes).data(), bytes);
    if (frameSize > m_first.Size())
    {
        m_firstSize = FrameMemory::LargeBlock;
    }
    return block;
}

std::uint32_t MessagePipe::ReadRest(std::span<std::uint8_t> rest)
{
    return Transfer(false, rest.data(), static_cast<DWORD>(rest.size()), restLimitMs);
}

void MessagePipe::Cancel()
{
    const std::shared_lock inUse(m_useLock);
    m_cancelled = true;
    if (m_pipe)
    {
        CancelIoEx(m_pipe.Get(), nullptr);
    }
}

void MessagePipe::Close()
{
    Cancel();
    const std::unique_lock alone(m_useLock);
    m_pipe.Reset();
}

VzCommon::KernelHandle MessagePipe::TakeEvent()
{
    {
        const std::lock_guard hold(m_eventLock);
        if (!m_events.empty())
        {
            VzCommon::KernelHandle event = std::move(m_events.back());
            m_events.pop_back();
            return event;
        }
    }
    return VzCommon::KernelHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
}

void MessagePipe::GiveEvent(VzCommon::KernelHandle event)
{
    try
    {
        const std::lock_guard hold(m_eventLock);
        m_events.push_back(std::move(event));
    }
    catch (const std::bad_alloc&)
    {
        return; // one less to use again
    }
}

} // namespace SvcLink
