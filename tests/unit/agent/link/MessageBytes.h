#pragma once

#include <cstdint>
#include <string>

// Messages of the link as bytes, written out item by item without the code under test.
struct Bytes
{
    std::string text;

    Bytes& U32(std::uint32_t number);
    Bytes& Raw(const std::string& bytes);

    // An unsigned item.
    Bytes& UInt(std::uint32_t id, std::uint32_t value);

    // A wide-string item, terminator included.
    Bytes& Text(std::uint32_t id, const std::wstring& value);
};

// A message around items.
[[nodiscard]] std::string Message(std::uint32_t id, const Bytes& items);

// What the service answers to a registration or its end.
[[nodiscard]] std::string ResultMessage(std::uint32_t status);

// What it answers to a mail; json in UTF-8, ASCII alone.
[[nodiscard]] std::string MailAnswer(std::uint32_t status, const std::string& json);

// A command of the service, as it calls the program back with it.
[[nodiscard]] std::string CommandMessage(const std::wstring& json);

// A mail of the JSON form as this process sends it from one of its threads.
[[nodiscard]] std::string MailMessage(const std::wstring& json, std::uint32_t thread, std::uint32_t plugin,
                                      std::uint32_t mail);

// All bytes of a command with a message, the pointer to it and the tracking id zeroed.
[[nodiscard]] std::string CommandRecord(std::uint32_t id, std::uint32_t second);

// The wide string of an item of a message.
[[nodiscard]] std::wstring TextItem(const std::string& message, std::uint32_t id);

// In hexadecimal, lower case.
[[nodiscard]] std::string Hex(std::uint32_t number);
