#pragma once

#include <cstdint>

// The numbers that the agent and the host service meet in their messages. None of them may change.

// Every message that the agent makes.
inline constexpr std::uint32_t RpcMessageId = 0x10014;

// Message items; the type stands behind each.
inline constexpr std::uint32_t ID_DATA_PRODUCTADAPTER_PLUGIN_ID = 0xE0001;        // unsigned
inline constexpr std::uint32_t ID_DATA_PRODUCTADAPTER_CLIENT_NAME = 0xE000D;      // wide string
inline constexpr std::uint32_t ID_DATA_PRODUCTADAPTER_PROCESS_ID = 0xE000E;       // unsigned
inline constexpr std::uint32_t ID_DATA_PRODUCTADAPTER_MAIL_ID = 0xE000F;          // unsigned
inline constexpr std::uint32_t ID_DATA_PRODUCTADAPTER_COMM_MAILRESULT = 0xE001A;  // signed or unsigned
inline constexpr std::uint32_t ID_DATA_PRODUCTADAPTER_PACKER_PARAM = 0xE001D;     // unsigned
inline constexpr std::uint32_t ID_DATA_PRODUCTADAPTER_JSON_FLAG = 0xE001E;        // signed, 0
inline constexpr std::uint32_t ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING = 0xE001F; // wide string
inline constexpr std::uint32_t ID_DATA_PRODUCTADAPTER_THREAD_ID = 0xE0020;        // unsigned

// Commands of the library's records.
namespace RpcCommandId
{
inline constexpr std::uint32_t EraseCallbacks = 0;
inline constexpr std::uint32_t Mail = 0x2051;
inline constexpr std::uint32_t RegisterProcess = 0x2052;
inline constexpr std::uint32_t UnregisterProcess = 0x2053;
} // namespace RpcCommandId

// Plug-ins of the service and their mails.
namespace Plugin
{
inline constexpr std::uint32_t EventCenter = 5;
inline constexpr std::uint32_t UserActivity = 0x4E0003;
inline constexpr std::uint32_t HostProcess = 0x4E000C;
} // namespace Plugin

namespace Mail
{
inline constexpr std::uint32_t Event = 0x1802;               // EventCenter
inline constexpr std::uint32_t ActiveWindow = 0x10031;       // UserActivity
inline constexpr std::uint32_t InputInfo = 0x10060;          // UserActivity
inline constexpr std::uint32_t DuplicateHostHandle = 0x8C1E; // HostProcess
} // namespace Mail
