#include <algorithm>
#include <cstring>

#include "LinkTest.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
constexpr wchar_t contextFailed[] = L"OuterClientHelper: [ERROR] DestroyContext fail, err=-520159225";
constexpr wchar_t uninitFailed[] = L"OuterClientHelper: [ERROR] UninitProduct fail, err=-520159225";

class HelperLifeTest : public LinkTest
{
protected:
    static void FillContext(const char* id, const char* secondId)
    {
        std::strcpy(g_rpcContext.szId, id);
        std::strcpy(g_rpcContext.szSecondId, secondId);
    }
};
} // namespace

TEST_F(HelperLifeTest, TheFirstHelperMakesTheManager)
{
    const auto helper = MakeHelper();
    EXPECT_TRUE(g_bProductInited);
    EXPECT_NE(g_pRpcManager, nullptr);
    EXPECT_THAT(TheLink().Calls(), ElementsAre("new null 1000"));
    EXPECT_THAT(Statements(), IsEmpty());
}

TEST_F(HelperLifeTest, MakingTheManagerGivesTheGenericFailure)
{
    TheLink().load = Status::FromSystemError(ERROR_MOD_NOT_FOUND);
    const auto helper = MakeHelper();
    TheLink().load = Status::Success;
    EXPECT_EQ(helper->InitProduct(0, 0, L""), Status::Failure);
    EXPECT_TRUE(g_bProductInited);
}

TEST_F(HelperLifeTest, TwoHelpersShareTheManagerUntilTheLastGoes)
{
    auto first = MakeHelper();
    auto second = MakeHelper();
    EXPECT_EQ(second->InitProduct(0, 0, L""), Status::AlreadyDone);
    EXPECT_EQ(first->UninitProduct(), Status::Success);
    first.reset();
    EXPECT_EQ(TheLink().LivingManagers(), 1U);
    EXPECT_TRUE(g_bProductInited);
    second.reset();
    EXPECT_EQ(TheLink().LivingManagers(), 0U);
    EXPECT_FALSE(g_bProductInited);
    EXPECT_THAT(TheLink().Calls(), ElementsAre("new null 1000", "delete"));
    constexpr wchar_t already[] = L"OuterClientHelper: [WARN] The Product helper is already initialized";
    constexpr wchar_t held[] =
        L"OuterClientHelper: [INFO] There are another instances still been held, m_uiRefCnt=1";
    EXPECT_THAT(Statements(), ElementsAre(already, already, held, held, contextFailed, uninitFailed));
}

TEST_F(HelperLifeTest, TheLastTeardownEndsWithTwoErrorLines)
{
    const auto helper = MakeHelper();
    EXPECT_EQ(helper->UninitProduct(), Status::InvalidParameter);
    EXPECT_EQ(g_pRpcManager, nullptr);
    EXPECT_THAT(Statements(), ElementsAre(contextFailed, uninitFailed));
    log.Clear();
    EXPECT_EQ(helper->UninitProduct(), Status::Success);
    EXPECT_THAT(Statements(),
                ElementsAre(L"OuterClientHelper: [WARN] The Product helper is not initialized"));
}

TEST_F(HelperLifeTest, WithoutAnyHelperThereIsNoManagerToMake)
{
    EXPECT_EQ(CVzRpcClientHelper::InitProduct(0, 0, L""), Status::Failure);
    EXPECT_THAT(Statements(), ElementsAre(L"OuterClientHelper: [FATAL] reference count should not be zero "
                                          L"or negative. m_uiRefCnt=0"));
    EXPECT_EQ(log.Messages()[1].tag, L"!!!");
    EXPECT_THAT(TheLink().Calls(), IsEmpty());
}

TEST_F(HelperLifeTest, NoMemoryForTheManagerLeavesNone)
{
    const auto helper = MakeHelper();
    g_bProductInited = false;
    const NoMemory noMemory;
    EXPECT_EQ(helper->InitProduct(0, 0, L""), Status::OutOfMemory);
    EXPECT_EQ(g_pRpcManager, nullptr);
    EXPECT_FALSE(g_bProductInited);
}

