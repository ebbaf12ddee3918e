// The mail as MessagePack: maps from item id to value, one in the other; the text as its bytes, so that no
// one has to convert it.
#include "EventMail.h"

#include "MessageIds.h"

#include <msgpack/pack.hpp>
#include <msgpack/sbuffer.hpp>
#include <msgpack/type.hpp>
#include <msgpack/unpack.hpp>

#include <cstring>
#include <span>
#include <stdexcept>

namespace
{
using Packer = msgpack::packer<msgpack::sbuffer>;

void Build(const EventMail& mail, msgpack::sbuffer& buffer)
{
    Packer packer(buffer);
    packer.pack_map(2);
    packer.pack(ID_DATA_PRODUCTADAPTER_PACKER_PARAM).pack(RpcMessageId);
    packer.pack(RpcMessageId).pack_map(6);
    const auto size = static_cast<std::uint32_t>(mail.text.size() * sizeof(char16_t));
    packer.pack(ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING).pack_bin(size);
    packer.pack_bin_body(reinterpret_cast<const char*>(mail.text.data()), size);
    packer.pack(ID_DATA_PRODUCTADAPTER_JSON_FLAG).pack(mail.jsonFlag);
    packer.pack(ID_DATA_PRODUCTADAPTER_PROCESS_ID).pack(mail.processId);
    packer.pack(ID_DATA_PRODUCTADAPTER_THREAD_ID).pack(mail.threadId);
    packer.pack(ID_DATA_PRODUCTADAPTER_PLUGIN_ID).pack(mail.pluginId);
    packer.pack(ID_DATA_PRODUCTADAPTER_MAIL_ID).pack(mail.mailId);
}

const msgpack::object& Find(const msgpack::object& object, std::uint32_t id)
{
    if (object.type == msgpack::type::MAP)
    {
        for (const msgpack::object_kv& entry : std::span(object.via.map.ptr, object.via.map.size))
        {
            if (entry.key.type == msgpack::type::POSITIVE_INTEGER && entry.key.via.u64 == id)
            {
                return entry.val;
            }
        }
    }
    throw std::runtime_error("no such item");
}

void Read(const msgpack::object& outer, EventMail& room)
{
    const msgpack::object& inner =
        Find(outer, Find(outer, ID_DATA_PRODUCTADAPTER_PACKER_PARAM).as<std::uint32_t>());
    const msgpack::object& text = Find(inner, ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING);
    if (text.type != msgpack::type::BIN)
    {
        throw std::runtime_error("no text");
    }
    room.text.resize(text.via.bin.size / sizeof(char16_t));
    std::memcpy(room.text.data(), text.via.bin.ptr, room.text.size() * sizeof(char16_t));
    room.jsonFlag = Find(inner, ID_DATA_PRODUCTADAPTER_JSON_FLAG).as<std::int32_t>();
    room.processId = Find(inner, ID_DATA_PRODUCTADAPTER_PROCESS_ID).as<std::uint32_t>();
    room.threadId = Find(inner, ID_DATA_PRODUCTADAPTER_THREAD_ID).as<std::uint32_t>();
    room.pluginId = Find(inner, ID_DATA_PRODUCTADAPTER_PLUGIN_ID).as<std::uint32_t>();
    room.mailId = Find(inner, ID_DATA_PRODUCTADAPTER_MAIL_ID).as<std::uint32_t>();
}
} // namespace

void CarryByMessagePack(const EventMail& mail, EventMail& room)
{
    msgpack::sbuffer buffer;
    Build(mail, buffer);
    const msgpack::object_handle received = msgpack::unpack(buffer.data(), buffer.size());
    Read(received.get(), room);
}
