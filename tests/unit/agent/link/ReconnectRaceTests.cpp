// The helper goes while its thread is at work, and calls are under way while the connection goes.
#include <atomic>
#include <thread>

#include "ImportPatch.h"
#include "LinkTest.h"
#include "ObjectCounts.h"
#include "ServiceProcess.h"

using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::WaitUntil;

namespace
{
class ReconnectRaceTest : public LinkTest
{
protected:
    void Register() { helper->RegisterProcess(TestClientName, &NoteCommand); }

    void RegisterWith(const ServiceProcess& service)
    {
        TheLink().GiveProcess(service.Handle());
        Register();
    }

    // Registers, kills the service and holds what the thread does next.
    void LoseServiceAndHold(std::uint32_t commandId)
    {
        const ServiceProcess service;
        RegisterWith(service);
        ASSERT_TRUE(WaitUntil([] { return !TheLink().Commands(mailId).empty(); }));
        TheLink().Hold(commandId);
        TheLink().GiveProcess("0");
        service.Kill();
        ASSERT_TRUE(WaitUntil([] { return TheLink().Held() == 1; }));
    }

    static bool Held()
    {
        return WaitUntil([] { return TheLink().Held() == 1; });
    }

    std::unique_ptr<CVzRpcClientHelper> helper = MakeHelper();
};
} // namespace

TEST_F(ReconnectRaceTest, TheHelperGoesWhileItsThreadIsInTheMail)
{
    for (const AgentStatus status : {Status::Success, Status::UnknownClient, Status::Failure})
    {
        TheLink().AnswerTo(mailId, {{status, MailAnswer(0x20FF0000, "{\"handle\":0}")}});
        TheLink().Hold(mailId);
        Register();
        ASSERT_TRUE(Held());
        helper->UnregisterProcess();
        helper.reset();
        EXPECT_EQ(g_pRpcManager, nullptr);
        EXPECT_EQ(TheLink().LivingManagers(), 1U); // the mail holds it
        TheLink().LetGo();
        ASSERT_TRUE(WaitUntil(&NobodyWatches));
        EXPECT_EQ(TheLink().LivingManagers(), 0U);
        EXPECT_FALSE(g_bProductInited);
        helper = MakeHelper();
    }
}

TEST_F(ReconnectRaceTest, TheHelperGoesWithoutUnregisteringWhileItIsWatched)
{
    const ServiceProcess service;
    RegisterWith(service);
    helper.reset();
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    EXPECT_THAT(TheLink().Commands(registerId), SizeIs(1));
}

TEST_F(ReconnectRaceTest, TheHelperGoesWhileItsThreadPauses)
{
    const ServiceProcess service;
    RegisterWith(service);
    service.Kill();
    ASSERT_TRUE(WaitUntil([this] { return Count(L"OuterClientHelper: [INFO] Reconnect the RPC...") == 1; }));
    helper->UnregisterProcess();
    helper.reset();
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    EXPECT_THAT(TheLink().Commands(registerId), SizeIs(1));
    EXPECT_EQ(TheLink().LivingManagers(), 0U);
}

TEST_F(ReconnectRaceTest, TheHelperGoesWhileTheServiceIsAway)
{
    TheLink().AnswerTo(registerId, {{Status::Success, ResultMessage(0)}, {Status::Failure, ""}});
    const ServiceProcess service;
    RegisterWith(service);
    service.Kill();
    ASSERT_TRUE(WaitUntil([] { return TheLink().Commands(registerId).size() == 2; }));
    EXPECT_EQ(helper->UnregisterProcess(), Status::Success);
    EXPECT_THAT(TheLink().Commands(0x2053), IsEmpty());
    helper.reset();
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    EXPECT_EQ(TheLink().LivingManagers(), 0U);
}

TEST_F(ReconnectRaceTest, TheHelperGoesWhileItsThreadRegisters)
{
    LoseServiceAndHold(registerId);
    EXPECT_EQ(helper->UnregisterProcess(), Status::Success);
    helper.reset();
    TheLink().LetGo();
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    EXPECT_FALSE(g_bProcessRegistered);
    EXPECT_EQ(TheLink().LivingManagers(), 0U);
    EXPECT_FALSE(g_bProductInited);
}

// The end of the registration comes while the thread's command is in the library, and finds nothing to end.
TEST_F(ReconnectRaceTest, AHelperTakesTheRegistrationThatItsThreadMadeWithIt)
{
    LoseServiceAndHold(registerId);
    const ServiceProcess next;
    TheLink().GiveProcess(next.Handle());
    EXPECT_EQ(helper->UnregisterProcess(), Status::Success);
    TheLink().LetGo();
    ASSERT_TRUE(WaitUntil([] { return TheLink().Commands(mailId).size() == 2; }));
    EXPECT_TRUE(g_bProcessRegistered);
    helper.reset();
    EXPECT_FALSE(g_bProcessRegistered);
    helper = MakeHelper();
    EXPECT_EQ(helper->RegisterProcess(TestClientName, &NoteCommand), Status::Success);
}

