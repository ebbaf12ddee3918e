// What registration, commands and the helpers themselves do when the system has nothing left to give.
#include <atomic>
#include <thread>

#include "CallbackHelper.h"
#include "ImportPatch.h"
#include "LinkTest.h"

using TestSupport::ImportPatch;
using TestSupport::WaitUntil;

namespace
{
int g_searches = 0;

HWND WINAPI FakeNoWindow(LPCWSTR /*windowClass*/, LPCWSTR /*title*/)
{
    ++g_searches;
    return nullptr;
}

std::atomic<DWORD> g_patientThread = 0; // the one that waits for the lock
std::atomic<int> g_waits = 0;           // its looks at the lock, or for an event to wait with

HANDLE WINAPI FakeNoEvent(LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCWSTR)
{
    g_waits += GetCurrentThreadId() == g_patientThread ? 1 : 0;
    SetLastError(ERROR_NO_SYSTEM_RESOURCES);
    return nullptr;
}

void WINAPI FakeSleep(DWORD milliseconds)
{
    g_waits += GetCurrentThreadId() == g_patientThread ? 1 : 0;
    SleepEx(milliseconds, FALSE);
}

class ShortMemoryTest : public LinkTest
{
protected:
    // One registration with an allocation that fails after so many that succeed. False if none failed.
    bool Register(long long successes)
    {
        ResetLink();
        TheLink().GiveProcess("18446744073709551615"); // whoever watches asks and ends
        TheLink().AnswerTo(registerId, {{Status::UnknownClient, ""}, {Status::Success, ResultMessage(0)}});
        helper = MakeHelper();
        const OneFailure failure(successes);
        EXPECT_NO_THROW(status = helper->RegisterProcess(TestClientName, &NoteCommand));
        return failure.HasFailed();
    }

    std::unique_ptr<CVzRpcClientHelper> helper;
    AgentStatus status = Status::Success;
};
} // namespace

TEST_F(ShortMemoryTest, AProcessIsRegisteredAndWatchedOrItIsNeither)
{
    int refused = 0;
    bool hasFailed = true;
    for (long long successes = 0; hasFailed; ++successes)
    {
        hasFailed = Register(successes);
        EXPECT_EQ(g_bProcessRegistered, !Status::Failed(status)) << successes;
        EXPECT_EQ(g_bProductInited, g_pRpcManager != nullptr) << successes;
        refused += Status::Failed(status) ? 1 : 0;
        if (g_bProcessRegistered)
        {
            EXPECT_TRUE(WaitUntil([] { return TheLink().Commands(0x2051).size() == 1; })) << successes;
            EXPECT_EQ(g_strTrackingID, ManagerTrackingId) << successes;
        }
        ASSERT_TRUE(WaitUntil(&NobodyWatches));
        helper.reset();
        for (const SentCommand& sent : TheLink().Commands(registerId))
        {
            EXPECT_TRUE(sent.buffer.expired()) << successes;
        }
    }
    EXPECT_GT(refused, 10);
}

TEST_F(ShortMemoryTest, ACommandThatDidNotRunIsNoSuccess)
{
    const ImportPatch search(nullptr, "FindWindowW", &FakeNoWindow);
    const std::string whole =
        Message(0x10014, Bytes().Text(0xE001F, L"{\"JD_COMMAND_ID\":3000,\"retCode\":" +
                                                   std::to_wstring(Status::Success) + L"}\n"));
    CRpcDataHandleWrapper data;
    data.Create();
    const std::wstring text = L"{\"JD_COMMAND_ID\":3000}";
    data.Message()->AddString(0xE001F, text.c_str(), static_cast<std::uint32_t>(text.size()));
    CRpcCommandResult in{};
    in.data = data.Handle();
    bool hasFailed = true;
    for (long long successes = 0; hasFailed; ++successes)
    {
        g_fnCallback = &OnServiceCommand;
        g_searches = 0;
        CRpcCommandResult out{};
        {
            const OneFailure failure(successes);
            status = CVzRpcClientHelper::RegisterProcessCallback("id", in, out);
            hasFailed = failure.HasFailed();
        }
        EXPECT_TRUE(Status::Failed(status) ? out.uMessageId == 0 : g_searches == 1) << successes;
        if (out.data.pMessage != nullptr)
        {
            const auto bytes = (*out.data.pMessage)->Bytes();
            EXPECT_EQ(std::string(bytes.begin(), bytes.end()), whole) << successes;
        }
        EXPECT_EQ(out.uMessageId, out.data.pMessage != nullptr ? 0x10014U : 0U) << successes;
        CRpcDataHandleWrapper::Release(&out.data);
    }
}

TEST_F(ShortMemoryTest, AHelperComesAndGoesWithoutAnEventToWaitFor)
{
    std::atomic<bool> hasThrown = false;
    const ImportPatch noEvent(nullptr, "CreateEventW", &FakeNoEvent);
    const ImportPatch sleep(nullptr, "Sleep", &FakeSleep);
    RpcLockGuard held = HoldRpcLock();
    std::thread other(
        [&hasThrown]
        {
            g_patientThread = GetCurrentThreadId();
            try
            {
                MakeHelper().reset();
            }
            catch (...)
            {
                hasThrown = true;
            }
        });
    EXPECT_TRUE(WaitUntil([] { return g_waits > 0; }));
    held.unlock();
    other.join();
    EXPECT_FALSE(hasThrown);
    EXPECT_EQ(TheLink().LivingManagers(), 0U);
}