TEST_F(HelperLifeTest, AManagerThatThrowsIsNone)
{
    TheLink().noMemoryForManager = true;
    const auto helper = MakeHelper();
    EXPECT_EQ(g_pRpcManager, nullptr);
    EXPECT_THAT(Statements(),
                ElementsAre(L"OuterClientHelper: [ERROR] InitProduct is refused, reason=out of memory"));
    EXPECT_EQ(helper->RegisterProcess(TestClientName, &NoteCommand), Status::OutOfMemory);
}

TEST_F(HelperLifeTest, TheTeardownForgetsTheTrackingId)
{
    const auto helper = MakeHelper();
    g_strTrackingID = "0f0f0f0f-0000-0000-0000-0123456789ab-and-more";
    TheLink().destroyTrackingId = Status::NotFound;
    EXPECT_EQ(helper->UninitProduct(), Status::InvalidParameter);
    EXPECT_THAT(TheLink().Calls(),
                ElementsAre("new null 1000", "execute 0", "destroy nothing",
                            "destroy id 0f0f0f0f-0000-0000-0000-0123456789ab-and-more", "delete"));
    const SentCommand erase = TheLink().Only(0);
    EXPECT_EQ(erase.second, 1U);
    EXPECT_EQ(erase.trackingId, "0f0f0f0f-0000-0000-0000-0123456789ab");
    EXPECT_FALSE(erase.withCallback);
    EXPECT_EQ(erase.message, "");
    EXPECT_THAT(Statements(),
                ElementsAre(L"OuterClientHelper: [INFO] EraseAllCallbackOfTrackingID, result=553582592",
                            L"OuterClientHelper: [ERROR] DestroyRecordOfTrackingID fail, err=-520159218",
                            contextFailed, uninitFailed));
    EXPECT_NE(g_strTrackingID, "");
}

TEST_F(HelperLifeTest, AnEraseCommandCarriesNoContext)
{
    const auto helper = MakeHelper();
    FillContext("00000003-1111-1111-1111-111111111111", "");
    TheLink().AnswerTo(0, {{Status::NotFound, ResultMessage(0)}});
    EXPECT_EQ(helper->EraseAllCallbackOfTrackingID(), Status::NotFound);
    const std::string record = TheLink().Only(0).record;
    EXPECT_EQ(record.size(), 992U);
    EXPECT_EQ(record, std::string(920, '\0') + Bytes().U32(1).text + std::string(68, '\0'));
    EXPECT_THAT(TheLink().Calls(), ElementsAre("new null 1000", "execute 0", "destroy data"));
    EXPECT_THAT(Statements(),
                ElementsAre(L"OuterClientHelper: [INFO] EraseAllCallbackOfTrackingID, result=-520159218"));
}

TEST_F(HelperLifeTest, AContextOfAnotherKindStaysAwayFromTheLibrary)
{
    const auto helper = MakeHelper();
    FillContext("00000004-1111-1111-1111-111111111111", "22222222-2222-2222-2222-222222222222");
    std::memset(g_rpcContextSpare, 0x5A, sizeof(g_rpcContextSpare));
    EXPECT_EQ(helper->UninitProduct(), Status::WrongContext);
    EXPECT_THAT(TheLink().Calls(), ElementsAre("new null 1000", "delete"));
    EXPECT_THAT(Statements(), ElementsAre(L"OuterClientHelper: [INFO] DestroyContext-520159201",
                                          L"OuterClientHelper: [ERROR] DestroyContext fail, err=-520159201",
                                          L"OuterClientHelper: [ERROR] UninitProduct fail, err=-520159201"));
    const CRpcContext zero{};
    EXPECT_EQ(std::memcmp(&g_rpcContext, &zero, sizeof(zero)), 0);
    EXPECT_TRUE(std::all_of(std::begin(g_rpcContextSpare), std::end(g_rpcContextSpare),
                            [](std::uint8_t byte) { return byte == 0; }));
}

