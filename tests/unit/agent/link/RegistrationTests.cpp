#include <cstring>
#include <thread>

#include "LinkTest.h"
#include "ObjectCounts.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
constexpr std::uint32_t unregisterId = 0x2053;
constexpr wchar_t unknown[] = L"OuterClientHelper: [WARN] not register yet. register this client helper to "
                              L"service now. nProductID=0";

class RegistrationTest : public LinkTest
{
protected:
    AgentStatus Register() { return helper->RegisterProcess(TestClientName, &NoteCommand); }

    std::unique_ptr<CVzRpcClientHelper> helper = MakeHelper();
};
} // namespace

TEST_F(RegistrationTest, TellsTheServiceNameAndProcess)
{
    EXPECT_EQ(Register(), Status::Success);
    const SentCommand sent = TheLink().Only(registerId);
    EXPECT_EQ(sent.record, CommandRecord(registerId, 0));
    EXPECT_EQ(sent.trackingId, ManagerTrackingId);
    EXPECT_TRUE(sent.withCallback);
    EXPECT_EQ(TheLink().Callback(), &CVzRpcClientHelper::RegisterProcessCallback);
    EXPECT_EQ(sent.message,
              Message(0x10014, Bytes().Text(0xE000D, L"QxSystemTray").UInt(0xE000E, GetCurrentProcessId())));
    EXPECT_TRUE(g_bProcessRegistered);
    EXPECT_EQ(g_fnCallback.load(), &NoteCommand);
    EXPECT_EQ(g_strTrackingID, ManagerTrackingId);
}

TEST_F(RegistrationTest, LeavesTheDataOfItsTwoCommandsToTheLibrary)
{
    TheLink().GiveProcess("18446744073709551615"); // the watching thread ends at once
    Register();
    ASSERT_TRUE(TestSupport::WaitUntil(&NobodyWatches));
    TheLink().ForgetCalls();
    EXPECT_EQ(helper->UnregisterProcess(), Status::Success);
    EXPECT_THAT(TheLink().Calls(), ElementsAre("uuid 37", "execute 2053"));
}

TEST_F(RegistrationTest, ASecondRegistrationIsRefused)
{
    Register();
    EXPECT_EQ(Register(), Status::AlreadyDone);
    EXPECT_EQ(helper->RegisterProcess(nullptr, nullptr), Status::AlreadyDone);
    EXPECT_EQ(TheLink().Commands(registerId).size(), 1U);
    EXPECT_EQ(Count(L"OuterClientHelper: [WARN] The process has been registered"), 2U);
}

TEST_F(RegistrationTest, ANullNameOrCallbackChangesNothing)
{
    EXPECT_EQ(helper->RegisterProcess(nullptr, &NoteCommand), Status::InvalidParameter);
    EXPECT_EQ(helper->RegisterProcess(TestClientName, nullptr), Status::InvalidParameter);
    EXPECT_EQ(g_fnCallback.load(), nullptr);
    EXPECT_FALSE(g_bProcessRegistered);
    EXPECT_THAT(TheLink().Commands(), IsEmpty());
    EXPECT_THAT(Statements(), IsEmpty());
}

TEST_F(RegistrationTest, AnEmptyNameIsAName)
{
    EXPECT_EQ(helper->RegisterProcess(L"", &NoteCommand), Status::Success);
    EXPECT_EQ(TextItem(TheLink().Only(registerId).message, 0xE000D), L"");
}

TEST_F(RegistrationTest, CopiesTheContextIntoTheCommand)
{
    std::memset(&g_rpcContext, 0x41, sizeof(g_rpcContext));
    Register();
    EXPECT_EQ(TheLink().Only(registerId).record.substr(0, 916), std::string(916, 'A'));
}

TEST_F(RegistrationTest, AnUnknownClientRegistersOnceMoreByANewManager)
{
    TheLink().AnswerTo(registerId, {{Status::UnknownClient, ""}, {Status::Success, ResultMessage(0)}});
    EXPECT_EQ(Register(), 0);
    const std::vector<SentCommand> sent = TheLink().Commands(registerId);
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[0].record, sent[1].record);
    EXPECT_EQ(sent[0].message, sent[1].message);
    EXPECT_EQ(sent[0].trackingId, sent[1].trackingId);
    EXPECT_NE(sent[0].manager, sent[1].manager);
    EXPECT_TRUE(sent[1].withCallback);
    EXPECT_EQ(TheLink().LivingManagers(), 2U);
    EXPECT_EQ(Count(unknown), 1U);
    EXPECT_TRUE(g_bProcessRegistered);
}

