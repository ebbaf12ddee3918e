#include <gmock/gmock.h>

#include <map>
#include <string>

#include "CrashState.h"
#include "DbghelpTable.h"
#include "ImportPatch.h"
#include "PsapiTable.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::ImportPatch;

namespace
{
// Never taken for a real one.
const HMODULE g_module = reinterpret_cast<HMODULE>(std::uintptr_t{0x51A0000});

bool g_isLoaded = false; // before the table asks
bool g_exists = true;
std::string g_missing;
std::vector<std::string> g_names; // resolved
std::vector<std::string> g_calls;

std::string Narrow(const std::wstring& text)
{
    return {text.begin(), text.end()};
}

HMODULE WINAPI FindModule(const wchar_t* name)
{
    g_calls.push_back("GetModuleHandleW " + Narrow(name));
    return g_isLoaded ? g_module : nullptr;
}

HMODULE WINAPI LoadModule(const wchar_t* name)
{
    g_calls.push_back("LoadLibraryW " + Narrow(name));
    return g_exists ? g_module : nullptr;
}

BOOL WINAPI ReleaseModule(HMODULE module)
{
    EXPECT_EQ(module, g_module);
    g_calls.emplace_back("FreeLibrary");
    return TRUE;
}

FARPROC WINAPI FindFunction(HMODULE module, const char* name)
{
    EXPECT_EQ(module, g_module);
    g_names.emplace_back(name);
    return g_missing == name ? nullptr : reinterpret_cast<FARPROC>(std::uintptr_t{0x1000} + g_names.size());
}

class CrashTableTest : public ::testing::Test
{
protected:
    CrashTableTest()
    {
        g_isLoaded = false;
        g_exists = true;
        g_missing.clear();
        g_names.clear();
        g_calls.clear();
    }

    ImportPatch load{nullptr, "LoadLibraryW", &LoadModule};
    ImportPatch free{nullptr, "FreeLibrary", &ReleaseModule};
    ImportPatch resolve{nullptr, "GetProcAddress", &FindFunction};
    ImportPatch find{nullptr, "GetModuleHandleW", &FindModule}; // the patches before it ask for the program
};

class DbghelpFunctionTest : public CrashTableTest, public ::testing::WithParamInterface<const char*>
{
};

class PsapiFunctionTest : public CrashTableTest, public ::testing::WithParamInterface<const char*>
{
};
} // namespace

TEST_F(CrashTableTest, DbghelpIsLoadedAndResolvedInOrder)
{
    EXPECT_TRUE(LoadDbghelpTable());
    EXPECT_TRUE(s_bDbghelpLoaded);
    EXPECT_THAT(g_calls, ElementsAre("GetModuleHandleW Dbghelp.dll", "LoadLibraryW Dbghelp.dll"));
    EXPECT_THAT(g_names,
                ElementsAre("SymGetModuleBase64", "SymGetLineFromAddr64", "SymFunctionTableAccess64",
                            "SymInitialize", "SymSetOptions", "SymGetOptions", "StackWalk64", "SymCleanup",
                            "SymGetSymFromAddr64", "MiniDumpWriteDump", "GetTimestampForLoadedLibrary"));
    EXPECT_EQ(s_pDbghelpTable->module, g_module);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(s_pDbghelpTable->DumpWriter()), 0x1000U + 10);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(s_pDbghelpTable->TimestampReader()), 0x1000U + 11);
    ReleaseDbghelpTable();
}

TEST_F(CrashTableTest, PsapiIsLoadedAndResolvedInOrder)
{
    EXPECT_TRUE(LoadPsapiTable());
    EXPECT_TRUE(s_bPsapiLoaded);
    EXPECT_THAT(g_calls, ElementsAre("GetModuleHandleW PSAPI.DLL", "LoadLibraryW PSAPI.DLL"));
    EXPECT_THAT(g_names, ElementsAre("GetModuleFileNameExW", "GetModuleBaseNameW", "EnumProcessModules"));
    ReleasePsapiTable();
}

