#include "MessageInvariants.h"

#include "MessageModel.h"
#include "MsgBuffer.h"
#include "RpcDataHandleWrapper.h"
#include "RpcMsgBuffer.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace
{
using MessageModel::Bytes;
using MessageModel::Item;

const Bytes emptyMessage = MessageModel::MessageBytes(0, {});

void Require(bool holds, const char* invariant)
{
    if (!holds)
    {
        throw std::logic_error(invariant);
    }
}

Bytes BytesOf(const MsgBuffer& message)
{
    return {message.Bytes().begin(), message.Bytes().end()};
}

Bytes BytesOf(const CRpcMsgBuffer& message)
{
    return {message.Bytes().begin(), message.Bytes().end()};
}

// Exactly as long as the bytes, so that a sanitizer sees each step beyond them.
std::unique_ptr<std::uint8_t[]> ExactCopy(const Bytes& bytes)
{
    auto copy = std::make_unique<std::uint8_t[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), copy.get());
    return copy;
}

std::uint32_t SizeOf(const Bytes& bytes)
{
    return static_cast<std::uint32_t>(bytes.size());
}

// What parsing makes of the bytes.
Bytes Accepted(const Bytes& bytes)
{
    return MessageModel::Parse(bytes).has_value() ? bytes : emptyMessage;
}

void CheckUInt(const MsgBuffer& message, const Item& item)
{
    std::uint32_t value = 0xAAAAAAAA;
    const AgentStatus status = message.GetUInt(item.id, value);
    if ((item.type == 6 || item.type == 7) && item.value.size() == 4)
    {
        Require(status == Status::Success && value == MessageModel::NumberAt(item.value, 0),
                "number is read");
    }
    else
    {
        Require(status == Status::InvalidParameter && value == 0xAAAAAAAA, "no number, none is read");
    }
}

void CheckString(const MsgBuffer& message, const Item& item)
{
    std::uint32_t length = 7;
    const AgentStatus status = message.GetString(item.id, nullptr, 0, length);
    if (item.type != 2)
    {
        Require(status == Status::InvalidParameter && length == 7, "no text, none is read");
        return;
    }
    const std::u16string text = MessageModel::TextOf(item);
    Require(status == Status::Success && length == text.size(), "length of a text");

    // As long as the text and its terminator, so that a sanitizer sees each step beyond them.
    const std::size_t capacity = text.size() + 1;
    const std::unique_ptr<MsgChar[]> buffer(new MsgChar[capacity]);
    std::fill_n(buffer.get(), capacity, MsgChar{1});
    Require(message.GetString(item.id, buffer.get(), length, length) == Status::Success &&
                length == text.size() &&
                std::all_of(buffer.get(), buffer.get() + capacity, [](MsgChar unit) { return unit == 1; }),
            "a buffer that is too small stays as it was");
    Require(message.GetString(item.id, buffer.get(), length + 1, length) == Status::Success &&
                buffer[text.size()] == 0 &&
                std::equal(text.begin(), text.end(), buffer.get(),
                           [](char16_t a, MsgChar b) { return a == static_cast<char16_t>(b); }),
            "text is read");
}

void CheckNested(const MsgBuffer& message, const Item& item)
{
    MsgBuffer nested;
    nested.Reset(5);
    Require(message.GetMessage(item.id, nested) == Status::Success, "reading a nested message succeeds");
    const Bytes expected =
        item.type == 100 ? Accepted(MessageModel::ItemBytes(item)) : MessageModel::MessageBytes(5, {});
    Require(BytesOf(nested) == expected, "nested message is read");
}

// The first item of its id, read in every way.
void CheckReaders(const MsgBuffer& message, const std::vector<Item>& items)
{
    for (auto item = items.begin(); item != items.end(); ++item)
    {
        const auto isSame = [id = item->id](const Item& other) { return other.id == id; };
        if (std::find_if(items.begin(), item, isSame) == item)
        {
            CheckUInt(message, *item);
            CheckString(message, *item);
            CheckNested(message, *item);
        }
    }
    std::uint32_t absent = 0;
    while (std::any_of(items.begin(), items.end(), [absent](const Item& item) { return item.id == absent; }))
    {
        ++absent;
    }
    std::uint32_t number = 0;
    MsgBuffer nested;
    Require(message.GetUInt(absent, number) == Status::NotFound &&
                message.GetString(absent, nullptr, 0, number) == Status::NotFound &&
                message.GetMessage(absent, nested) == Status::NotFound,
            "an absent item is not found");
}

void CheckParsing(const Bytes& bytes)
{
    const auto input = ExactCopy(bytes);
    MsgBuffer assigned;
    MsgBuffer attached;
    assigned.Assign(input.get(), SizeOf(bytes));
    attached.Attach(input.get(), SizeOf(bytes));
    const Bytes expected = bytes.empty() ? emptyMessage : Accepted(bytes);
    Require(BytesOf(assigned) == expected, "assigned bytes");
    Require(BytesOf(attached) == expected, "attached bytes");

    const std::vector<Item> items = MessageModel::Parse(bytes).value_or(std::vector<Item>());
    CheckReaders(assigned, items);
    CheckReaders(attached, items);

    // Its own bytes once more.
    assigned.Assign(assigned.Bytes().data(), static_cast<std::uint32_t>(assigned.Bytes().size()));
    attached.Assign(attached.Bytes().data(), static_cast<std::uint32_t>(attached.Bytes().size()));
    Require(BytesOf(assigned) == expected && BytesOf(attached) == expected,
            "its own bytes are the same message");
    CheckReaders(assigned, items);
    CheckReaders(attached, items);
}

