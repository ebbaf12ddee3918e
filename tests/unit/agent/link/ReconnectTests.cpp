#include "ImportPatch.h"
#include "LinkTest.h"
#include "ObjectCounts.h"
#include "ServiceProcess.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::WaitUntil;

namespace
{
constexpr wchar_t reconnect[] = L"OuterClientHelper: [INFO] Reconnect the RPC...";

DWORD(WINAPI* g_wait)(HANDLE, DWORD) = nullptr;

// A pause that a test with many of them need not wait for.
DWORD WINAPI FakeWaitWithoutPause(HANDLE handle, DWORD milliseconds)
{
    return g_wait(handle, milliseconds == 500 ? 0 : milliseconds);
}

HANDLE WINAPI FakeNoThread(LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE, LPVOID, DWORD, LPDWORD)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

HANDLE WINAPI FakeNoEvent(LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCWSTR)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

LPTHREAD_START_ROUTINE g_threadRoutine = nullptr;
LPVOID g_threadArgument = nullptr;

// The test runs the thread's function itself.
HANDLE WINAPI FakeThreadLater(LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE routine, LPVOID argument,
                              DWORD, LPDWORD)
{
    g_threadRoutine = routine;
    g_threadArgument = argument;
    return CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

class ReconnectTest : public LinkTest
{
protected:
    AgentStatus Register() { return helper->RegisterProcess(TestClientName, &NoteCommand); }

    // Registers against a service that is there until it is killed.
    void RegisterWith(const ServiceProcess& service)
    {
        const std::size_t mails = TheLink().Commands(0x2051).size();
        TheLink().GiveProcess(service.Handle());
        Register();
        EXPECT_TRUE(WaitUntil([mails] { return TheLink().Commands(0x2051).size() > mails; }));
    }

    static bool Registrations(std::size_t count)
    {
        return WaitUntil([count] { return TheLink().Commands(registerId).size() == count; });
    }

    // Until that many threads have been told their process.
    static bool Watches(std::size_t count)
    {
        return WaitUntil([count] { return TheLink().Commands(0x2051).size() == count; });
    }

    std::unique_ptr<CVzRpcClientHelper> helper = MakeHelper();
};
} // namespace

TEST_F(ReconnectTest, AsksTheServiceForItsProcess)
{
    Register();
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    const SentCommand mail = TheLink().Only(0x2051);
    EXPECT_NE(mail.thread, GetCurrentThreadId());
    EXPECT_EQ(mail.message, MailMessage(L"{\"pid\":" + std::to_wstring(GetCurrentProcessId()) + L"}\n",
                                        mail.thread, 0x4E000C, 0x8C1E));
}

TEST_F(ReconnectTest, WithoutAHelperThereIsNothingToWatch)
{
    EXPECT_EQ(CVzRpcClientHelper::ReconnectProc(nullptr), 0xFFFFFFFF);
    EXPECT_THAT(Statements(), ElementsAre(L"OuterClientHelper: [ERROR] Invalid pClientHelper..."));
}

TEST_F(ReconnectTest, WithoutARegistrationThereIsNothingToWatch)
{
    EXPECT_EQ(CVzRpcClientHelper::ReconnectProc(helper.get()), 0U);
    EXPECT_THAT(TheLink().Commands(), IsEmpty());
}

TEST_F(ReconnectTest, AServiceThatMayNotBeOpenedIsNotWatched)
{
    TheLink().GiveProcess("18446744073709551615");
    const TestSupport::ImportPatch patch(nullptr, "CreateThread", &FakeThreadLater);
    Register();
    EXPECT_EQ(g_threadArgument, helper.get());
    EXPECT_EQ(g_threadRoutine(g_threadArgument), 0xFFFFFFFF);
    EXPECT_EQ(Count(L"OuterClientHelper: [ERROR] No privilege to open process!"), 1U);
    EXPECT_THAT(TheLink().Commands(registerId), SizeIs(1));
}

TEST_F(ReconnectTest, AServiceWithoutAHandleIsNotWatchedAndNothingSaid)
{
    for (const char* const handle :
         {"0", "-1", "null", "\"x\"", "[]", "12345678", "\"99999999999999999999\""})
    {
        log.Clear();
        TheLink().GiveProcess(handle);
        Register();
        ASSERT_TRUE(WaitUntil(&NobodyWatches)) << handle;
        EXPECT_EQ(Count(reconnect) + Count(L"OuterClientHelper: [ERROR] No privilege to open process!"), 0U);
        EXPECT_EQ(helper->UnregisterProcess(), Status::Success);
    }
}

TEST_F(ReconnectTest, ADeadServiceIsRegisteredWithAnew)
{
    ServiceProcess service;
    RegisterWith(service);
    const SentCommand first = TheLink().Only(registerId);
    TheLink().GiveProcess("0");
    service.Kill();
    ASSERT_TRUE(Registrations(2));
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    const SentCommand second = TheLink().Commands(registerId)[1];
    EXPECT_EQ(second.message, first.message);
    EXPECT_EQ(second.record, first.record);
    EXPECT_TRUE(second.withCallback);
    EXPECT_NE(second.thread, first.thread);
    EXPECT_EQ(g_fnCallback.load(), &NoteCommand);
    EXPECT_TRUE(g_bProcessRegistered);
    EXPECT_EQ(TheLink().LivingManagers(), 1U);
    EXPECT_EQ(Count(reconnect), 1U);
    EXPECT_EQ(Count(L"OuterClientHelper: [ERROR] DestroyContext fail, err=-520159225"), 1U);
    EXPECT_EQ(Count(L"OuterClientHelper: [ERROR] UninitProduct fail, err=-520159225"), 1U);
    EXPECT_TRUE(service.IsHandleClosed());
}

TEST_F(ReconnectTest, AServiceIsTriedEveryHalfSecondUntilItIsBack)
{
    ServiceProcess service;
    RegisterWith(service);
    TheLink().GiveProcess("0");
    TheLink().AnswerTo(registerId, {{Status::Failure, ""},
                                    {Status::UnknownClient, ""},
                                    {Status::UnknownClient, ""},
                                    {Status::Success, ResultMessage(0xE0FF0005)},
                                    {Status::Success, ResultMessage(0x20FF0000)}});
    const std::uint64_t death = GetTickCount64();
    service.Kill();
    ASSERT_TRUE(Registrations(6));
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    const std::vector<SentCommand> tries = TheLink().Commands(registerId);
    constexpr std::uint64_t pause = 480; // the clock is that coarse
    EXPECT_GE(tries[1].tick - death, pause);
    EXPECT_GE(tries[2].tick - tries[1].tick, pause);
    EXPECT_LT(tries[3].tick - tries[2].tick, pause); // the repetition for an unknown client
    EXPECT_GE(tries[4].tick - tries[3].tick, pause);
    EXPECT_GE(tries[5].tick - tries[4].tick, pause);
    EXPECT_LT(tries[5].tick - death, 10U * 500);
    EXPECT_EQ(Count(reconnect), 1U);
    EXPECT_TRUE(g_bProcessRegistered);
}

TEST_F(ReconnectTest, TheLengthOfATryComesOnTopOfThePause)
{
    ServiceProcess service;
    RegisterWith(service);
    TheLink().GiveProcess("0");
    TheLink().AnswerTo(registerId, {{Status::Failure, ""}, {Status::Failure, ""}, {0, ResultMessage(0)}});
    TheLink().Before(registerId, [] { WaitForSingleObject(GetCurrentProcess(), 700); });
    service.Kill();
    ASSERT_TRUE(Registrations(4));
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    const std::vector<SentCommand> tries = TheLink().Commands(registerId);
    constexpr std::uint64_t length = 680 + 480; // the clock is that coarse
    EXPECT_GE(tries[2].tick - tries[1].tick, length);
    EXPECT_GE(tries[3].tick - tries[2].tick, length);
}

TEST_F(ReconnectTest, ARoundCallsTheLibraryInOrder)
{
    ServiceProcess service;
    RegisterWith(service);
    TheLink().GiveProcess("0");
    TheLink().ForgetCalls();
    service.Kill();
    ASSERT_TRUE(Registrations(1));
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    EXPECT_THAT(TheLink().Calls(),
                ElementsAre("execute 0", "destroy nothing", "destroy id " + std::string(ManagerTrackingId),
                            "delete", "new null 1000", "execute 2052", "uuid 37", "execute 2051",
                            "destroy data", "destroy data"));
}

TEST_F(ReconnectTest, ACommandAfterTheServicesReturnIsExecuted)
{
    ServiceProcess service;
    RegisterWith(service);
    TheLink().GiveProcess("0");
    service.Kill();
    ASSERT_TRUE(Registrations(2));
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    EXPECT_EQ(TheLink().Call(CommandMessage(L"{\"JD_COMMAND_ID\":3000}")).returned, Status::Success);
    EXPECT_EQ(TheCommand().text, L"{\"JD_COMMAND_ID\":3000}\n");
}

TEST_F(ReconnectTest, ShortMemoryIsAFailedTry)
{
    ServiceProcess service;
    RegisterWith(service);
    TheLink().GiveProcess("0");
    {
        const NoMemoryElsewhere noProduct(sizeof(RpcClientProduct));
        service.Kill();
        ASSERT_TRUE(WaitUntil(
            [this]
            { return Count(L"OuterClientHelper: [ERROR] Reconnect is refused, reason=out of memory") > 0; }));
    }
    EXPECT_TRUE(Registrations(2));
    EXPECT_TRUE(WaitUntil([] { return g_bProcessRegistered; }));
}

TEST_F(ReconnectTest, AnExceptionOnTheWayIsAFailedTry)
{
    ServiceProcess service;
    RegisterWith(service);
    TheLink().GiveProcess("0");
    TheLink().Before(registerId,
                     []
                     {
                         TheLink().Before(registerId, nullptr);
                         throw std::bad_alloc();
                     });
    service.Kill();
    ASSERT_TRUE(Registrations(3));
    EXPECT_EQ(Count(L"OuterClientHelper: [ERROR] RegisterProcess is refused, reason=out of memory"), 1U);
}

TEST_F(ReconnectTest, TheStopEventEndsTheWatch)
{
    ServiceProcess service;
    RegisterWith(service);
    EXPECT_EQ(helper->UnregisterProcess(), Status::Success);
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    service.Kill();
    EXPECT_EQ(Count(reconnect), 0U);
    EXPECT_THAT(TheLink().Commands(registerId), SizeIs(1));
}

TEST_F(ReconnectTest, TheStopEventLeavesTheProcessHandleOpen)
{
    ServiceProcess service;
    RegisterWith(service);
    helper->UnregisterProcess();
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    EXPECT_FALSE(service.IsHandleClosed());
}

TEST_F(ReconnectTest, ADeathGoesBeforeTheStopEvent)
{
    ServiceProcess service;
    TheLink().Hold(0x2051);
    TheLink().GiveProcess(service.Handle());
    Register();
    ASSERT_TRUE(WaitUntil([] { return TheLink().Held() == 1; }));
    helper->UnregisterProcess();
    service.Kill();
    TheLink().LetGo();
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    EXPECT_EQ(Count(reconnect), 1U);
    EXPECT_THAT(TheLink().Commands(registerId), SizeIs(1));
}

TEST_F(ReconnectTest, TwoHelpersKeepTheManagerThatTheyShare)
{
    const auto other = MakeHelper();
    ServiceProcess service;
    RegisterWith(service);
    TheLink().GiveProcess("0");
    service.Kill();
    ASSERT_TRUE(Registrations(2));
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    const std::vector<SentCommand> tries = TheLink().Commands(registerId);
    EXPECT_EQ(tries[0].manager, tries[1].manager);
}

TEST_F(ReconnectTest, AThreadThatCannotStartIsTold)
{
    const TestSupport::ImportPatch patch(nullptr, "CreateThread", &FakeNoThread);
    EXPECT_EQ(Register(), Status::Success);
    EXPECT_EQ(Count(L"OuterClientHelper: [ERROR] CreateThread failed, the service is not watched, err=8"),
              1U);
    EXPECT_EQ(helper->UnregisterProcess(), Status::Success);
}

TEST_F(ReconnectTest, AnEventThatCannotBeMadeIsTold)
{
    const ServiceProcess service;
    TheLink().GiveProcess(service.Handle());
    {
        const TestSupport::ImportPatch patch(nullptr, "CreateEventW", &FakeNoEvent);
        EXPECT_EQ(Register(), Status::Success);
    }
    EXPECT_EQ(Count(L"OuterClientHelper: [ERROR] CreateEventW failed, the service is not watched, err=8"),
              1U);
    EXPECT_TRUE(WaitUntil(&NobodyWatches));
}

TEST_F(ReconnectTest, EveryLineOfTheClassNamesOneSource)
{
    ServiceProcess service;
    RegisterWith(service);
    TheLink().GiveProcess("0");
    service.Kill();
    ASSERT_TRUE(Registrations(2));
    static_cast<void>(TheLink().Call(CommandMessage(L"{}")));
    helper->RegisterProcess(TestClientName, &NoteCommand);
    TheLink().AnswerTo(0x2053, {{Status::UnknownClient, ""}});
    helper->UnregisterProcess();
    TheLink().AnswerTo(0x2051, {{Status::UnknownClient, ""}});
    QxCommon::JsonDb reply;
    helper->SendMail2ProductPlugin(5, 0x1802, QxCommon::JsonDb(), reply);
    TheLink().Before(0x2051, [] { throw std::bad_alloc(); });
    helper->SendMail2ProductPlugin(5, 0x1802, QxCommon::JsonDb(), reply);
    helper.reset();
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    for (const TestSupport::LogMessage& message : log.Messages())
    {
        EXPECT_EQ(message.source, L"OuterClientHelper");
    }
}

TEST_F(ReconnectTest, AHundredDeathsLeaveNothingBehind)
{
    const TestSupport::ImportPatch patch(nullptr, "WaitForSingleObject", &FakeWaitWithoutPause);
    g_wait = patch.Original<DWORD WINAPI(HANDLE, DWORD)>();
    auto service = std::make_unique<ServiceProcess>();
    RegisterWith(*service);
    std::size_t registrations = 1;
    const auto die = [&]
    {
        auto next = std::make_unique<ServiceProcess>();
        TheLink().GiveProcess(next->Handle());
        service->Kill();
        ASSERT_TRUE(Registrations(++registrations));
        ASSERT_TRUE(Watches(registrations));
        service = std::move(next);
    };
    // A lock makes an event at its first contention and keeps it; what a death leaves shows both times.
    const std::string first = TestSupport::GrowthOf(die, 100);
    EXPECT_EQ(first.empty() ? first : TestSupport::GrowthOf(die, 100), "");
    EXPECT_EQ(TheLink().LivingManagers(), 1U);
    helper->UnregisterProcess();
}

TEST_F(ReconnectTest, ARealProcessIsWatched)
{
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION child{};
    wchar_t program[MAX_PATH]{};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    ASSERT_TRUE(CreateProcessW(program, nullptr, nullptr, nullptr, FALSE, CREATE_SUSPENDED, nullptr, nullptr,
                               &startup, &child));
    const VzCommon::KernelHandle process(child.hProcess);
    const VzCommon::KernelHandle thread(child.hThread);
    HANDLE given = nullptr;
    ASSERT_TRUE(DuplicateHandle(GetCurrentProcess(), process.Get(), GetCurrentProcess(), &given, 0, FALSE,
                                DUPLICATE_SAME_ACCESS));
    TheLink().GiveProcess(std::to_string(reinterpret_cast<std::uintptr_t>(given)));
    Register();
    ASSERT_TRUE(WaitUntil([] { return !TheLink().Commands(0x2051).empty(); }));
    EXPECT_EQ(Count(reconnect), 0U);
    TheLink().GiveProcess("0");
    TerminateProcess(process.Get(), 1);
    EXPECT_TRUE(Registrations(2));
    EXPECT_EQ(Count(reconnect), 1U);
}
