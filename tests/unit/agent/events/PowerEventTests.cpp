#include "PowerEventHandler.h"

#include <cstdint>

#include "EventTest.h"
#include "MailHelper.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
const GUID* const powerSource = &GUID_ACDC_POWER_SOURCE;
const GUID* const battery = &GUID_BATTERY_PERCENTAGE_REMAINING;
const GUID* const scheme = &GUID_POWERSCHEME_PERSONALITY;
constexpr AgentStatus nothingSent = 0;

std::wstring PowerRequest(int type)
{
    return L"{\"eventId\":32768,\"eventType\":" + std::to_wstring(type) + L"}";
}

std::wstring Triggered(int type)
{
    return L": [INFO] SERVICE_CONTROL_POWEREVENT triggered, EventType = " + std::to_wstring(type);
}

class PowerEventTest : public EventTest
{
protected:
    PowerEventTest()
    {
        Connect();
        log.Clear();
    }

    AgentStatus Change(const GUID& setting, DWORD value = 1)
    {
        POWERBROADCAST_SETTING notice{};
        notice.PowerSetting = setting;
        notice.DataLength = sizeof(value);
        notice.Data[0] = static_cast<UCHAR>(value);
        return handler.HandlePowerEvent(PBT_POWERSETTINGCHANGE, &notice);
    }

    CPowerEventHandler handler;
};
} // namespace

TEST_F(PowerEventTest, EachSettingsFirstNoticeIsSwallowedAndEachLaterOneSent)
{
    const std::pair<const GUID*, int> settings[] = {{powerSource, 2}, {battery, 3}, {scheme, 4}};
    for (const auto& [setting, type] : settings)
    {
        log.Clear();
        TheLink().ForgetCalls();
        EXPECT_EQ(Change(*setting), nothingSent);
        EXPECT_THAT(Requests(), IsEmpty());
        EXPECT_THAT(log.Texts(), IsEmpty());

        EXPECT_EQ(Change(*setting), Status::Success);
        EXPECT_EQ(Change(*setting, 0), Status::Success);
        EXPECT_THAT(Requests(), ElementsAre(PowerRequest(type), PowerRequest(type)));
        EXPECT_THAT(Own(), ElementsAre(Triggered(type), Triggered(type)));
    }
}

TEST_F(PowerEventTest, AFirstNoticeIsSwallowedAfterManyOfAnotherSetting)
{
    for (int notice = 0; notice < 5; ++notice)
    {
        Change(*powerSource);
    }
    TheLink().ForgetCalls();
    EXPECT_EQ(Change(*battery), nothingSent);
    EXPECT_EQ(Change(*scheme), nothingSent);
    EXPECT_THAT(Requests(), IsEmpty());
}

TEST_F(PowerEventTest, AFirstNoticeWithoutALinkCountsAsSeen)
{
    UnRegisterRPC();
    EXPECT_EQ(Change(*battery), nothingSent);
    Connect();
    EXPECT_EQ(Change(*battery), Status::Success);
    EXPECT_THAT(Requests(), ElementsAre(PowerRequest(3)));
}

TEST_F(PowerEventTest, AnUnknownSettingIsNoEventHoweverOftenItComes)
{
    GUID other = GUID_ACDC_POWER_SOURCE;
    other.Data4[7] ^= 1;
    const GUID strangers[] = {other, GUID_MONITOR_POWER_ON, GUID{}};
    for (const GUID& stranger : strangers)
    {
        for (int notice = 0; notice < 3; ++notice)
        {
            EXPECT_EQ(Change(stranger), nothingSent);
        }
    }
    EXPECT_THAT(Requests(), IsEmpty());
    EXPECT_THAT(log.Texts(), IsEmpty());
    EXPECT_EQ(Change(*powerSource), nothingSent) << "nothing was marked as seen";
}

TEST_F(PowerEventTest, OnlyTheIdOfASettingIsRead)
{
    // The id ends where the readable memory ends.
    constexpr SIZE_T page = 0x1000;
    auto* const memory = static_cast<BYTE*>(VirtualAlloc(nullptr, 2 * page, MEM_RESERVE, PAGE_NOACCESS));
    ASSERT_NE(VirtualAlloc(memory, page, MEM_COMMIT, PAGE_READWRITE), nullptr);
    BYTE* const last = memory + page - sizeof(GUID);
    CopyMemory(last, powerSource, sizeof(GUID));
    const auto* notice = reinterpret_cast<const POWERBROADCAST_SETTING*>(last);
    EXPECT_EQ(handler.HandlePowerEvent(PBT_POWERSETTINGCHANGE, notice), nothingSent);
    EXPECT_EQ(handler.HandlePowerEvent(PBT_POWERSETTINGCHANGE, notice), Status::Success);
    VirtualFree(memory, 0, MEM_RELEASE);
}