TEST_F(RegistrationTest, AClientThatIsUnknownTwiceIsAPlainFailure)
{
    TheLink().AnswerTo(registerId, {{Status::UnknownClient, ""}});
    EXPECT_EQ(Register(), Status::UnknownClient);
    EXPECT_EQ(TheLink().Commands(registerId).size(), 2U);
    EXPECT_THAT(Statements(),
                ElementsAre(unknown, L"OuterClientHelper: [ERROR] executing command failed, err=-536803325"));
    EXPECT_FALSE(g_bProcessRegistered);
    EXPECT_EQ(g_fnCallback.load(), &NoteCommand);
    EXPECT_EQ(g_strTrackingID, ManagerTrackingId);
}

TEST_F(RegistrationTest, AnUnknownClientWithoutMemoryForAManagerHasNone)
{
    TheLink().AnswerTo(registerId, {{Status::UnknownClient, ""}});
    TheLink().Before(registerId, [] { TheLink().load = Status::OutOfMemory; });
    EXPECT_EQ(Register(), Status::OutOfMemory);
    EXPECT_EQ(g_pRpcManager, nullptr);
    EXPECT_FALSE(g_bProductInited);
}

TEST_F(RegistrationTest, AFailedCallMayBeRepeated)
{
    TheLink().AnswerTo(registerId, {{Status::Failure, ""}, {Status::Success, ResultMessage(0x20FF0000)}});
    EXPECT_EQ(Register(), Status::Failure);
    EXPECT_THAT(Statements(),
                ElementsAre(L"OuterClientHelper: [ERROR] executing command failed, err=-520159231"));
    EXPECT_EQ(Register(), Status::Success);
}

TEST_F(RegistrationTest, AnAnswerWithoutResultIsNoRegistration)
{
    for (const std::string& answer :
         {std::string(), Message(0x10014, Bytes()), Message(0x10014, Bytes().Text(0xE001A, L"ok"))})
    {
        log.Clear();
        TheLink().AnswerTo(registerId, {{Status::Success, answer}});
        EXPECT_EQ(Register(), Status::InvalidParameter);
        EXPECT_FALSE(g_bProcessRegistered);
        EXPECT_THAT(Statements(), ElementsAre(noResult));
    }
}

TEST_F(RegistrationTest, ARefusalLeavesTheProcessRegisteredAndUnwatched)
{
    TheLink().AnswerTo(registerId, {{Status::Success, ResultMessage(0xE0FF0005)}});
    EXPECT_EQ(Register(), Status::InitializeFailed);
    EXPECT_TRUE(g_bProcessRegistered);
    EXPECT_TRUE(NobodyWatches());
    EXPECT_THAT(TheLink().Commands(0x2051), IsEmpty());
    EXPECT_EQ(Register(), Status::AlreadyDone);
    EXPECT_EQ(helper->UnregisterProcess(), Status::Success);
}

TEST_F(RegistrationTest, TheEndOfItTellsTheServiceTheProcess)
{
    Register();
    EXPECT_EQ(helper->UnregisterProcess(), Status::Success);
    const SentCommand sent = TheLink().Only(unregisterId);
    EXPECT_EQ(sent.record, CommandRecord(unregisterId, 1));
    EXPECT_EQ(sent.trackingId.size(), 36U);
    EXPECT_EQ(sent.trackingId[0], 'u');
    EXPECT_FALSE(sent.withCallback);
    EXPECT_EQ(sent.message, Message(0x10014, Bytes().UInt(0xE000E, GetCurrentProcessId())));
    EXPECT_FALSE(g_bProcessRegistered);
    EXPECT_EQ(g_fnCallback.load(), nullptr);
    EXPECT_EQ(g_strTrackingID, ManagerTrackingId);
}

TEST_F(RegistrationTest, WithoutARegistrationThereIsNothingToEnd)
{
    EXPECT_EQ(helper->UnregisterProcess(), Status::Success);
    EXPECT_THAT(TheLink().Commands(), IsEmpty());
}

TEST_F(RegistrationTest, AnotherHelperMayEndTheRegistrationOfOneThatWent)
{
    const auto other = MakeHelper();
    Register();
    helper.reset();
    EXPECT_TRUE(g_bProcessRegistered);
    EXPECT_EQ(other->RegisterProcess(TestClientName, &NoteCommand), Status::AlreadyDone);
    EXPECT_EQ(other->UnregisterProcess(), Status::Success);
    EXPECT_EQ(TheLink().Commands(unregisterId).size(), 1U);
}

TEST_F(RegistrationTest, AFailedEndEndsItAllTheSame)
{
    TheLink().AnswerTo(unregisterId, {{Status::UnknownClient, ""}});
    Register();
    EXPECT_EQ(helper->UnregisterProcess(), Status::UnknownClient);
    EXPECT_EQ(TheLink().Commands(unregisterId).size(), 1U);
    EXPECT_EQ(Count(L"OuterClientHelper: [ERROR] executing command failed, err=-536803325"), 1U);
    EXPECT_FALSE(g_bProcessRegistered);
    EXPECT_EQ(g_fnCallback.load(), nullptr);
}

