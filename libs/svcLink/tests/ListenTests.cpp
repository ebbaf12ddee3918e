// Clients can come, whatever others do and whatever the system refuses for a while.
#include "LinkTest.h"

#include "Frame.h"
#include "ImportPatch.h"
#include "Names.h"
#include "VzComn_Handle.h"
#include "WaitUntil.h"

#include <windows.h>

#include <atomic>
#include <thread>

using SvcLink::FrameHeader;
using SvcLink::FrameKind;
using TestSupport::ImportPatch;
using TestSupport::WaitUntil;

namespace
{

std::atomic<int> g_failures = 0; // still to come
DWORD g_failure = 0;
decltype(&ConnectNamedPipe) g_connect = nullptr;

BOOL WINAPI FailSometimes(HANDLE pipe, OVERLAPPED* overlapped)
{
    if (g_failures > 0)
    {
        --g_failures;
        SetLastError(g_failure);
        return FALSE;
    }
    return g_connect(pipe, overlapped);
}

VzCommon::FileHandle OpenPipe()
{
    return VzCommon::FileHandle(CreateFileW(SvcLink::EndpointName().c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                            nullptr, OPEN_EXISTING, 0, nullptr));
}

class ListenTest : public LinkTest
{
protected:
    ListenTest() { g_connect = patch.Original<decltype(ConnectNamedPipe)>(); }

    // The next attempts to wait for a client fail, while the service always has calls to serve.
    void ExpectClientsInSpiteOf(DWORD failure, int count)
    {
        const Manager busy = Connect();
        std::atomic<bool> over = false;
        const std::jthread caller(
            [&]
            {
                while (!over)
                {
                    EXPECT_EQ(Execute(*busy, 0x2051, {}).status, success);
                }
            });
        g_failure = failure;
        g_failures = count;
        for (int i = 0; i < 3; ++i)
        {
            // One that comes to a wait which then fails is cut off, and has to come again.
            EXPECT_TRUE(
                TestSupport::WaitUntil([] { return Execute(*Connect(10000), 0x2051, {}).status == success; }))
                << i;
        }
        EXPECT_EQ(g_failures, 0);
        over = true;
    }

    ImportPatch patch{nullptr, "ConnectNamedPipe", &FailSometimes};
};

} // namespace

TEST_F(ListenTest, ABusyServiceTriesAgainToGetClients)
{
    StartServer();
    ExpectClientsInSpiteOf(ERROR_NO_SYSTEM_RESOURCES, 3);
}

TEST_F(ListenTest, AnIdleServiceTriesAgainToGetClients)
{
    StartServer();
    g_failure = ERROR_NO_SYSTEM_RESOURCES;
    g_failures = 2;
    const Manager first = Connect();
    EXPECT_EQ(Execute(*first, 0x2051, {}).status, success);
    EXPECT_EQ(Execute(*Connect(10000), 0x2051, {}).status, success);
}

TEST_F(ListenTest, ClientsThatComeAndGoAtOnceDelayNobody)
{
    StartServer();
    const ULONGLONG start = GetTickCount64();
    ExpectClientsInSpiteOf(ERROR_NO_DATA, 40);
    EXPECT_LT(GetTickCount64() - start, 5000U);
}

TEST_F(ListenTest, AClientThatOpensAndClosesInALoopKeepsNobodyOut)
{
    StartServer();
    std::atomic<bool> over = false;
    std::vector<std::jthread> hasty;
    for (int i = 0; i < 2; ++i)
    {
        hasty.emplace_back(
            [&]
            {
                while (!over)
                {
                    OpenPipe();
                }
            });
    }
    for (int i = 0; i < 50; ++i)
    {
        EXPECT_EQ(Execute(*Connect(10000), 0x2051, MessageOf(100)).status, success) << i;
    }
    over = true;
}

TEST_F(ListenTest, AServiceWithoutAThreadDoesNotStartAndKeepsNothing)
{
    {
        const ImportPatch noThreads(nullptr, "CreateThread", &RefuseThread);
        std::uint32_t error = 0;
        EXPECT_FALSE(server.Start(error));
        EXPECT_EQ(error, static_cast<std::uint32_t>(ERROR_NOT_ENOUGH_MEMORY));
    }
    EXPECT_FALSE(OpenPipe());
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    StartServer();
    EXPECT_EQ(Execute(*Connect(), 0x2051, {}).status, success);
}

TEST_F(ListenTest, AClientIsWelcomedBeforeItIsCalledBack)
{
    handler.onConnected = [&](const SvcLink::Client& client)
    { static_cast<void>(server.CallBack(client.id, "me", {}, std::chrono::milliseconds(50))); };
    StartServer();
    const VzCommon::FileHandle pipe = OpenPipe();
    DWORD mode = PIPE_READMODE_MESSAGE;
    EXPECT_TRUE(SetNamedPipeHandleState(pipe.Get(), &mode, nullptr, nullptr));
    FrameHeader frame;
    frame.kind = FrameKind::Introduction;
    frame.SetTrackingId(std::string(36, 'w'));
    DWORD done = 0;
    EXPECT_TRUE(WriteFile(pipe.Get(), &frame, sizeof frame, &done, nullptr));
    for (const FrameKind expected : {FrameKind::Welcome, FrameKind::CallBack})
    {
        EXPECT_TRUE(ReadFile(pipe.Get(), &frame, sizeof frame, &done, nullptr));
        EXPECT_EQ(frame.kind, expected);
    }
}
