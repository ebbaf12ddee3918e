#pragma once

#include "Frame.h"
#include "SlimLock.h"
#include "VzComn_Handle.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace SvcLink
{

// One end of a connected pipe that carries frames. One thread at a time is its reader: it begins reads, takes
// what they brought, and closes the pipe in the end. Write and Cancel come from any thread. Results are
// Windows error codes, 0 on success.
class MessagePipe
{
public:
    // Where a read is reported: to an event of the pipe, for which FinishRead waits, or to the completion
    // port that the pipe is bound to.
    enum class Notify
    {
        Event,
        Port
    };

    MessagePipe(VzCommon::FileHandle pipe, Notify notify);

    MessagePipe(const MessagePipe&) = delete;
    MessagePipe& operator=(const MessagePipe&) = delete;

    [[nodiscard]] HANDLE Get() const { return m_pipe.Get(); }

    // For operations of the reader other than reads. Zeroed.
    [[nodiscard]] OVERLAPPED* ReaderOverlapped();

    // Sends one frame, whose header's length it sets. Fails with ERROR_TIMEOUT if the other end does not take
    // it in time; the frame is then lost.
    std::uint32_t Write(FrameHeader header, std::span<const std::uint8_t> message, DWORD limitMs);

    // The reader's. Once it has succeeded there will be one report.
    std::uint32_t BeginRead();

    // The reader's. Waits for the report of a read, and takes what it brought. Fails with ERROR_TIMEOUT if
    // none comes in time; the pipe is then cancelled.
    std::uint32_t FinishRead(Frame& frame, DWORD limitMs);

    // The reader's. Takes a frame of which a read brought the first bytes, with the read's error code. Fails
    // with ERROR_INVALID_DATA if it is malformed; nothing more than its first bytes was stored then.
    std::uint32_t Take(DWORD bytes, std::uint32_t error, Frame& frame);

    // Any thread. Where frames that are not needed any more are given back.
    [[nodiscard]] const std::shared_ptr<FrameMemory>& Memory() const { return m_memory; }

    // Ends what is under way and lets nothing begin. The reader notices.
    void Cancel();

    // The reader's. Cancels and waits until no other thread is in the pipe, which is at once.
    void Close();

private:
    std::uint32_t Send(const FrameHeader& header, std::span<const std::uint8_t> message,
                       std::span<std::uint8_t> frame, DWORD limitMs);
    std::uint32_t Transfer(bool write, void* bytes, DWORD size, DWORD limitMs);
    std::uint32_t ReadRest(std::span<std::uint8_t> rest);
    void ProvideFirst();
    [[nodiscard]] FrameBlock TakeFirst(std::size_t bytes, std::size_t frameSize);
    [[nodiscard]] VzCommon::KernelHandle TakeEvent();
    void GiveEvent(VzCommon::KernelHandle event);

    VzCommon::FileHandle m_pipe;
    SlimLock m_useLock; // shared by those who use the pipe, exclusive to close
    std::atomic<bool> m_cancelled = false;

    const std::shared_ptr<FrameMemory> m_memory = std::make_shared<FrameMemory>();

    SlimLock m_eventLock;
    std::vector<VzCommon::KernelHandle> m_events; // Guarded by m_eventLock.

    // The reader's.
    OVERLAPPED m_read{};
    VzCommon::KernelHandle m_readEvent;
    FrameBlock m_first; // what a read fills
    std::size_t m_firstSize = FrameMemory::SmallBlock;
};

// The pipe holds this much for a reader who is late before a writer has to wait.
inline constexpr DWORD PipeBufferSize = 128 * 1024;

} // namespace SvcLink
