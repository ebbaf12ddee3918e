#include <gtest/gtest.h>

#include "FakeTimestamps.h"
#include "ModuleTimestamp.h"

namespace
{
const HMODULE g_module = reinterpret_cast<HMODULE>(std::uintptr_t{0x7FF600000000});

// As the file's header has it.
DWORD StampInHeader(HMODULE module)
{
    const auto* base = reinterpret_cast<const BYTE*>(module);
    const auto* dosHeader = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    return reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dosHeader->e_lfanew)->FileHeader.TimeDateStamp;
}
} // namespace

TEST(ModuleTimestampTest, IsZeroWhileNobodyCanTell)
{
    ASSERT_EQ(s_pDbghelpTable, nullptr);
    EXPECT_EQ(GetModuleTimestamp(g_module), 0U);
}

TEST(ModuleTimestampTest, IsWhatTheLibraryTells)
{
    const FakeTimestamps timestamps({{g_module, 0x5F3759DF}});
    EXPECT_EQ(GetModuleTimestamp(g_module), 0x5F3759DFU);
}

TEST(ModuleTimestampTest, OfTheSystemIsThatOfTheHeader)
{
    ASSERT_TRUE(LoadDbghelpTable());
    const HMODULE module = GetModuleHandleW(L"kernel32.dll");
    EXPECT_EQ(GetModuleTimestamp(module), StampInHeader(module));
    ReleaseDbghelpTable();
    EXPECT_EQ(GetModuleTimestamp(module), 0U) << "once the library is gone";
}