TEST_F(PowerEventTest, ANoticeWithoutAReadableSettingIsIgnored)
{
    constexpr SIZE_T page = 0x1000;
    auto* const memory = static_cast<BYTE*>(VirtualAlloc(nullptr, 4 * page, MEM_RESERVE, PAGE_NOACCESS));
    ASSERT_NE(VirtualAlloc(memory, page, MEM_COMMIT, PAGE_READWRITE), nullptr);
    ASSERT_NE(VirtualAlloc(memory + 2 * page, page, MEM_COMMIT, PAGE_READWRITE | PAGE_GUARD), nullptr);
    ASSERT_NE(VirtualAlloc(memory + 3 * page, page, MEM_COMMIT, PAGE_NOACCESS), nullptr);
    BYTE* const tooShort = memory + page - sizeof(GUID) + 1;
    CopyMemory(tooShort, powerSource, sizeof(GUID) - 1);
    const std::uintptr_t addresses[] = {0,
                                        1,
                                        0xFFFF,
                                        reinterpret_cast<std::uintptr_t>(tooShort),
                                        reinterpret_cast<std::uintptr_t>(memory + page),
                                        reinterpret_cast<std::uintptr_t>(memory + 2 * page),
                                        reinterpret_cast<std::uintptr_t>(memory + 3 * page),
                                        0x8000000000000000,
                                        0xFFFFFFFFFFFFFFF8};
    for (const std::uintptr_t address : addresses)
    {
        const auto* setting = reinterpret_cast<const POWERBROADCAST_SETTING*>(address);
        EXPECT_EQ(handler.HandlePowerEvent(PBT_POWERSETTINGCHANGE, setting), nothingSent) << address;
        EXPECT_EQ(handler.HandlePowerEvent(PBT_POWERSETTINGCHANGE, setting), nothingSent) << address;
    }
    VirtualFree(memory, 0, MEM_RELEASE);
    EXPECT_THAT(Requests(), IsEmpty());
    EXPECT_THAT(log.Texts(), IsEmpty());
    EXPECT_EQ(Change(*powerSource), nothingSent) << "nothing was marked as seen";
}

