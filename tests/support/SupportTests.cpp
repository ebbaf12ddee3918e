#include "ImportPatch.h"
#include "ObjectCounts.h"
#include "TempDir.h"
#include "TempRegistry.h"
#include "UniqueName.h"
#include "WaitUntil.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <process.h>

namespace TestSupport
{

namespace
{

unsigned __stdcall SleepLong(void* /*argument*/)
{
    SleepEx(INFINITE, TRUE);
    return 0;
}

DWORD WINAPI FakeTickCount()
{
    return 4711;
}

// A function of its own: a caller may take an imported address once for several calls.
[[gnu::noinline]] DWORD TickCount()
{
    return GetTickCount();
}

DWORD RegisteredDword(const wchar_t* subkey, const wchar_t* name)
{
    DWORD value = 0;
    DWORD size = sizeof(value);
    RegGetValueW(HKEY_LOCAL_MACHINE, subkey, name, RRF_RT_REG_DWORD, nullptr, &value, &size);
    return value;
}

} // namespace

TEST(UniqueNameTest, NeverGivesANameTwice)
{
    EXPECT_NE(UniqueName(L"x"), UniqueName(L"x"));
}

TEST(TempDirTest, GivesBackTheBytesAndLeavesNothingBehind)
{
    std::wstring path;
    {
        const TempDir folder;
        path = folder.Path();
        folder.Write(L"sub\\file.bin", std::string_view("a\r\n\0b\x1a", 6));
        EXPECT_EQ(folder.Read(L"sub\\file.bin"), std::string("a\r\n\0b\x1a", 6));
        EXPECT_EQ(folder.SizeOf(L"sub\\file.bin"), 6U);
        EXPECT_EQ(folder.Read(L"absent"), "");
        EXPECT_EQ(folder.SizeOf(L"absent"), 0U);
    }
    EXPECT_EQ(GetFileAttributesW(path.c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST(TempRegistryTest, RedirectsOnlyWhileItLives)
{
    const std::wstring subkey = L"SOFTWARE\\" + UniqueName(L"qxtest");
    {
        const TempRegistry registry({HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER});
        registry.SetDword(HKEY_LOCAL_MACHINE, subkey, L"number", 7);
        registry.SetString(HKEY_CURRENT_USER, subkey, L"text", L"abc");
        EXPECT_EQ(RegisteredDword(subkey.c_str(), L"number"), 7U);
    }
    EXPECT_EQ(RegisteredDword(subkey.c_str(), L"number"), 0U);
    EXPECT_EQ(RegOpenKeyW(HKEY_CURRENT_USER, subkey.c_str(), nullptr) == ERROR_SUCCESS, false);
}

TEST(WaitUntilTest, EndsWithTheConditionOrTheTime)
{
    int calls = 0;
    EXPECT_TRUE(WaitUntil([&] { return ++calls == 3; }));
    EXPECT_FALSE(WaitUntil([] { return false; }, std::chrono::milliseconds(5)));
}

TEST(WaitUntilTest, DispatchesMessagesMeanwhile)
{
    bool fired = false;
    const HWND window =
        CreateWindowExW(0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&fired));
    SetTimer(window, 1, 1,
             [](HWND timerWindow, UINT, UINT_PTR, DWORD)
             { *reinterpret_cast<bool*>(GetWindowLongPtrW(timerWindow, GWLP_USERDATA)) = true; });
    EXPECT_TRUE(PumpMessagesUntil([&] { return fired; }));
    DestroyWindow(window);
}

TEST(ImportPatchTest, ReplacesForTheLengthOfItsScope)
{
    {
        const ImportPatch patch(L"KERNEL32.dll", "GetTickCount", &FakeTickCount);
        EXPECT_EQ(TickCount(), 4711U);
        EXPECT_NE(patch.Original<DWORD WINAPI()>()(), 4711U);
    }
    EXPECT_NE(TickCount(), 4711U);
}

TEST(ImportPatchTest, RefusesWhatIsNotImported)
{
    EXPECT_THROW(ImportPatch(nullptr, "NoSuchFunction", &FakeTickCount), std::runtime_error);
    EXPECT_THROW(ImportPatch(L"user32.dll", "GetTickCount", &FakeTickCount), std::runtime_error);
}

TEST(GrowthOfTest, IsSilentWhenEverythingReturns)
{
    EXPECT_EQ(GrowthOf(
                  []
                  {
                      CloseHandle(CreateEventW(nullptr, FALSE, FALSE, nullptr));
                      DestroyMenu(CreateMenu());
                      DeleteObject(CreateSolidBrush(1));
                  }),
              "");
}

namespace
{

std::string GrowthAtOnce(const std::function<void()>& operation)
{
    return GrowthOf(operation, 3, std::chrono::milliseconds(0));
}

} // namespace

TEST(GrowthOfTest, WhatIsMadeOnceIsNoGrowthHoweverLate)
{
    int calls = 0;
    EXPECT_EQ(GrowthAtOnce(
                  [&calls]
                  {
                      if (++calls == 5)
                      {
                          static_cast<void>(CreateEventW(nullptr, FALSE, FALSE, nullptr));
                      }
                  }),
              "");
    EXPECT_GT(calls, 5);
}

TEST(GrowthOfTest, NamesEachKindOfObject)
{
    using testing::HasSubstr;
    EXPECT_THAT(GrowthAtOnce([] { static_cast<void>(CreateEventW(nullptr, FALSE, FALSE, nullptr)); }),
                HasSubstr("handles"));
    EXPECT_THAT(GrowthAtOnce([] { static_cast<void>(CreateMenu()); }), HasSubstr("USER"));
    EXPECT_THAT(GrowthAtOnce([] { static_cast<void>(CopyIcon(LoadIconW(nullptr, IDI_ERROR))); }),
                HasSubstr("USER"));
    EXPECT_THAT(GrowthAtOnce(
                    [] {
                        CreateWindowExW(0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr,
                                        nullptr);
                    }),
                HasSubstr("USER"));
    EXPECT_THAT(GrowthAtOnce([] { static_cast<void>(CreateSolidBrush(1)); }), HasSubstr("GDI"));
    EXPECT_THAT(GrowthAtOnce([] { _beginthreadex(nullptr, 0, &SleepLong, nullptr, 0, nullptr); }),
                HasSubstr("threads"));
}

} // namespace TestSupport
