#pragma once

#include "FrameMemory.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// What crosses the pipe: a frame is one pipe message, a header and behind it the bytes of one message.
namespace SvcLink
{

// Largest message in a frame, in bytes. More is refused before it is sent; a frame that claims more ends its
// connection.
inline constexpr std::uint32_t MaxFrameMessage = 16U * 1024 * 1024;

inline constexpr std::size_t TrackingIdSize = 36;

enum class FrameKind : std::uint16_t
{
    Introduction = 1, // client: its manager's tracking id; second is one of Acquaintance
    Welcome = 2,      // service: the status of the introduction
    Call = 3,         // client
    Answer = 4,       // service: under the id of the call
    CallBack = 5,     // service
    Reply = 6,        // client: under the id of the callback
};

// How a client introduces itself.
namespace Acquaintance
{
inline constexpr std::uint32_t New = 0;
inline constexpr std::uint32_t Known = 1; // it was connected before
} // namespace Acquaintance

// Little-endian, as it stands in memory. Unused fields are 0.
struct FrameHeader
{
    static constexpr std::uint32_t Magic = 0x4C435653; // "SVCL"
    static constexpr std::uint16_t Version = 1;

    std::uint32_t magic = Magic;
    std::uint16_t version = Version;
    FrameKind kind = FrameKind::Call;
    std::uint64_t id = 0;    // chosen by whoever asks, repeated by whoever answers
    std::int32_t status = 0; // of a welcome, an answer and a reply
    std::uint32_t commandId = 0;
    std::uint32_t second = 0;
    std::uint32_t length = 0;             // of the message behind the header
    char trackingId[TrackingIdSize] = {}; // filled up with zeros
    std::uint32_t reserved = 0;

    // Cuts the text at TrackingIdSize.
    void SetTrackingId(std::string_view text);
    [[nodiscard]] std::string TrackingId() const;

    [[nodiscard]] bool HasWholeTrackingId() const noexcept { return trackingId[TrackingIdSize - 1] != '\0'; }
};

static_assert(sizeof(FrameHeader) == 72 && offsetof(FrameHeader, version) == 4 &&
              offsetof(FrameHeader, kind) == 6 && offsetof(FrameHeader, id) == 8 &&
              offsetof(FrameHeader, status) == 16 && offsetof(FrameHeader, commandId) == 20 &&
              offsetof(FrameHeader, second) == 24 && offsetof(FrameHeader, length) == 28 &&
              offsetof(FrameHeader, trackingId) == 32 && offsetof(FrameHeader, reserved) == 68);

struct Frame
{
    FrameHeader header;
    FrameBlock block; // the frame as it came, from its header on

    // Valid as long as the block.
    [[nodiscard]] std::span<const std::uint8_t> Message() const;
};

// Reads the header of a frame that is frameSize bytes long in all, of which the first ones are given. False
// if it is malformed; a length that does not match the frame's is.
[[nodiscard]] bool ReadHeader(std::span<const std::uint8_t> first, std::size_t frameSize,
                              FrameHeader& header);

} // namespace SvcLink
