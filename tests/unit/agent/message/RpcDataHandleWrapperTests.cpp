#include "MessageAccess.h"
#include "MessageIds.h"
#include "RpcDataHandleWrapper.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include <string>

using MessageModel::Bytes;

namespace
{
constexpr AgentStatus noMessage = Status::FromBits(0xE0FF0001);

Bytes BytesOf(const CRpcDataHandle& handle)
{
    return handle.pMessage == nullptr ? Bytes() : BytesOf(**handle.pMessage);
}

// A wrapper whose message holds one text.
std::wstring TextThrough(const std::wstring& text)
{
    CRpcDataHandleWrapper wrapper;
    EXPECT_EQ(wrapper.Create(), Status::Success);
    EXPECT_EQ(wrapper.Message()->AddString(1, text.data(), static_cast<std::uint32_t>(text.size())),
              Status::Success);
    std::wstring out = L"old";
    EXPECT_EQ(wrapper.Get(1, out), Status::Success);
    return out;
}
} // namespace

TEST(RpcDataHandleWrapperTest, CreatesAMessageOfTheAgentsId)
{
    CRpcDataHandleWrapper wrapper;
    EXPECT_EQ(wrapper.Message(), nullptr);
    EXPECT_EQ(wrapper.Create(), Status::FromBits(0x20FF0000));
    EXPECT_EQ(wrapper.Handle().uReserved, 0U);
    EXPECT_EQ(wrapper.Handle().uMessageId, 0x10014U);
    EXPECT_EQ(BytesOf(wrapper.Handle()), (Bytes{0x14, 0, 1, 0, 100, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(wrapper.Handle().pMessage->use_count(), 1);
}

TEST(RpcDataHandleWrapperTest, CreateLetsGoOfTheOldMessage)
{
    const auto message = boost::make_shared<CRpcMsgBuffer>(7U);
    const CRpcDataHandle handle{0, 7, new boost::shared_ptr<CRpcMsgBuffer>(message)};
    CRpcDataHandle rest = handle;
    CRpcDataHandleWrapper wrapper(handle);
    EXPECT_EQ(message.use_count(), 3);
    EXPECT_EQ(wrapper.Create(), Status::Success);
    EXPECT_EQ(message.use_count(), 2);
    EXPECT_EQ(CRpcDataHandleWrapper::Release(&rest), Status::Success);
    EXPECT_EQ(message.use_count(), 1);
}

TEST(RpcDataHandleWrapperTest, SharesTheMessageOfAHandle)
{
    const auto message = boost::make_shared<CRpcMsgBuffer>(7U);
    CRpcDataHandle handle{3, 7, new boost::shared_ptr<CRpcMsgBuffer>(message)};
    {
        const CRpcDataHandleWrapper wrapper(handle);
        EXPECT_NE(wrapper.Handle().pMessage, handle.pMessage) << "a holder of its own";
        EXPECT_EQ(wrapper.Message(), message.get());
        EXPECT_EQ(wrapper.Handle().uMessageId, 7U);
        EXPECT_EQ(wrapper.Handle().uReserved, 0U);
        EXPECT_EQ(message.use_count(), 3);
    }
    EXPECT_EQ(message.use_count(), 2);
    EXPECT_EQ(CRpcDataHandleWrapper::Release(&handle), Status::Success);
    EXPECT_EQ(handle.pMessage, nullptr);
    EXPECT_EQ(message.use_count(), 1);
}

TEST(RpcDataHandleWrapperTest, AnEmptyHandleMakesAnEmptyWrapper)
{
    CRpcDataHandleWrapper wrapper(CRpcDataHandle{0, 5, nullptr});
    EXPECT_EQ(wrapper.Message(), nullptr);
    std::wstring text = L"old";
    EXPECT_EQ(wrapper.Get(1, text), noMessage);
    EXPECT_EQ(text, L"");
}

TEST(RpcDataHandleWrapperTest, CopiesDeeplyAndReleasesTheTarget)
{
    CRpcDataHandleWrapper wrapper;
    EXPECT_EQ(wrapper.Create(), Status::Success);
    EXPECT_EQ(wrapper.Message()->AddUInt(2, 3), Status::Success);
    wrapper.Handle().uMessageId = 77;

    const auto old = boost::make_shared<CRpcMsgBuffer>(7U);
    CRpcDataHandle target{5, 6, new boost::shared_ptr<CRpcMsgBuffer>(old)};
    EXPECT_EQ(wrapper.CopyTo(target), Status::FromBits(0x20FF0000));
    EXPECT_EQ(old.use_count(), 1);
    EXPECT_EQ(target.uReserved, 0U);
    EXPECT_EQ(target.uMessageId, 77U);
    EXPECT_NE(target.pMessage->get(), wrapper.Message());
    EXPECT_EQ(target.pMessage->use_count(), 1);
    EXPECT_EQ(BytesOf(target), BytesOf(wrapper.Handle()));
    EXPECT_EQ(CRpcDataHandleWrapper::Release(&target), Status::Success);
}

TEST(RpcDataHandleWrapperTest, CopiesNothingFromAnEmptyWrapper)
{
    const CRpcDataHandleWrapper wrapper;
    const auto old = boost::make_shared<CRpcMsgBuffer>(7U);
    CRpcDataHandle target{5, 6, new boost::shared_ptr<CRpcMsgBuffer>(old)};
    EXPECT_EQ(wrapper.CopyTo(target), Status::FromBits(0x20FF0000));
    EXPECT_EQ(old.use_count(), 1);
    EXPECT_EQ(target.uReserved, 0U);
    EXPECT_EQ(target.pMessage, nullptr);
}

TEST(RpcDataHandleWrapperTest, MayCopyToItsOwnHandle)
{
    CRpcDataHandleWrapper wrapper;
    EXPECT_EQ(wrapper.Create(), Status::Success);
    EXPECT_EQ(wrapper.Message()->AddUInt(2, 3), Status::Success);
    const Bytes before = BytesOf(wrapper.Handle());
    EXPECT_EQ(wrapper.CopyTo(wrapper.Handle()), Status::Success);
    EXPECT_EQ(BytesOf(wrapper.Handle()), before);
}

TEST(RpcDataHandleWrapperTest, ReadsATextOfAnyLength)
{
    for (const std::size_t length : {0U, 1U, 1023U, 1024U, 1025U, 1026U, 8'000'000U})
    {
        const std::wstring text(length, L'\x00E4');
        EXPECT_TRUE(TextThrough(text) == text) << length;
    }
}

TEST(RpcDataHandleWrapperTest, ATextEndsAtItsFirstZero)
{
    EXPECT_EQ(TextThrough(std::wstring(L"ab\0cd", 5)), L"ab");
    EXPECT_EQ(TextThrough(std::wstring(L"\0cd", 3)), L"");
    EXPECT_EQ(TextThrough(std::wstring(1500, L'a') + L'\0' + std::wstring(600, L'b')),
              std::wstring(1500, L'a'));
}

TEST(RpcDataHandleWrapperTest, TellsWhyATextCannotBeRead)
{
    CRpcDataHandleWrapper wrapper;
    EXPECT_EQ(wrapper.Create(), Status::Success);
    EXPECT_EQ(wrapper.Message()->AddUInt(2, 3), Status::Success);
    std::wstring text = L"old";
    EXPECT_EQ(wrapper.Get(1, text), Status::FromBits(0xE0FF000E));
    EXPECT_EQ(text, L"");
    text = L"old";
    EXPECT_EQ(wrapper.Get(2, text), Status::FromBits(0xE0FF0007));
    EXPECT_EQ(text, L"");
}

TEST(RpcDataHandleWrapperTest, TakesANestedMessageOut)
{
    CRpcDataHandleWrapper holder;
    EXPECT_EQ(holder.Create(), Status::Success);
    CRpcMsgBuffer nested(0x20);
    EXPECT_EQ(nested.AddUInt(2, 3), Status::Success);
    EXPECT_EQ(holder.Message()->AddMessage(nested), Status::Success);

    const auto old = boost::make_shared<CRpcMsgBuffer>(7U);
    CRpcDataHandle target{5, 6, new boost::shared_ptr<CRpcMsgBuffer>(old)};
    EXPECT_EQ(CRpcDataHandleWrapper::ExtractMessage(0x20, target, holder.Handle()),
              Status::FromBits(0x20FF0000));
    EXPECT_EQ(old.use_count(), 1);
    EXPECT_EQ(target.uReserved, 0U);
    EXPECT_EQ(target.uMessageId, 0x20U);
    EXPECT_EQ(target.pMessage->use_count(), 1);
    EXPECT_EQ(BytesOf(target), BytesOf(nested));
    EXPECT_EQ(CRpcDataHandleWrapper::Release(&target), Status::Success);

    EXPECT_EQ(CRpcDataHandleWrapper::ExtractMessage(0x20, holder.Handle(), holder.Handle()), Status::Success)
        << "both handles may be one";
    EXPECT_EQ(BytesOf(holder.Handle()), BytesOf(nested));
}

TEST(RpcDataHandleWrapperTest, TakesAnEmptyMessageOutOfAnItemThatIsNone)
{
    CRpcDataHandleWrapper holder;
    EXPECT_EQ(holder.Create(), Status::Success);
    EXPECT_EQ(holder.Message()->AddUInt(2, 3), Status::Success);
    CRpcDataHandleWrapper target;
    EXPECT_EQ(CRpcDataHandleWrapper::ExtractMessage(2, target.Handle(), holder.Handle()),
              Status::FromBits(0x20FF0000));
    EXPECT_EQ(BytesOf(target.Handle()), MessageModel::MessageBytes(2, {}));
    EXPECT_EQ(CRpcDataHandleWrapper::ExtractMessage(9, target.Handle(), holder.Handle()),
              Status::FromBits(0xE0FF000E));
    EXPECT_EQ(BytesOf(target.Handle()), MessageModel::MessageBytes(9, {}));
    EXPECT_EQ(CRpcDataHandleWrapper::ExtractMessage(9, target.Handle(), CRpcDataHandle{}), noMessage);
    EXPECT_EQ(target.Message(), nullptr);
}

TEST(RpcDataHandleWrapperTest, ReleasingNothingSucceeds)
{
    EXPECT_EQ(CRpcDataHandleWrapper::Release(nullptr), Status::FromBits(0x20FF0000));
    CRpcDataHandle handle{0, 5, nullptr};
    EXPECT_EQ(CRpcDataHandleWrapper::Release(&handle), Status::FromBits(0x20FF0000));
    EXPECT_EQ(handle.uMessageId, 5U);
}