TEST_F(PowerEventTest, ASettingMayLieAnywhereAndAcrossARegionsEnd)
{
    constexpr SIZE_T page = 0x1000;
    auto* const memory =
        static_cast<BYTE*>(VirtualAlloc(nullptr, 2 * page, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    BYTE* const across = memory + page - sizeof(GUID) / 2 + 1;
    CopyMemory(across, battery, sizeof(GUID));
    DWORD previous = 0;
    ASSERT_TRUE(VirtualProtect(memory + page, page, PAGE_READONLY, &previous));
    const auto* setting = reinterpret_cast<const POWERBROADCAST_SETTING*>(across);
    EXPECT_EQ(handler.HandlePowerEvent(PBT_POWERSETTINGCHANGE, setting), nothingSent);
    EXPECT_EQ(handler.HandlePowerEvent(PBT_POWERSETTINGCHANGE, setting), Status::Success);
    VirtualFree(memory, 0, MEM_RELEASE);
}

TEST_F(PowerEventTest, OtherCodesDoNothingAndReadNothing)
{
    const auto* unreadable = reinterpret_cast<const POWERBROADCAST_SETTING*>(1);
    for (const UINT code : {UINT{0}, UINT{PBT_APMSUSPEND}, UINT{5}, UINT{6}, UINT{8}, UINT{9}, UINT{0xA},
                            UINT{PBT_APMRESUMEAUTOMATIC}, UINT{0x8012}, UINT{0x8014}, UINT{0xFFFFFFFF}})
    {
        EXPECT_EQ(handler.HandlePowerEvent(code, unreadable), nothingSent) << code;
    }
    EXPECT_THAT(TheLink().Calls(), IsEmpty());
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(PowerEventTest, AResumeIsAnEventAndReadsNoSetting)
{
    const auto* unreadable = reinterpret_cast<const POWERBROADCAST_SETTING*>(1);
    EXPECT_EQ(handler.HandlePowerEvent(PBT_APMRESUMESUSPEND, unreadable), Status::Success);
    EXPECT_EQ(handler.HandlePowerEvent(PBT_APMRESUMESUSPEND, nullptr), Status::Success);
    EXPECT_THAT(Requests(), ElementsAre(PowerRequest(5), PowerRequest(5)));
    EXPECT_THAT(Own(), ElementsAre(Triggered(5), Triggered(5)));
    EXPECT_THAT(TheLink().Commands(0x2052), IsEmpty()) << "the link stands";
}

TEST_F(PowerEventTest, AResumeBringsTheLinkBackFirst)
{
    UnRegisterRPC();
    TheLink().ForgetCalls();
    EXPECT_EQ(handler.HandlePowerEvent(PBT_APMRESUMESUSPEND, nullptr), Status::Success);
    EXPECT_EQ(TheLink().Commands(0x2052).size(), 1U);
    EXPECT_THAT(Requests(), ElementsAre(PowerRequest(5)));
}

TEST_F(PowerEventTest, AFailedRegistrationAtResumeIsLoggedAndTheEventTried)
{
    UnRegisterRPC();
    log.Clear();
    TheLink().AnswerTo(0x2052, {{Status::Failure, ""}});
    EXPECT_EQ(handler.HandlePowerEvent(PBT_APMRESUMESUSPEND, nullptr), Status::Success);
    EXPECT_THAT(Own(), ElementsAre(L": [ERROR] RegisterRPC failed...Error Code=-520159231", Triggered(5)));
    EXPECT_THAT(Requests(), ElementsAre(PowerRequest(5))) << "through the client that is not registered";
}

TEST_F(PowerEventTest, AResumeWithoutAnyClientDropsTheEvent)
{
    UnRegisterRPC();
    log.Clear();
    TheLink().ForgetCalls();
    const NoMemory noMemory;
    EXPECT_EQ(handler.HandlePowerEvent(PBT_APMRESUMESUSPEND, nullptr), Status::NoClient);
    EXPECT_THAT(Errors(), ElementsAre(L": [ERROR] Alloc memory for g_pClient failed...",
                                      L": [ERROR] RegisterRPC failed...Error Code=-520159202"));
    EXPECT_EQ(Count(Triggered(5)), 1U);
    EXPECT_THAT(Requests(), IsEmpty());
}

TEST_F(PowerEventTest, AChangeWithoutAClientIsToldToTheLogAlone)
{
    Change(*powerSource);
    UnRegisterRPC();
    TheLink().ForgetCalls();
    log.Clear();
    EXPECT_EQ(Change(*powerSource), Status::NoClient);
    EXPECT_THAT(log.Texts(), ElementsAre(Triggered(2)));
    EXPECT_THAT(TheLink().Calls(), IsEmpty());
}

TEST_F(PowerEventTest, TheMailsStatusIsTheEvents)
{
    Change(*scheme);
    RefuseMails();
    EXPECT_EQ(Change(*scheme), refusal);
    EXPECT_EQ(handler.HandlePowerEvent(PBT_APMRESUMESUSPEND, nullptr), refusal);
}

TEST_F(PowerEventTest, ShortMemoryIsAStatusAndNoException)
{
    Change(*battery);
    bool hasFailed = true;
    for (long long successes = 0; hasFailed; ++successes)
    {
        TheLink().ForgetCalls();
        AgentStatus status = Status::Success;
        {
            const OneFailure failure(successes);
            EXPECT_NO_THROW(status = Change(*battery)) << successes;
            hasFailed = failure.HasFailed();
        }
        const std::vector<std::wstring> requests = Requests();
        EXPECT_TRUE(Status::Failed(status) || requests.size() == 1) << successes;
        EXPECT_TRUE(requests.empty() || requests[0] == PowerRequest(3)) << successes;
    }
}

TEST_F(PowerEventTest, ShortMemoryAtAResumeIsAStatusAndNoException)
{
    bool hasFailed = true;
    for (long long successes = 0; hasFailed; ++successes)
    {
        UnRegisterRPC();
        TheLink().ForgetCalls();
        AgentStatus status = Status::Success;
        {
            const OneFailure failure(successes);
            EXPECT_NO_THROW(status = handler.HandlePowerEvent(PBT_APMRESUMESUSPEND, nullptr)) << successes;
            hasFailed = failure.HasFailed();
        }
        EXPECT_TRUE(Status::Failed(status) || Requests().size() == 1) << successes;
        EXPECT_TRUE(TestSupport::WaitUntil(&NobodyWatches));
    }
}
