#include "MessageBytes.h"

#include <windows.h>

#include <cstring>
#include <sstream>

Bytes& Bytes::U32(std::uint32_t number)
{
    for (int shift = 0; shift < 32; shift += 8)
    {
        text += static_cast<char>((number >> shift) & 0xFF);
    }
    return *this;
}

Bytes& Bytes::Raw(const std::string& bytes)
{
    text += bytes;
    return *this;
}

Bytes& Bytes::UInt(std::uint32_t id, std::uint32_t value)
{
    return U32(id).U32(7).U32(4).U32(value);
}

Bytes& Bytes::Text(std::uint32_t id, const std::wstring& value)
{
    U32(id).U32(2).U32(static_cast<std::uint32_t>(value.size() * 2 + 2));
    for (const wchar_t unit : value)
    {
        text += static_cast<char>(unit & 0xFF);
        text += static_cast<char>((unit >> 8) & 0xFF);
    }
    return Raw(std::string(2, '\0'));
}

std::string Message(std::uint32_t id, const Bytes& items)
{
    return Bytes().U32(id).U32(100).U32(static_cast<std::uint32_t>(items.text.size())).text + items.text;
}

std::string ResultMessage(std::uint32_t status)
{
    return Message(0x10014, Bytes().UInt(0xE001A, status));
}

std::string MailAnswer(std::uint32_t status, const std::string& json)
{
    const std::string nested = Message(0x10014, Bytes().Text(0xE001F, {json.begin(), json.end()}));
    return Message(0x10014, Bytes().UInt(0xE001A, status).UInt(0xE001D, 0x10014).Raw(nested));
}

std::string CommandMessage(const std::wstring& json)
{
    return Message(0x10014, Bytes().Text(0xE001F, json));
}

std::string MailMessage(const std::wstring& json, std::uint32_t thread, std::uint32_t plugin,
                        std::uint32_t mail)
{
    const Bytes inner = Bytes()
                            .Text(0xE001F, json)
                            .U32(0xE001E)
                            .U32(6)
                            .U32(4)
                            .U32(0)
                            .UInt(0xE000E, GetCurrentProcessId())
                            .UInt(0xE0020, thread)
                            .UInt(0xE0001, plugin)
                            .UInt(0xE000F, mail);
    return Message(0x10014, Bytes().UInt(0xE001D, 0x10014).Raw(Message(0x10014, inner)));
}

std::string CommandRecord(std::uint32_t id, std::uint32_t second)
{
    std::string record = std::string(916, '\0') + Bytes().U32(id).U32(second).text;
    record.resize(968, '\0');
    record += Bytes().U32(0).U32(0x10014).text;
    record.resize(992, '\0');
    return record;
}

std::wstring TextItem(const std::string& message, std::uint32_t id)
{
    const std::string head = Bytes().U32(id).U32(2).text;
    const std::size_t at = message.find(head);
    if (at == std::string::npos)
    {
        return L"(no such item)";
    }
    std::uint32_t length = 0;
    std::memcpy(&length, message.data() + at + 8, sizeof(length));
    std::wstring text(length / 2 - 1, L'\0');
    std::memcpy(text.data(), message.data() + at + 12, text.size() * 2);
    return text;
}

std::string Hex(std::uint32_t number)
{
    std::ostringstream stream;
    stream << std::hex << number;
    return stream.str();
}
