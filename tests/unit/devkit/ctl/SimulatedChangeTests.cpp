#include "SimulatedChange.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>

using ::testing::HasSubstr;

namespace
{
Notice NoticeOf(const std::wstring& change, const std::optional<std::wstring>& value = std::nullopt)
{
    const ParsedChange parsed = ParseChange(change, value);
    EXPECT_EQ(parsed.error, L"");
    return parsed.notice;
}

std::wstring ErrorOf(const std::wstring& change, const std::optional<std::wstring>& value = std::nullopt)
{
    return ParseChange(change, value).error;
}

// The value of a setting's notice, which has to be of that setting and whole.
template <typename Value>
Value ValueOf(const Notice& notice, const GUID& setting)
{
    EXPECT_EQ(notice.message, static_cast<UINT>(WM_POWERBROADCAST));
    EXPECT_EQ(notice.wParam, static_cast<WPARAM>(PBT_POWERSETTINGCHANGE));
    POWERBROADCAST_SETTING head{};
    Value value{};
    const std::size_t dataOffset = offsetof(POWERBROADCAST_SETTING, Data);
    if (notice.setting.size() < sizeof head || notice.setting.size() < dataOffset + sizeof value)
    {
        ADD_FAILURE() << "a setting of " << notice.setting.size() << " bytes";
        return value;
    }
    std::memcpy(&head, notice.setting.data(), sizeof head);
    EXPECT_EQ(head.PowerSetting, setting);
    EXPECT_EQ(head.DataLength, sizeof value);
    std::memcpy(&value, notice.setting.data() + dataOffset, sizeof value);
    return value;
}

TEST(SimulatedChangeTest, OfTheSessionIsItsStateAndNumber)
{
    struct Case
    {
        const wchar_t* change;
        WPARAM state;
    };

    DWORD session = 0;
    ASSERT_TRUE(ProcessIdToSessionId(GetCurrentProcessId(), &session));
    for (const Case& expected : {Case{L"console-connect", 1}, Case{L"console-disconnect", 2},
                                 Case{L"remote-connect", 3}, Case{L"remote-disconnect", 4}, Case{L"logon", 5},
                                 Case{L"logoff", 6}, Case{L"lock", 7}, Case{L"unlock", 8}})
    {
        const Notice notice = NoticeOf(expected.change);
        EXPECT_EQ(notice.message, 0x02B1U);
        EXPECT_EQ(notice.wParam, expected.state);
        EXPECT_EQ(notice.lParam, static_cast<LPARAM>(session));
        EXPECT_TRUE(notice.setting.empty());
    }
}

TEST(SimulatedChangeTest, OfTheNetworkHasAType)
{
    EXPECT_EQ(NoticeOf(L"network-made").message, 0x0430U);
    EXPECT_EQ(NoticeOf(L"network-made").wParam, 1U);
    EXPECT_EQ(NoticeOf(L"network-made", L"0").wParam, 0U);
    EXPECT_EQ(NoticeOf(L"network-lost").message, 0x0432U);
    EXPECT_EQ(NoticeOf(L"network-lost", L"0xFFFFFFFF").wParam, 0xFFFFFFFFU);
    EXPECT_EQ(NoticeOf(L"network-lost", L"2").lParam, 0);
    for (const wchar_t* wrong : {L"", L"-1", L"lan", L"4294967296"})
    {
        EXPECT_THAT(ErrorOf(L"network-made", wrong), HasSubstr(L"is not a number, decimal or 0x"));
    }
}

TEST(SimulatedChangeTest, OfAPowerSettingCarriesItsValue)
{
    EXPECT_EQ(ValueOf<DWORD>(NoticeOf(L"power-source", L"mains"), GUID_ACDC_POWER_SOURCE), 0U);
    EXPECT_EQ(ValueOf<DWORD>(NoticeOf(L"power-source", L"battery"), GUID_ACDC_POWER_SOURCE), 1U);
    EXPECT_EQ(ValueOf<DWORD>(NoticeOf(L"power-source", L"ups"), GUID_ACDC_POWER_SOURCE), 2U);
    EXPECT_EQ(ValueOf<DWORD>(NoticeOf(L"battery", L"0"), GUID_BATTERY_PERCENTAGE_REMAINING), 0U);
    EXPECT_EQ(ValueOf<DWORD>(NoticeOf(L"battery", L"100"), GUID_BATTERY_PERCENTAGE_REMAINING), 100U);
    EXPECT_EQ(ValueOf<GUID>(NoticeOf(L"scheme", L"balanced"), GUID_POWERSCHEME_PERSONALITY),
              GUID_TYPICAL_POWER_SAVINGS);
    EXPECT_EQ(ValueOf<GUID>(NoticeOf(L"scheme", L"power-saver"), GUID_POWERSCHEME_PERSONALITY),
              GUID_MAX_POWER_SAVINGS);
}

TEST(SimulatedChangeTest, OfTheSchemeMayBeAnyGuid)
{
    for (const wchar_t* text : {L"8c5e7fda-e8bf-4a96-9a85-a6e23a8c635c",
                                L"{8C5E7FDA-E8BF-4A96-9A85-A6E23A8C635C}", L"high-performance"})
    {
        EXPECT_EQ(ValueOf<GUID>(NoticeOf(L"scheme", text), GUID_POWERSCHEME_PERSONALITY),
                  GUID_MIN_POWER_SAVINGS);
    }
    for (const wchar_t* wrong :
         {L"", L"fast", L"{8c5e7fda-e8bf-4a96-9a85-a6e23a8c635c", L"8c5e7fda-e8bf-4a96-9a85-a6e23a8c635c}",
          L"8c5e7fda-e8bf-4a96-9a85-a6e23a8c635", L"8c5e7fda-e8bf-4a96-9a85-a6e23a8c635g",
          L"8c5e7fdae8bf-4a96-9a85--a6e23a8c635c", L"{8c5e7fda-e8bf-4a96-9a85-a6e23a8c635c} "})
    {
        EXPECT_THAT(ErrorOf(L"scheme", wrong), HasSubstr(L"high-performance or a GUID"))
            << testing::PrintToString(std::wstring(wrong));
    }
}

TEST(SimulatedChangeTest, OfPowerRefusesWhatIsNoSuchValue)
{
    EXPECT_THAT(ErrorOf(L"power-source", L"AC"), HasSubstr(L"\"AC\" is not mains, battery or ups"));
    for (const wchar_t* wrong : {L"101", L"-1", L"50%", L""})
    {
        EXPECT_THAT(ErrorOf(L"battery", wrong), HasSubstr(L"is not a percentage, 0 to 100"));
    }
}

TEST(SimulatedChangeTest, OfResumeIsItsCodeAlone)
{
    const Notice notice = NoticeOf(L"resume");
    EXPECT_EQ(notice.message, static_cast<UINT>(WM_POWERBROADCAST));
    EXPECT_EQ(notice.wParam, 7U);
    EXPECT_TRUE(notice.setting.empty());
}

TEST(SimulatedChangeTest, HasAValueIfThatIsNeededAndOnlyWhereItCounts)
{
    EXPECT_EQ(ErrorOf(L"battery"), L"battery needs a value: PERCENT");
    EXPECT_EQ(ErrorOf(L"lock", L"1"), L"lock takes no value");
    EXPECT_EQ(ErrorOf(L"Lock"), L"unknown change Lock");
    EXPECT_EQ(ErrorOf(L""), L"unknown change ");
}
} // namespace
