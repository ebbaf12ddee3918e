#include "SensSubscription.h"

namespace
{
constexpr SensSubscription networkRows[] = {
    {L"ConnectionMade", L"ConnectionMade", L"{96D93A9E-DAC0-4E5E-8296-13E754CD3CD4}"},
    {L"ConnectionMadeNoQOCInfo", L"ConnectionMadeNoQOCInfo", L"{0C1C205B-D3DD-4429-82B4-17645FE8F6FA}"},
    {L"ConnectionLost", L"ConnectionLost", L"{DC296FCF-5AB5-4AC5-9D60-F80AB6A4D7D1}"},
    {L"DestinationReachable", L"DestinationReachable", L"{C0A964FC-23D1-46C5-8E2B-8DEAE8C65A9F}"},
    {L"DestinationReachableNoQOCInfo", L"DestinationReachableNoQOCInfo",
     L"{46C896DE-CF99-4E3B-935A-4AF7DD2C7F60}"},
};

constexpr SensSubscription sessionRows[] = {
    {L"Logon", L"Logon", L"{EB3C09C1-0BEC-47B1-A6DE-C46E824A8573}"},
    {L"Logoff", L"Logoff", L"{D335D3BC-AE0F-402F-9AB2-F186394CE595}"},
    {L"StartShell", L"StartShell", L"{25172015-1E26-4746-B43B-D6591B0F1E4F}"},
    {L"DisplayLock", L"DisplayLock", L"{66E06AA9-E073-47BC-8582-E781E3980ECD}"},
    {L"DisplayUnlock", L"DisplayUnlock", L"{37DE92DE-51E9-4080-91EE-ED379FE9F68B}"},
    {L"StartScreenSaver", L"StartScreenSaver", L"{A9DE0C70-6721-4D5E-A344-3D5D56337DF6}"},
    {L"StopScreenSaver", L"StopScreenSaver", L"{4C2C961E-E631-4334-9BE1-D555C1A1F11D}"},
};

constexpr SensSubscription powerRows[] = {
    {L"OnACPower", L"OnACPower", L"{4F8C24C7-EBBB-4316-B8A6-6109DED58CEF}"},
    {L"OnBatteryPower", L"OnBatteryPower", L"{713A4B18-8BC0-40D2-9D78-2EAC39336616}"},
    {L"BatteryLow", L"BatteryLow", L"{BD377712-6A83-409E-91CA-234FD1F04867}"},
};

constexpr SensSet sets[] = {
    {0x1, L"{d5978620-5b9f-11d1-8dd2-00aa004abd5e}", networkRows},
    {0x10, L"{d5978630-5b9f-11d1-8dd2-00aa004abd5e}", sessionRows},
    {0x100, L"{d5978640-5b9f-11d1-8dd2-00aa004abd5e}", powerRows},
};
} // namespace

std::span<const SensSet> SensSets()
{
    return sets;
}