TEST_F(HelperLifeTest, TheLibraryForgetsAnAcceptedContext)
{
    const auto helper = MakeHelper();
    FillContext("00000003-1111-1111-1111-111111111111", "22222222-2222-2222-2222-222222222222");
    EXPECT_EQ(helper->UninitProduct(), Status::Success);
    EXPECT_THAT(TheLink().Calls(), ElementsAre("new null 1000", "destroy context", "delete"));
    EXPECT_THAT(Statements(), ElementsAre(L"OuterClientHelper: [INFO] DestroyContext553582592"));
}

TEST_F(HelperLifeTest, AContextNeedsBothIdsInFull)
{
    const char* const whole = "00000003-1111-1111-1111-111111111111";
    const auto helper = MakeHelper();
    FillContext(whole, "22222222");
    EXPECT_EQ(helper->UninitProduct(), Status::InvalidParameter);
    helper->InitProduct(0, 0, L"");
    FillContext("00000003", whole);
    EXPECT_EQ(helper->UninitProduct(), Status::InvalidParameter);
    helper->InitProduct(0, 0, L"");
    std::memset(g_rpcContext.szId, '3', sizeof(g_rpcContext.szId)); // no terminator
    EXPECT_EQ(helper->UninitProduct(), Status::InvalidParameter);
}

TEST_F(HelperLifeTest, EveryOperationLeavesItsTrace)
{
    auto helper = MakeHelper();
    helper.reset();
    std::vector<std::wstring> traces = log.Texts();
    std::erase_if(traces, [](const std::wstring& text) { return !text.starts_with(L"[INFO],["); });
    const std::wstring in = L"[INFO],[OuterClientHelper], ==> CVzRpcClientHelper::";
    const std::wstring out = L"[INFO],[OuterClientHelper], <== CVzRpcClientHelper::";
    EXPECT_THAT(traces, ElementsAre(in + L"CVzRpcClientHelper", in + L"InitProduct", out + L"InitProduct",
                                    out + L"CVzRpcClientHelper", in + L"~CVzRpcClientHelper",
                                    in + L"UninitProduct", in + L"DestroyContext", out + L"DestroyContext",
                                    out + L"UninitProduct", out + L"~CVzRpcClientHelper"));
    for (const TestSupport::LogMessage& message : log.Messages())
    {
        EXPECT_EQ(message.source, L"OuterClientHelper");
    }
}

TEST_F(HelperLifeTest, WithoutTheLibraryEveryOperationFailsAndNoneCrashes)
{
    TheLink().load = Status::FromSystemError(ERROR_MOD_NOT_FOUND);
    const AgentStatus missing = Status::FromBits(0xE0FE007E);
    auto helper = MakeHelper();
    EXPECT_EQ(helper->InitProduct(0, 0, L""), missing);
    EXPECT_EQ(helper->RegisterProcess(TestClientName, &NoteCommand), missing);
    EXPECT_EQ(helper->EraseAllCallbackOfTrackingID(), missing);
    QxCommon::JsonDb reply;
    EXPECT_EQ(helper->SendMail2ProductPlugin(5, 0x1802, QxCommon::JsonDb(), reply), missing);
    EXPECT_EQ(helper->UnregisterProcess(), Status::Success);
    g_bProcessRegistered = true;
    EXPECT_EQ(helper->UnregisterProcess(), missing);
    EXPECT_EQ(helper->UninitProduct(), Status::Success);
    helper.reset();
    EXPECT_THAT(TheLink().Calls(), IsEmpty());
    EXPECT_EQ(Count(L"OuterClientHelper: [ERROR] executing command failed, err=-520224642"), 2U);
    EXPECT_EQ(Count(L"OuterClientHelper: [ERROR] Cannot generate tracking ID, err=-520224642"), 2U);
}