TEST_F(RegistrationTest, AnEndWithoutResultIsAnInvalidAnswer)
{
    TheLink().AnswerTo(unregisterId, {{Status::Success, ""}});
    Register();
    EXPECT_EQ(helper->UnregisterProcess(), Status::InvalidParameter);
    EXPECT_EQ(Count(noResult), 1U);
    EXPECT_FALSE(g_bProcessRegistered);
}

TEST_F(RegistrationTest, TheServicesRefusalOfTheEndIsItsResult)
{
    TheLink().AnswerTo(unregisterId, {{Status::Success, ResultMessage(0xE0FF0002)}});
    Register();
    EXPECT_EQ(helper->UnregisterProcess(), Status::UnknownTrackId);
    EXPECT_FALSE(g_bProcessRegistered);
}

TEST_F(RegistrationTest, WithoutATrackingIdTheProcessStaysRegistered)
{
    Register();
    TheLink().createUuid = Status::OutOfMemory;
    EXPECT_EQ(helper->UnregisterProcess(), Status::OutOfMemory);
    EXPECT_EQ(Count(L"OuterClientHelper: [ERROR] Cannot generate tracking ID, err=-520159202"), 1U);
    EXPECT_TRUE(g_bProcessRegistered);
    EXPECT_EQ(g_fnCallback.load(), &NoteCommand);
    EXPECT_THAT(TheLink().Commands(unregisterId), IsEmpty());
    EXPECT_EQ(Register(), Status::AlreadyDone);
}

TEST_F(RegistrationTest, ShortMemoryEndsTheRegistrationAllTheSame)
{
    const auto end = [this](long long successes)
    {
        g_bProcessRegistered = true;
        g_fnCallback = &NoteCommand;
        const OneFailure failure(successes);
        EXPECT_NO_THROW(helper->UnregisterProcess());
        return failure.HasFailed();
    };
    for (long long successes = 0; end(successes); ++successes)
    {
        EXPECT_FALSE(g_bProcessRegistered) << successes;
        EXPECT_EQ(g_fnCallback.load(), nullptr) << successes;
    }
    for (const SentCommand& sent : TheLink().Commands(unregisterId))
    {
        EXPECT_EQ(sent.message, Message(0x10014, Bytes().UInt(0xE000E, GetCurrentProcessId())));
    }
}

TEST_F(RegistrationTest, AnExceptionInTheLibraryEndsTheRegistrationAllTheSame)
{
    g_bProcessRegistered = true;
    g_fnCallback = &NoteCommand;
    TheLink().Before(unregisterId, [] { throw std::bad_alloc(); });
    EXPECT_EQ(helper->UnregisterProcess(), Status::OutOfMemory);
    EXPECT_FALSE(g_bProcessRegistered);
    EXPECT_EQ(g_fnCallback.load(), nullptr);
}

TEST_F(RegistrationTest, TheLibraryOwnsWhatItHasTaken)
{
    Register();
    helper->UnregisterProcess();
    ASSERT_TRUE(TestSupport::WaitUntil(&NobodyWatches));
    EXPECT_FALSE(TheLink().Only(registerId).buffer.expired());
    EXPECT_FALSE(TheLink().Only(unregisterId).buffer.expired());
    helper.reset();
    EXPECT_TRUE(TheLink().Only(registerId).buffer.expired());
    EXPECT_TRUE(TheLink().Only(unregisterId).buffer.expired());
}

TEST_F(RegistrationTest, WhatTheLibraryHasNotTakenIsReleased)
{
    TheLink().AnswerTo(registerId, {{Status::UnknownClient, ""}});
    TheLink().AnswerTo(unregisterId, {{Status::UnknownClient, ""}});
    Register();
    g_bProcessRegistered = true;
    helper->UnregisterProcess();
    EXPECT_TRUE(TheLink().Commands(registerId).back().buffer.expired());
    EXPECT_TRUE(TheLink().Only(unregisterId).buffer.expired());
    TheLink().Before(registerId, [] { TheLink().load = Status::OutOfMemory; });
    Register();
    EXPECT_EQ(g_pRpcManager, nullptr);
    EXPECT_TRUE(TheLink().Commands(registerId).back().buffer.expired());
}

TEST_F(RegistrationTest, WithoutAManagerNothingIsLeftBehind)
{
    helper->UninitProduct();
    EXPECT_EQ(BlocksLeftBy([this] { EXPECT_EQ(Register(), Status::Failure); }), 0);
}

TEST_F(RegistrationTest, RoundsOfItLeaveNothingBehind)
{
    EXPECT_EQ(TestSupport::GrowthOf(
                  [this]
                  {
                      Register();
                      helper->UnregisterProcess();
                  }),
              "");
}