TEST_F(CrashTableTest, ATableIsLoadedOnce)
{
    EXPECT_TRUE(LoadPsapiTable());
    g_calls.clear();
    EXPECT_TRUE(LoadPsapiTable());
    EXPECT_THAT(g_calls, IsEmpty());
    ReleasePsapiTable();
}

TEST_F(CrashTableTest, AReleaseFreesWhatWasLoadedHere)
{
    LoadDbghelpTable();
    g_calls.clear();
    ReleaseDbghelpTable();
    EXPECT_THAT(g_calls, ElementsAre("FreeLibrary"));
    EXPECT_FALSE(s_bDbghelpLoaded);
    EXPECT_EQ(s_pDbghelpTable, nullptr);
    ReleaseDbghelpTable();
    EXPECT_THAT(g_calls, ElementsAre("FreeLibrary")) << "once";
}

TEST_F(CrashTableTest, AReleaseLeavesWhatWasFoundLoaded)
{
    g_isLoaded = true;
    EXPECT_TRUE(LoadDbghelpTable());
    ReleaseDbghelpTable();
    EXPECT_THAT(g_calls, ElementsAre("GetModuleHandleW Dbghelp.dll"));
    EXPECT_FALSE(s_bDbghelpLoaded);
}

TEST_F(CrashTableTest, ACrashKeepsItsTables)
{
    LoadDbghelpTable();
    g_calls.clear();
    s_crashThreadId = 1;
    ReleaseDbghelpTable();
    EXPECT_TRUE(s_bDbghelpLoaded);
    EXPECT_NE(s_pDbghelpTable, nullptr);
    EXPECT_THAT(g_calls, IsEmpty());
    s_crashThreadId = 0;
    ReleaseDbghelpTable();
}

TEST_F(CrashTableTest, WithoutTheLibraryThereIsNoTable)
{
    g_exists = false;
    EXPECT_FALSE(LoadDbghelpTable());
    EXPECT_FALSE(LoadPsapiTable());
    EXPECT_FALSE(s_bDbghelpLoaded || s_bPsapiLoaded);
    EXPECT_EQ(s_pDbghelpTable, nullptr);
    EXPECT_EQ(s_pPsapiTable, nullptr);
    EXPECT_THAT(g_names, IsEmpty());
}

TEST_P(DbghelpFunctionTest, IsNeeded)
{
    g_missing = GetParam();
    EXPECT_FALSE(LoadDbghelpTable());
    EXPECT_FALSE(s_bDbghelpLoaded);
    EXPECT_EQ(s_pDbghelpTable, nullptr);
    EXPECT_EQ(g_calls.back(), "FreeLibrary");
}

INSTANTIATE_TEST_SUITE_P(Each, DbghelpFunctionTest, ::testing::ValuesIn(DbghelpTable::functions));

TEST_P(PsapiFunctionTest, IsNeeded)
{
    g_missing = GetParam();
    EXPECT_FALSE(LoadPsapiTable());
    EXPECT_FALSE(s_bPsapiLoaded);
    EXPECT_EQ(s_pPsapiTable, nullptr);
    EXPECT_EQ(g_calls.back(), "FreeLibrary");
}

INSTANTIATE_TEST_SUITE_P(Each, PsapiFunctionTest, ::testing::ValuesIn(PsapiTable::functions));

TEST_F(CrashTableTest, ALibraryThatLacksAFunctionIsFreedThoughItWasFoundLoaded)
{
    g_isLoaded = true;
    g_missing = "StackWalk64";
    EXPECT_FALSE(LoadDbghelpTable());
    EXPECT_THAT(g_calls, ElementsAre("GetModuleHandleW Dbghelp.dll", "FreeLibrary"));
}

TEST(CrashTableOfTheSystemTest, IsComplete)
{
    EXPECT_TRUE(LoadDbghelpTable());
    EXPECT_TRUE(LoadPsapiTable());
    ReleasePsapiTable();
    ReleaseDbghelpTable();
}