TEST_F(ReconnectRaceTest, AnUnknownClientWhoseHelperHasGoneIsNotRegisteredByTheNextOne)
{
    TheLink().AnswerTo(registerId, {{Status::Success, ResultMessage(0)}, {Status::UnknownClient, ""}});
    LoseServiceAndHold(registerId);
    helper->UnregisterProcess();
    helper.reset();
    helper = MakeHelper();
    TheLink().LetGo();
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    EXPECT_THAT(TheLink().Commands(registerId), SizeIs(2));
    EXPECT_TRUE(TheLink().Commands(registerId).back().buffer.expired());
    EXPECT_EQ(TheLink().LivingManagers(), 1U);
    EXPECT_FALSE(g_bProcessRegistered);
}

TEST_F(ReconnectRaceTest, NobodyWaitsForTheRoundTripsOfARenewal)
{
    LoseServiceAndHold(0);
    std::atomic<bool> done = false;
    std::thread sender(
        [this, &done]
        {
            QxCommon::JsonDb reply;
            CVzRpcClientHelper::SendMail2ProductPlugin(5, 0x1802, QxCommon::JsonDb(), reply);
            helper->UnregisterProcess();
            done = true;
        });
    EXPECT_TRUE(WaitUntil([&done] { return done.load(); }));
    EXPECT_EQ(TheLink().Held(), 1U);
    TheLink().LetGo();
    sender.join();
    ASSERT_TRUE(WaitUntil([] { return TheLink().Commands(registerId).size() == 2; }));
}

TEST_F(ReconnectRaceTest, ANewHelperInTheOldPlaceIsLeftAlone)
{
    LoseServiceAndHold(registerId);
    helper->UnregisterProcess();
    helper->~CVzRpcClientHelper();
    new (helper.get()) CVzRpcClientHelper(0, RpcClientProduct);
    TheLink().LetGo();
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    EXPECT_FALSE(g_bProcessRegistered);
    EXPECT_EQ(TheLink().LivingManagers(), 1U);
    const ServiceProcess service;
    RegisterWith(service);
    EXPECT_TRUE(g_bProcessRegistered);
    EXPECT_EQ(TheLink().Commands(registerId).back().manager, g_pRpcManager.get());
    helper->UnregisterProcess();
    EXPECT_THAT(TheLink().Commands(0x2053), SizeIs(1));
}

TEST_F(ReconnectRaceTest, ARegistrationByHandEndsTheThreadOfTheOldOne)
{
    TheLink().AnswerTo(
        registerId,
        {{Status::Success, ResultMessage(0)}, {Status::Failure, ""}, {Status::Success, ResultMessage(0)}});
    const ServiceProcess service;
    RegisterWith(service);
    service.Kill();
    ASSERT_TRUE(WaitUntil([] { return TheLink().Commands(registerId).size() == 2; }));
    const ServiceProcess next;
    RegisterWith(next);
    ASSERT_TRUE(WaitUntil([] { return TheLink().Commands(mailId).size() == 2; }));
    helper->UnregisterProcess();
    ASSERT_TRUE(WaitUntil(&NobodyWatches));
    EXPECT_THAT(TheLink().Commands(registerId), SizeIs(3));
}

TEST_F(ReconnectRaceTest, AMailUnderWayOutlivesTheConnection)
{
    TheLink().Hold(mailId);
    QxCommon::JsonDb reply;
    AgentStatus status = 0;
    std::thread sender(
        [&status, &reply]
        { status = CVzRpcClientHelper::SendMail2ProductPlugin(5, 0x1802, QxCommon::JsonDb(), reply); });
    EXPECT_TRUE(Held());
    helper.reset();
    EXPECT_EQ(TheLink().LivingManagers(), 1U);
    TheLink().LetGo();
    sender.join();
    EXPECT_EQ(status, Status::Success);
    EXPECT_EQ(TheLink().LivingManagers(), 0U);
}

TEST_F(ReconnectRaceTest, LocksAndUnlocksInAnyPhaseLeaveNothingBehind)
{
    int phase = 0;
    EXPECT_EQ(TestSupport::GrowthOf(
                  [this, &phase]
                  {
                      const ServiceProcess service;
                      RegisterWith(service);
                      if (++phase % 2 == 0)
                      {
                          service.Kill();
                      }
                      if (phase % 3 != 0)
                      {
                          helper->UnregisterProcess();
                      }
                      helper = nullptr;
                      ASSERT_TRUE(WaitUntil(&NobodyWatches));
                      service.CloseIfOpen();
                      ResetLink();
                      helper = MakeHelper();
                  }),
              "");
}
