#include "DllModule.h"

#include <gmock/gmock.h>

namespace
{
// A library that no test program uses otherwise, and another.
constexpr wchar_t someLibrary[] = L"hid.dll";
constexpr wchar_t otherLibrary[] = L"avicap32.dll";

class Module : public Frwk::OperationSystem::CDllModule
{
public:
    using CDllModule::Find;
    using CDllModule::Load;
};

bool IsInMemory(const wchar_t* name)
{
    return GetModuleHandleW(name) != nullptr;
}
} // namespace

TEST(DllModuleTest, HoldsNothingAtFirst)
{
    const Module module;
    EXPECT_FALSE(module.IsLoaded());
    EXPECT_EQ(module.LastError(), 0U);
}

TEST(DllModuleTest, FreesItsLibraryAtTheEnd)
{
    ASSERT_FALSE(IsInMemory(someLibrary));
    {
        Module module;
        EXPECT_TRUE(module.Load(someLibrary));
        EXPECT_TRUE(module.IsLoaded());
        EXPECT_TRUE(IsInMemory(someLibrary));
    }
    EXPECT_FALSE(IsInMemory(someLibrary));
}

TEST(DllModuleTest, FreesTheLibraryThatItHoldsForAnother)
{
    Module module;
    module.Load(someLibrary);
    EXPECT_TRUE(module.Load(otherLibrary));
    EXPECT_FALSE(IsInMemory(someLibrary));
    EXPECT_TRUE(IsInMemory(otherLibrary));
}

TEST(DllModuleTest, AFailureLeavesTheReasonAndNoLibrary)
{
    Module module;
    module.Load(someLibrary);
    EXPECT_FALSE(module.Load(L"there is no such library.dll"));
    EXPECT_FALSE(module.IsLoaded());
    EXPECT_EQ(module.LastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    EXPECT_FALSE(IsInMemory(someLibrary));
}

TEST(DllModuleTest, FindsAnExportByItsName)
{
    Module module;
    module.Load(L"kernel32.dll");
    auto* const id = module.Find<DWORD WINAPI()>("GetCurrentProcessId");
    ASSERT_NE(id, nullptr);
    EXPECT_EQ(id(), GetCurrentProcessId());
    EXPECT_EQ(module.Find<DWORD WINAPI()>("NoSuchExport"), nullptr);
}
