#include "MessageModel.h"
#include "RpcDataHandleWrapper.h"
#include "RpcMsgBuffer.h"
#include "ScarceMemory.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

using MessageModel::Bytes;

namespace
{
// Runs the operation over and over, each time with a later allocation failing, until none fails. It says
// whether it succeeded.
void WithEachAllocationFailing(const std::function<bool()>& succeeds)
{
    for (long long failing = 0; failing < 10000; ++failing)
    {
        const long long before = BlocksAlive();
        bool isDone = false;
        bool hasFailed = false;
        {
            const OneFailure failure(failing);
            isDone = succeeds();
            hasFailed = failure.HasFailed();
        }
        EXPECT_NE(isDone, hasFailed) << failing;
        EXPECT_EQ(BlocksAlive(), before) << "it left memory behind, " << failing;
        if (!hasFailed)
        {
            EXPECT_GT(failing, 0) << "it never needed memory";
            return;
        }
    }
    FAIL() << "it never ends";
}

// Large enough that neither the buffer nor the index has room for another of its items.
Bytes Large()
{
    std::vector<MessageModel::Item> items;
    for (std::uint32_t id = 0; id < 64; ++id)
    {
        items.push_back(MessageModel::UInt(id, id));
    }
    items.push_back(MessageModel::Nested(100, {MessageModel::Text(1, std::u16string(2000, u'x'))}));
    return MessageModel::MessageBytes(1, items);
}

bool Holds(const CRpcMsgBuffer& message, const Bytes& bytes)
{
    return std::equal(bytes.begin(), bytes.end(), message.Bytes().begin(), message.Bytes().end());
}

// Made while there is memory.
CRpcMsgBuffer MessageOf(const Bytes& bytes)
{
    const Plenty memory;
    CRpcMsgBuffer message(0);
    EXPECT_EQ(message.Assign(bytes.data(), static_cast<std::uint32_t>(bytes.size())), Status::Success);
    return message;
}

// The operation on a copy of a large message either succeeds or says that memory is short and changes
// nothing.
void ExpectAllOrNothing(const std::function<AgentStatus(CRpcMsgBuffer&)>& operation)
{
    const Bytes bytes = Large();
    WithEachAllocationFailing(
        [&]
        {
            CRpcMsgBuffer message = MessageOf(bytes);
            const AgentStatus status = operation(message);
            if (status != Status::Success)
            {
                EXPECT_EQ(status, Status::FromBits(0xE0FF001E));
                EXPECT_TRUE(Holds(message, bytes));
                std::uint32_t value = 0;
                EXPECT_EQ(message.GetUInt(999, value), Status::FromBits(0xE0FF000E));
                EXPECT_EQ(message.GetUInt(63, value), Status::Success);
                EXPECT_EQ(value, 63U);
            }
            return status == Status::Success;
        });
}
} // namespace

TEST(MessageMemoryTest, AppendingWithoutMemoryChangesNothing)
{
    const std::wstring text(3000, L'a');
    ExpectAllOrNothing([&](CRpcMsgBuffer& message) { return message.AddString(999, text.data(), 3000); });
    ExpectAllOrNothing([](CRpcMsgBuffer& message) { return message.AddUInt(999, 1); });
    ExpectAllOrNothing([](CRpcMsgBuffer& message) { return message.AddInt(999, 1); });
}

TEST(MessageMemoryTest, NestingWithoutMemoryChangesNothing)
{
    CRpcMsgBuffer nested(999);
    EXPECT_EQ(nested.AddString(1, std::wstring(3000, L'a').data(), 3000), Status::Success);
    ExpectAllOrNothing([&](CRpcMsgBuffer& message) { return message.AddMessage(nested); });
    ExpectAllOrNothing([](CRpcMsgBuffer& message) { return message.AddMessage(message); });
}

TEST(MessageMemoryTest, AnItemThatCouldNotBeAddedIsNotFoundLater)
{
    // The buffer has room, the index has not.
    const Bytes empty = MessageModel::MessageBytes(1, {});
    WithEachAllocationFailing(
        [&empty]
        {
            CRpcMsgBuffer message = MessageOf(empty);
            bool isDone = true;
            std::uint32_t added = 0;
            for (std::uint32_t id = 1; id < 60; ++id)
            {
                const bool isAdded = message.AddUInt(id, id) == Status::Success;
                std::uint32_t value = 0;
                EXPECT_EQ(message.GetUInt(id, value), isAdded ? Status::Success : Status::NotFound);
                added += isAdded ? 1 : 0;
                isDone = isDone && isAdded;
            }
            EXPECT_EQ(message.Bytes().size(), 12U + 16U * added);
            EXPECT_EQ(MessageModel::NumberAt(message.Bytes(), 8), 16U * added);
            return isDone;
        });
}

