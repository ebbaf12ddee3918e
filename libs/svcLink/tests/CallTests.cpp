#include "LinkTest.h"

#include "WaitUntil.h"

using TestSupport::WaitUntil;

TEST_F(LinkTest, AMessageOfEachSizeComesBackWhole)
{
    StartServer();
    const Manager manager = Connect();
    for (const std::size_t size : {std::size_t{0}, std::size_t{12}, std::size_t{1024}, std::size_t{4096},
                                   std::size_t{65536}, std::size_t{4} << 20, std::size_t{16} << 20})
    {
        const Bytes message = size == 0 ? Bytes() : MessageOf(size);
        const Outcome outcome = Execute(*manager, 0x2051, message);
        EXPECT_EQ(outcome.status, 0x20FF0000) << size;
        EXPECT_TRUE(outcome.message == message) << size;
    }
}

TEST_F(LinkTest, TheServiceKnowsWhoCalls)
{
    StartServer();
    {
        const Manager manager = Connect();
        ASSERT_EQ(handler.Connected().size(), 1U);
        EXPECT_EQ(handler.Connected()[0].processId, GetCurrentProcessId());
    }
    EXPECT_TRUE(WaitUntil([&] { return handler.Disconnected().size() == 1; }));
}
