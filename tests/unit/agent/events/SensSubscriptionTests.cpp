#include "FakeEventSystem.h"
#include "ImportPatch.h"
#include "LogCapture.h"
#include "QxSensSinkHelper.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace
{
struct Row
{
    const wchar_t* eventClass;
    const wchar_t* method;
    const wchar_t* id;
};

constexpr wchar_t network[] = L"{d5978620-5b9f-11d1-8dd2-00aa004abd5e}";
constexpr wchar_t session[] = L"{d5978630-5b9f-11d1-8dd2-00aa004abd5e}";
constexpr wchar_t power[] = L"{d5978640-5b9f-11d1-8dd2-00aa004abd5e}";

const std::vector<Row> allRows = {
    {network, L"ConnectionMade", L"{96D93A9E-DAC0-4E5E-8296-13E754CD3CD4}"},
    {network, L"ConnectionMadeNoQOCInfo", L"{0C1C205B-D3DD-4429-82B4-17645FE8F6FA}"},
    {network, L"ConnectionLost", L"{DC296FCF-5AB5-4AC5-9D60-F80AB6A4D7D1}"},
    {network, L"DestinationReachable", L"{C0A964FC-23D1-46C5-8E2B-8DEAE8C65A9F}"},
    {network, L"DestinationReachableNoQOCInfo", L"{46C896DE-CF99-4E3B-935A-4AF7DD2C7F60}"},
    {session, L"Logon", L"{EB3C09C1-0BEC-47B1-A6DE-C46E824A8573}"},
    {session, L"Logoff", L"{D335D3BC-AE0F-402F-9AB2-F186394CE595}"},
    {session, L"StartShell", L"{25172015-1E26-4746-B43B-D6591B0F1E4F}"},
    {session, L"DisplayLock", L"{66E06AA9-E073-47BC-8582-E781E3980ECD}"},
    {session, L"DisplayUnlock", L"{37DE92DE-51E9-4080-91EE-ED379FE9F68B}"},
    {session, L"StartScreenSaver", L"{A9DE0C70-6721-4D5E-A344-3D5D56337DF6}"},
    {session, L"StopScreenSaver", L"{4C2C961E-E631-4334-9BE1-D555C1A1F11D}"},
    {power, L"OnACPower", L"{4F8C24C7-EBBB-4316-B8A6-6109DED58CEF}"},
    {power, L"OnBatteryPower", L"{713A4B18-8BC0-40D2-9D78-2EAC39336616}"},
    {power, L"BatteryLow", L"{BD377712-6A83-409E-91CA-234FD1F04867}"},
};

const SensSubscription rows[] = {{L"First", L"First's name", L"{1}"}, {L"Second", L"Second's name", L"{2}"}};
constexpr wchar_t eventClass[] = L"{class}";

HRESULT WINAPI NoObject(REFCLSID /*clsid*/, LPUNKNOWN /*outer*/, DWORD context, REFIID /*iid*/,
                        LPVOID* object)
{
    EXPECT_EQ(context, static_cast<DWORD>(CLSCTX_SERVER));
    *object = nullptr;
    return S_OK;
}

class SensSubscriptionTest : public ::testing::Test
{
protected:
    SensSubscriptionTest()
    {
        EXPECT_TRUE(CQxSensSinkHelper::Initialize(frame));
        TheEvents().calls.clear();
    }

    ~SensSubscriptionTest() override
    {
        CQxSensSinkHelper::QxSensType = 0;
        EXPECT_TRUE(CQxSensSinkHelper::Uninitialize());
    }

    static bool Subscribe() { return CQxSensSinkHelper::SubscriptEvent(eventClass, std::size(rows), rows); }

    static bool SubscribeSets(std::uint32_t mask)
    {
        CQxSensSinkHelper::QxSensType = mask;
        return CQxSensSinkHelper::SubscriptSets();
    }

    EventSystem system;
    TestSupport::LogCapture log{0x0111};
};

std::wstring Told(const wchar_t* set)
{
    return std::wstring(L": [INFO] SENS type: ") + set;
}

std::wstring Failed(const wchar_t* set)
{
    return std::wstring(L": [ERROR] SubscriptEvent(") + set + L") failed!!!";
}
} // namespace