TEST(MessageMemoryTest, AssigningWithoutMemoryLeavesAWholeMessage)
{
    const Bytes bytes = Large();
    const Bytes before = MessageModel::MessageBytes(7, {MessageModel::UInt(2, 3)});
    WithEachAllocationFailing(
        [&]
        {
            CRpcMsgBuffer message = MessageOf(before);
            const AgentStatus status = message.Assign(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
            const Plenty memory;
            if (status == Status::Success)
            {
                EXPECT_TRUE(Holds(message, bytes));
                return true;
            }
            EXPECT_EQ(status, Status::FromBits(0xE0FF001E));
            std::uint32_t value = 0;
            const bool isOld = Holds(message, before);
            EXPECT_TRUE(isOld || Holds(message, MessageModel::MessageBytes(0, {})));
            EXPECT_EQ(message.GetUInt(2, value), isOld ? Status::Success : Status::NotFound);
            return false;
        });
}

TEST(MessageMemoryTest, HandleOperationsSayThatMemoryIsShort)
{
    CRpcDataHandleWrapper full;
    EXPECT_EQ(full.Create(), Status::Success);
    const Bytes bytes = Large();
    EXPECT_EQ(full.Message()->Assign(bytes.data(), static_cast<std::uint32_t>(bytes.size())),
              Status::Success);

    WithEachAllocationFailing(
        []
        {
            CRpcDataHandleWrapper wrapper;
            const AgentStatus status = wrapper.Create();
            EXPECT_EQ(status, Status::FromBits(wrapper.Message() != nullptr ? 0x20FF0000 : 0xE0FF0001));
            return status == Status::Success;
        });
    WithEachAllocationFailing(
        [&]
        {
            CRpcDataHandleWrapper target;
            const AgentStatus status = full.CopyTo(target.Handle());
            EXPECT_EQ(status, Status::FromBits(target.Message() != nullptr ? 0x20FF0000 : 0xE0FF0001));
            return status == Status::Success;
        });
    WithEachAllocationFailing([&] { return CRpcDataHandleWrapper(full.Handle()).Message() != nullptr; });
    WithEachAllocationFailing(
        [&]
        {
            CRpcDataHandleWrapper target;
            const AgentStatus status =
                CRpcDataHandleWrapper::ExtractMessage(100, target.Handle(), full.Handle());
            EXPECT_TRUE(status == Status::Success || status == Status::FromBits(0xE0FF0001) ||
                        status == Status::FromBits(0xE0FF001E));
            return status == Status::Success;
        });
    EXPECT_EQ(full.Handle().pMessage->use_count(), 1);
}

TEST(MessageMemoryTest, ALongTextNeedsMemoryAndAShortOneInAStringWithRoomNone)
{
    CRpcDataHandleWrapper wrapper;
    EXPECT_EQ(wrapper.Create(), Status::Success);
    EXPECT_EQ(wrapper.Message()->AddString(1, std::wstring(1025, L'a').data(), 1025), Status::Success);
    EXPECT_EQ(wrapper.Message()->AddString(2, std::wstring(1024, L'a').data(), 1024), Status::Success);
    WithEachAllocationFailing(
        [&]
        {
            std::wstring text;
            const AgentStatus status = wrapper.Get(1, text);
            EXPECT_EQ(status, Status::FromBits(text.size() == 1025 ? 0x20FF0000 : 0xE0FF001E));
            return status == Status::Success;
        });

    std::wstring text;
    text.reserve(1024);
    {
        const OneFailure failure(0);
        EXPECT_EQ(wrapper.Get(2, text), Status::Success);
    }
    EXPECT_EQ(text.size(), 1024U);
}

TEST(MessageMemoryTest, HandlesLeaveNothingBehind)
{
    const auto operation = []
    {
        CRpcDataHandleWrapper wrapper;
        EXPECT_EQ(wrapper.Create(), Status::Success);
        EXPECT_EQ(wrapper.Message()->AddMessage(CRpcMsgBuffer(2)), Status::Success);
        CRpcDataHandle copy{};
        EXPECT_EQ(wrapper.CopyTo(copy), Status::Success);
        EXPECT_EQ(wrapper.CopyTo(copy), Status::Success);
        const CRpcDataHandleWrapper shared(copy);
        EXPECT_EQ(CRpcDataHandleWrapper::ExtractMessage(2, wrapper.Handle(), copy), Status::Success);
        EXPECT_EQ(CRpcDataHandleWrapper::Release(&copy), Status::Success);
    };
    operation();
    const long long before = BlocksAlive();
    for (int round = 0; round < 100; ++round)
    {
        operation();
    }
    EXPECT_EQ(BlocksAlive(), before);
}