// Parsed items, appended to a new message, give a message that parses to the same items.
void CheckAppending(const Bytes& bytes, const std::vector<Item>& items)
{
    MsgBuffer message;
    message.Reset(MessageModel::NumberAt(bytes, 0));
    std::vector<Item> terminated;
    for (const Item& item : items)
    {
        MsgItem entry{item.id, item.type, SizeOf(item.value), 0};
        const auto value = ExactCopy(item.value);
        message.Append(entry, value.get());
        Require(entry.offset == message.Bytes().size() - item.value.size(), "offset of an appended item");
        terminated.push_back({item.id, item.type, MessageModel::Terminated(item)});
    }
    const Bytes expected = MessageModel::MessageBytes(MessageModel::NumberAt(bytes, 0), terminated);
    Require(BytesOf(message) == expected, "appended items");

    // Appending leaves raw bytes out of the index; parsing does not.
    std::vector<Item> indexed;
    std::copy_if(terminated.begin(), terminated.end(), std::back_inserter(indexed),
                 [](const Item& item) { return item.type != 0; });
    CheckReaders(message, indexed);
    MsgBuffer parsed;
    parsed.Assign(message.Bytes().data(), static_cast<std::uint32_t>(message.Bytes().size()));
    Require(BytesOf(parsed) == expected, "what was appended parses");
    CheckReaders(parsed, terminated);
}

void CheckNesting(const Bytes& bytes)
{
    const auto input = ExactCopy(bytes);
    MsgBuffer inner;
    inner.Attach(input.get(), SizeOf(bytes));
    const Bytes accepted = BytesOf(inner);

    MsgBuffer outer;
    outer.Reset(1);
    outer.AppendMessage(inner);
    Require(BytesOf(outer) == MessageModel::WithNested(MessageModel::MessageBytes(1, {}), accepted),
            "nested whole");
    inner.AppendMessage(inner);
    const Bytes once = MessageModel::WithNested(accepted, accepted);
    Require(BytesOf(inner) == once, "a borrowed message nested into itself");
    inner.AppendMessage(inner);
    Require(BytesOf(inner) == MessageModel::WithNested(once, once), "a message nested into itself");
}

void CheckHandles(const Bytes& bytes, const std::vector<Item>& items)
{
    CRpcDataHandleWrapper wrapper;
    Require(wrapper.Create() == Status::Success, "a message is made");
    const auto input = ExactCopy(bytes);
    Require(wrapper.Message()->Assign(input.get(), SizeOf(bytes)) == Status::Success, "bytes are assigned");

    CRpcDataHandle handle{};
    Require(wrapper.CopyTo(handle) == Status::Success, "a message is copied");
    const CRpcDataHandleWrapper copy(handle);
    Require(CRpcDataHandleWrapper::Release(&handle) == Status::Success && handle.pMessage == nullptr,
            "a handle is released");
    Require(BytesOf(*copy.Message()) == BytesOf(*wrapper.Message()), "a copy is the same message");

    for (const Item& first : items)
    {
        const auto item = std::find_if(items.begin(), items.end(),
                                       [&first](const Item& other) { return other.id == first.id; });
        CRpcDataHandleWrapper::Text text(1, MsgChar{'x'});
        const AgentStatus status = copy.Get(item->id, text);
        Require(status == (item->type == 2 ? Status::Success : Status::InvalidParameter), "status of a text");
        const std::u16string whole = item->type == 2 ? MessageModel::TextOf(*item) : std::u16string();
        const std::u16string expected = whole.substr(0, whole.find(u'\0'));
        Require(std::equal(text.begin(), text.end(), expected.begin(), expected.end(),
                           [](MsgChar a, char16_t b) { return static_cast<char16_t>(a) == b; }),
                "a text ends at its terminator");

        CRpcDataHandleWrapper nested;
        Require(CRpcDataHandleWrapper::ExtractMessage(item->id, nested.Handle(), copy.Handle()) ==
                    Status::Success,
                "a nested message is taken out");
        Require(BytesOf(*nested.Message()) == (item->type == 100 ? Accepted(MessageModel::ItemBytes(*item))
                                                                 : MessageModel::MessageBytes(item->id, {})),
                "what was taken out is the nested message");
    }
}
} // namespace

std::string BrokenMessageInvariant(std::span<const std::uint8_t> bytes)
{
    const Bytes input(bytes.begin(), bytes.end());
    try
    {
        CheckParsing(input);
        if (const auto items = MessageModel::Parse(input))
        {
            CheckAppending(input, *items);
            CheckNesting(input);
            CheckHandles(input, *items);
        }
    }
    catch (const std::logic_error& broken)
    {
        return broken.what();
    }
    return {};
}