TEST_F(SensSubscriptionTest, AllBitsSubscribeFifteenEventsInTheirOrder)
{
    EXPECT_TRUE(SubscribeSets(0x111));
    ASSERT_THAT(TheEvents().stored, SizeIs(allRows.size()));
    for (std::size_t i = 0; i < allRows.size(); ++i)
    {
        const SubscriptionRecord& stored = TheEvents().stored[i];
        EXPECT_EQ(stored.eventClass, allRows[i].eventClass) << i;
        EXPECT_EQ(stored.method, allRows[i].method) << i;
        EXPECT_EQ(stored.name, allRows[i].method) << i;
        EXPECT_EQ(stored.id, allRows[i].id) << i;
        EXPECT_EQ(stored.perUser, 1) << i;
        EXPECT_NE(stored.sink, nullptr) << i;
        EXPECT_EQ(stored.sink, TheEvents().stored[0].sink) << i;
    }
    EXPECT_THAT(log.Texts(), ElementsAre(Told(network), Told(session), Told(power)));
    EXPECT_EQ(TheEvents().living, 1) << "each subscription is released";
}

TEST_F(SensSubscriptionTest, EachBitIsASetOfItsOwn)
{
    EXPECT_TRUE(SubscribeSets(0x1));
    EXPECT_THAT(TheEvents().stored, SizeIs(5));
    EXPECT_TRUE(SubscribeSets(0x10));
    EXPECT_THAT(TheEvents().stored, SizeIs(12));
    EXPECT_TRUE(SubscribeSets(0x100));
    EXPECT_THAT(TheEvents().stored, SizeIs(15));
    EXPECT_THAT(log.Texts(), ElementsAre(Told(network), Told(session), Told(power)));
    EXPECT_TRUE(SubscribeSets(~0x111U));
    EXPECT_THAT(TheEvents().stored, SizeIs(15));
}

TEST_F(SensSubscriptionTest, TheEndRemovesTheSetsOfTheMaskAsItIsThen)
{
    CQxSensSinkHelper::QxSensType = 0x111;
    EXPECT_TRUE(CQxSensSinkHelper::Uninitialize());
    ASSERT_THAT(TheEvents().removed, SizeIs(allRows.size()));
    for (std::size_t i = 0; i < allRows.size(); ++i)
    {
        EXPECT_EQ(TheEvents().removed[i], std::wstring(L"SubscriptionID=") + allRows[i].id);
    }
    EXPECT_THAT(log.Texts(), ElementsAre(Told(network), Told(session), Told(power)));
    EXPECT_EQ(TheEvents().living, 0);
    ASSERT_TRUE(CQxSensSinkHelper::Initialize(frame)); // for the end of the test
}

TEST_F(SensSubscriptionTest, ASetThatFailsEndsTheSetsAndKeepsThoseBefore)
{
    ASSERT_TRUE(SubscribeSets(0x1));
    log.Clear();
    TheEvents().failing = "put_PerUser";
    EXPECT_FALSE(SubscribeSets(0x110));
    EXPECT_THAT(log.Texts(),
                ElementsAre(Told(session), L": [ERROR] put_PerUser(TRUE) failed!!! ErrorCode: -2147024891",
                            Failed(session)));
    EXPECT_THAT(TheEvents().stored, SizeIs(5));
    EXPECT_THAT(TheEvents().removed, IsEmpty());
}

TEST_F(SensSubscriptionTest, ARowIsDescribedStepByStep)
{
    EXPECT_TRUE(Subscribe());
    const std::vector<std::string> row = {"subscription",
                                          "put_EventClassID",
                                          "put_SubscriberInterface",
                                          "put_MethodName",
                                          "put_SubscriptionName",
                                          "put_SubscriptionID",
                                          "put_PerUser",
                                          "Store"};
    std::vector<std::string> both = row;
    both.insert(both.end(), row.begin(), row.end());
    EXPECT_EQ(TheEvents().calls, both);
    EXPECT_EQ(TheEvents().stored[1].method, L"Second");
    EXPECT_EQ(TheEvents().stored[1].name, L"Second's name");
}

TEST_F(SensSubscriptionTest, ARowWithoutAnObjectIsLeftOut)
{
    TheEvents().failing = "subscription";
    TheEvents().failure = REGDB_E_CLASSNOTREG;
    EXPECT_FALSE(Subscribe());
    ASSERT_THAT(TheEvents().stored, SizeIs(1));
    EXPECT_EQ(TheEvents().stored[0].method, L"Second");
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] CoCreateInstance() faild!!! ErrorCode: -2147221164"));
}

