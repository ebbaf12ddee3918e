#include "PowerEventHandler.h"

#include <gmock/gmock.h>

#include <cstring>
#include <memory>

#include "ImportPatch.h"
#include "LogCapture.h"
#include "ObjectCounts.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
const HWND window = reinterpret_cast<HWND>(0x1234);

struct Registered
{
    HANDLE recipient;
    GUID setting;
    DWORD flags;

    bool operator==(const Registered&) const = default;
};

// User32.dll as the test wants it.
struct User32
{
    std::vector<std::wstring> loaded;
    bool canLoad = true;
    bool canRegister = true;   // has the function
    bool canUnregister = true; // likewise
    std::size_t refused = 99;  // registration that fails
    std::vector<Registered> registered;
    std::vector<std::size_t> unregistered;
};

User32 g_user32;

HMODULE WINAPI FakeLoadLibrary(LPCWSTR name)
{
    g_user32.loaded.emplace_back(name);
    if (!g_user32.canLoad)
    {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    return LoadLibraryExW(name, nullptr, 0);
}

HPOWERNOTIFY WINAPI FakeRegister(HANDLE recipient, LPCGUID setting, DWORD flags)
{
    g_user32.registered.push_back({recipient, *setting, flags});
    if (g_user32.registered.size() - 1 == g_user32.refused)
    {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    }
    return reinterpret_cast<HPOWERNOTIFY>(0x100 + g_user32.registered.size());
}

BOOL WINAPI FakeUnregister(HPOWERNOTIFY handle)
{
    g_user32.unregistered.push_back(reinterpret_cast<std::size_t>(handle) - 0x100);
    return TRUE;
}

template <typename Function>
FARPROC AddressOf(bool isThere, Function* function)
{
    return isThere ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function)) : nullptr;
}

FARPROC WINAPI FakeGetProcAddress(HMODULE module, LPCSTR name)
{
    EXPECT_EQ(module, GetModuleHandleW(L"user32.dll"));
    if (std::strcmp(name, "RegisterPowerSettingNotification") == 0)
    {
        return AddressOf(g_user32.canRegister, &FakeRegister);
    }
    EXPECT_STREQ(name, "UnregisterPowerSettingNotification");
    return AddressOf(g_user32.canUnregister, &FakeUnregister);
}

class PowerRegistrationTest : public ::testing::Test
{
protected:
    PowerRegistrationTest() { g_user32 = {}; }

    AgentStatus Init() { return handler->InitPowerEvents(window); }

    TestSupport::LogCapture log{0x0111};
    TestSupport::ImportPatch load{nullptr, "LoadLibraryW", &FakeLoadLibrary};
    TestSupport::ImportPatch find{nullptr, "GetProcAddress", &FakeGetProcAddress};
    std::unique_ptr<CPowerEventHandler> handler = std::make_unique<CPowerEventHandler>();
};

Registered For(const GUID& setting)
{
    return {window, setting, DEVICE_NOTIFY_WINDOW_HANDLE};
}
} // namespace

TEST_F(PowerRegistrationTest, NothingIsLoadedAtConstruction)
{
    EXPECT_FALSE(handler->IsLoaded());
    EXPECT_EQ(handler->LastError(), 0U);
    handler.reset();
    EXPECT_THAT(g_user32.loaded, IsEmpty());
    EXPECT_THAT(g_user32.unregistered, IsEmpty());
}

