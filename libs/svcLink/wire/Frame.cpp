#include "Frame.h"

#include <algorithm>
#include <cstring>

namespace SvcLink
{

void FrameHeader::SetTrackingId(std::string_view text)
{
    const std::size_t used = text.copy(trackingId, TrackingIdSize);
    std::fill(trackingId + used, trackingId + TrackingIdSize, '\0');
}

std::string FrameHeader::TrackingId() const
{
    return {trackingId, std::find(trackingId, trackingId + TrackingIdSize, '\0')};
}

std::span<const std::uint8_t> Frame::Message() const
{
    return block ? block.First(sizeof header + header.length).subspan(sizeof header)
                 : std::span<const std::uint8_t>();
}

bool ReadHeader(std::span<const std::uint8_t> first, std::size_t frameSize, FrameHeader& header)
{
    if (first.size() < sizeof header || frameSize < first.size())
    {
        return false;
    }
    std::memcpy(&header, first.data(), sizeof header);
    return header.magic == FrameHeader::Magic && header.version == FrameHeader::Version &&
           header.kind >= FrameKind::Introduction && header.kind <= FrameKind::Reply &&
           header.reserved == 0 && header.length <= MaxFrameMessage &&
           header.length == frameSize - sizeof header;
}

} // namespace SvcLink
