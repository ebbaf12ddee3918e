#pragma once

#include <cstdint>
#include <string>

// What one event mail carries.
struct EventMail
{
    std::u16string text;
    std::int32_t jsonFlag = 0;
    std::uint32_t processId = 0;
    std::uint32_t threadId = 0;
    std::uint32_t pluginId = 0;
    std::uint32_t mailId = 0;

    bool operator==(const EventMail&) const = default;
};

// One way to carry it: a mail is built, taken as bytes, parsed from them and read into room.
// room is the reader's and used again, so that its memory is not measured.
void CarryByMessage(const EventMail& mail, EventMail& room);
void CarryByMessagePack(const EventMail& mail, EventMail& room);
void CarryByFlatBuffers(const EventMail& mail, EventMail& room);
