// The mail as FlatBuffers: two tables, written out as the generated code for them would be; the text as a
// vector of its units, so that no one has to convert it.
#include "EventMail.h"

#include "MessageIds.h"

#include <flatbuffers/flatbuffers.h>

#include <cstring>
#include <stdexcept>

namespace
{
using Units = flatbuffers::Vector<std::uint16_t>;

// The fields' places in the tables' lists of offsets.
enum InnerField : flatbuffers::voffset_t
{
    innerText = 4,
    innerJsonFlag = 6,
    innerProcessId = 8,
    innerThreadId = 10,
    innerPluginId = 12,
    innerMailId = 14
};

enum OuterField : flatbuffers::voffset_t
{
    outerParameter = 4,
    outerMessage = 6
};

class Inner : private flatbuffers::Table
{
public:
    [[nodiscard]] const Units* Text() const { return GetPointer<const Units*>(innerText); }

    template <typename Number>
    [[nodiscard]] Number Get(InnerField field) const
    {
        return GetField<Number>(field, 0);
    }

    [[nodiscard]] bool Verify(flatbuffers::Verifier& verifier) const
    {
        return VerifyTableStart(verifier) && VerifyOffset(verifier, innerText) &&
               verifier.VerifyVector(Text()) && VerifyField<std::int32_t>(verifier, innerJsonFlag, 4) &&
               VerifyField<std::uint32_t>(verifier, innerProcessId, 4) &&
               VerifyField<std::uint32_t>(verifier, innerThreadId, 4) &&
               VerifyField<std::uint32_t>(verifier, innerPluginId, 4) &&
               VerifyField<std::uint32_t>(verifier, innerMailId, 4) && verifier.EndTable();
    }
};

class Outer : private flatbuffers::Table
{
public:
    [[nodiscard]] std::uint32_t Parameter() const { return GetField<std::uint32_t>(outerParameter, 0); }

    [[nodiscard]] const Inner* Message() const { return GetPointer<const Inner*>(outerMessage); }

    [[nodiscard]] bool Verify(flatbuffers::Verifier& verifier) const
    {
        return VerifyTableStart(verifier) && VerifyField<std::uint32_t>(verifier, outerParameter, 4) &&
               VerifyOffset(verifier, outerMessage) && verifier.VerifyTable(Message()) && verifier.EndTable();
    }
};

void Build(const EventMail& mail, flatbuffers::FlatBufferBuilder& builder)
{
    const auto text =
        builder.CreateVector(reinterpret_cast<const std::uint16_t*>(mail.text.data()), mail.text.size());
    auto start = builder.StartTable();
    builder.AddOffset(innerText, text);
    builder.AddElement<std::int32_t>(innerJsonFlag, mail.jsonFlag, 0);
    builder.AddElement<std::uint32_t>(innerProcessId, mail.processId, 0);
    builder.AddElement<std::uint32_t>(innerThreadId, mail.threadId, 0);
    builder.AddElement<std::uint32_t>(innerPluginId, mail.pluginId, 0);
    builder.AddElement<std::uint32_t>(innerMailId, mail.mailId, 0);
    const flatbuffers::Offset<Inner> inner(builder.EndTable(start));

    start = builder.StartTable();
    builder.AddElement<std::uint32_t>(outerParameter, RpcMessageId, 0);
    builder.AddOffset(outerMessage, inner);
    builder.Finish(flatbuffers::Offset<Outer>(builder.EndTable(start)));
}

void Read(const Outer& outer, EventMail& room)
{
    const Inner* inner = outer.Message();
    if (outer.Parameter() != RpcMessageId || inner == nullptr || inner->Text() == nullptr)
    {
        throw std::runtime_error("no such item");
    }
    const Units& text = *inner->Text();
    room.text.resize(text.size());
    std::memcpy(room.text.data(), text.data(), text.size() * sizeof(char16_t));
    room.jsonFlag = inner->Get<std::int32_t>(innerJsonFlag);
    room.processId = inner->Get<std::uint32_t>(innerProcessId);
    room.threadId = inner->Get<std::uint32_t>(innerThreadId);
    room.pluginId = inner->Get<std::uint32_t>(innerPluginId);
    room.mailId = inner->Get<std::uint32_t>(innerMailId);
}
} // namespace

void CarryByFlatBuffers(const EventMail& mail, EventMail& room)
{
    flatbuffers::FlatBufferBuilder builder;
    Build(mail, builder);
    flatbuffers::Verifier verifier(builder.GetBufferPointer(), builder.GetSize());
    if (!verifier.VerifyBuffer<Outer>(nullptr))
    {
        throw std::runtime_error("the buffer does not hold the tables");
    }
    Read(*flatbuffers::GetRoot<Outer>(builder.GetBufferPointer()), room);
}