TEST_F(SensSubscriptionTest, ALaterRowWithoutAnObjectFailsTheSetAsWell)
{
    TheEvents().failing = "subscription";
    TheEvents().successes = 2;
    EXPECT_FALSE(SubscribeSets(0x111));
    EXPECT_THAT(TheEvents().stored, SizeIs(4)) << "the rest of the set, and no other";
    EXPECT_THAT(log.Texts(),
                ElementsAre(Told(network), L": [ERROR] CoCreateInstance() faild!!! ErrorCode: -2147024891",
                            Failed(network)));
}

TEST_F(SensSubscriptionTest, ANullObjectIsLeftOutThoughItIsASuccess)
{
    const TestSupport::ImportPatch create(nullptr, "CoCreateInstance", &NoObject);
    EXPECT_FALSE(Subscribe());
    const std::wstring line = L": [ERROR] CoCreateInstance() faild!!! ErrorCode: 0";
    EXPECT_THAT(log.Texts(), ElementsAre(line, line));
}

TEST_F(SensSubscriptionTest, AnyStepThatFailsEndsTheSet)
{
    const std::pair<const char*, const wchar_t*> steps[] = {
        {"put_EventClassID", L"put_EventClassID({class})"},
        {"put_SubscriberInterface", L"put_SubscriberInterface()"},
        {"put_MethodName", L"put_MethodName(First)"},
        {"put_SubscriptionName", L"put_SubscriptionName(First's name)"},
        {"put_SubscriptionID", L"put_SubscriptionID({1})"},
        {"put_PerUser", L"put_PerUser(TRUE)"},
        {"Store", L"Store(EventSystem.EventSubscription)"},
    };
    for (const auto& [step, text] : steps)
    {
        log.Clear();
        TheEvents().calls.clear();
        TheEvents().failing = step;
        EXPECT_FALSE(Subscribe());
        EXPECT_EQ(TheEvents().calls.back(), step) << "nothing comes after it";
        EXPECT_THAT(TheEvents().stored, IsEmpty());
        EXPECT_THAT(log.Texts(),
                    ElementsAre(std::wstring(L": [ERROR] ") + text + L" failed!!! ErrorCode: -2147024891"));
        EXPECT_EQ(TheEvents().living, 1) << "the subscription is released";
    }
}

TEST_F(SensSubscriptionTest, NoRowsAreASuccess)
{
    EXPECT_TRUE(CQxSensSinkHelper::SubscriptEvent(eventClass, 0, nullptr));
    EXPECT_TRUE(CQxSensSinkHelper::UnsubscriptEvent(0, nullptr));
    EXPECT_THAT(TheEvents().calls, IsEmpty());
}

TEST_F(SensSubscriptionTest, EveryRowIsRemovedHoweverManyFail)
{
    TheEvents().failing = "Remove";
    EXPECT_TRUE(CQxSensSinkHelper::UnsubscriptEvent(std::size(rows), rows));
    EXPECT_THAT(TheEvents().removed, ElementsAre(L"SubscriptionID={1}", L"SubscriptionID={2}"));
    EXPECT_THAT(
        log.Texts(),
        ElementsAre(L": [ERROR] Remove(SubscriptionID={1}) failed!!! ErrCode: -2147024891 ErrIndex: 7",
                    L": [ERROR] Remove(SubscriptionID={2}) failed!!! ErrCode: -2147024891 ErrIndex: 7"));
}

TEST_F(SensSubscriptionTest, AQueryThatIsTooLongIsCut)
{
    const std::wstring id(400, L'x');
    const SensSubscription longRow{L"m", L"n", id.c_str()};
    EXPECT_TRUE(CQxSensSinkHelper::UnsubscriptEvent(1, &longRow));
    EXPECT_THAT(TheEvents().removed, ElementsAre(SizeIs(259)));
}

TEST(SensWithoutEventSystemTest, NothingIsStoredAndNothingRemoved)
{
    const EventSystem system;
    const TestSupport::LogCapture log{0x0111};
    EXPECT_FALSE(CQxSensSinkHelper::SubscriptEvent(eventClass, std::size(rows), rows));
    EXPECT_TRUE(CQxSensSinkHelper::UnsubscriptEvent(std::size(rows), rows));
    EXPECT_THAT(TheEvents().stored, IsEmpty());
    EXPECT_THAT(TheEvents().removed, IsEmpty());
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] Store(EventSystem.EventSubscription) failed!!! "
                                         L"ErrorCode: -2147467261"));
}