TEST_F(PowerRegistrationTest, AsksForTheThreeSettingsInTheirOrder)
{
    EXPECT_EQ(Init(), Status::Success);
    EXPECT_TRUE(handler->IsLoaded());
    EXPECT_THAT(g_user32.loaded, ElementsAre(L"User32.dll"));
    EXPECT_EQ(g_user32.registered,
              (std::vector<Registered>{For(GUID_ACDC_POWER_SOURCE), For(GUID_BATTERY_PERCENTAGE_REMAINING),
                                       For(GUID_POWERSCHEME_PERSONALITY)}));
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(PowerRegistrationTest, TheSettingsAreThoseOfTheSystem)
{
    EXPECT_EQ(GUID_ACDC_POWER_SOURCE,
              (GUID{0x5d3e9a59, 0xe9d5, 0x4b00, {0xa6, 0xbd, 0xff, 0x34, 0xff, 0x51, 0x65, 0x48}}));
    EXPECT_EQ(GUID_BATTERY_PERCENTAGE_REMAINING,
              (GUID{0xa7ad8041, 0xb45a, 0x4cae, {0x87, 0xa3, 0xee, 0xcb, 0xb4, 0x68, 0xa9, 0xe1}}));
    EXPECT_EQ(GUID_POWERSCHEME_PERSONALITY,
              (GUID{0x245d8541, 0x3943, 0x4422, {0xb0, 0x25, 0x13, 0xa7, 0x84, 0xf6, 0x79, 0xb7}}));
}

TEST_F(PowerRegistrationTest, TheEndTakesEachRegistrationBack)
{
    Init();
    handler.reset();
    EXPECT_THAT(g_user32.unregistered, ElementsAre(1U, 2U, 3U));
}

TEST_F(PowerRegistrationTest, WithoutTheLibraryThereAreNoPowerEvents)
{
    g_user32.canLoad = false;
    EXPECT_EQ(Init(), Status::NoUser32);
    EXPECT_FALSE(handler->IsLoaded());
    EXPECT_EQ(handler->LastError(), static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] Failed to load user32 dll"));
    handler.reset();
    EXPECT_THAT(g_user32.registered, IsEmpty());
    EXPECT_THAT(g_user32.unregistered, IsEmpty());
}

TEST_F(PowerRegistrationTest, ASystemWithoutTheseNoticesIsNoFailure)
{
    g_user32.canRegister = false;
    EXPECT_EQ(Init(), Status::Success);
    EXPECT_THAT(log.Texts(), IsEmpty());
    handler.reset();
    EXPECT_THAT(g_user32.unregistered, IsEmpty());
}

TEST_F(PowerRegistrationTest, RegistersWhereNothingCanBeTakenBack)
{
    g_user32.canUnregister = false;
    EXPECT_EQ(Init(), Status::Success);
    EXPECT_EQ(g_user32.registered.size(), 3U);
    handler.reset();
    EXPECT_THAT(g_user32.unregistered, IsEmpty());
}

TEST_F(PowerRegistrationTest, ARefusedPowerSourceEndsTheRegistration)
{
    g_user32.refused = 0;
    EXPECT_EQ(Init(), Status::FromBits(0xE0FF0005));
    EXPECT_EQ(g_user32.registered.size(), 1U);
    EXPECT_THAT(log.Texts(),
                ElementsAre(L": [ERROR] AC and DC power source RegisterPowerSettingNotification failed, "
                            L"error = 5"));
    handler.reset();
    EXPECT_THAT(g_user32.unregistered, IsEmpty());
}

TEST_F(PowerRegistrationTest, ARefusedBatteryKeepsThePowerSource)
{
    g_user32.refused = 1;
    EXPECT_EQ(Init(), Status::FromBits(0xE0FF0005));
    EXPECT_EQ(g_user32.registered.size(), 2U);
    EXPECT_THAT(
        log.Texts(),
        ElementsAre(L": [ERROR] Battery capacity RegisterPowerSettingNotification failed, error = 5"));
    EXPECT_THAT(g_user32.unregistered, IsEmpty());
    handler.reset();
    EXPECT_THAT(g_user32.unregistered, ElementsAre(1U));
}

TEST_F(PowerRegistrationTest, ARefusedSchemeKeepsTheOthers)
{
    g_user32.refused = 2;
    EXPECT_EQ(Init(), Status::FromBits(0xE0FF0005));
    EXPECT_THAT(log.Texts(),
                ElementsAre(L": [ERROR] Power setting RegisterPowerSettingNotification failed, error = 5"));
    handler.reset();
    EXPECT_THAT(g_user32.unregistered, ElementsAre(1U, 2U));
}

TEST_F(PowerRegistrationTest, ASecondCallBeginsAnew)
{
    Init();
    EXPECT_EQ(Init(), Status::Success);
    EXPECT_THAT(g_user32.unregistered, ElementsAre(1U, 2U, 3U));
    handler.reset();
    EXPECT_THAT(g_user32.unregistered, ElementsAre(1U, 2U, 3U, 4U, 5U, 6U));
}

TEST(PowerRegistrationOfTheSystemTest, ComesAndGoesWithoutLeavingAnythingBehind)
{
    EXPECT_EQ(TestSupport::GrowthOf(
                  []
                  {
                      CPowerEventHandler handler;
                      EXPECT_EQ(handler.InitPowerEvents(GetDesktopWindow()), Status::Success);
                  }),
              "");
}
