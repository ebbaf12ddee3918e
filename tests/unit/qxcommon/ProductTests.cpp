#include "FrwkMode.h"
#include "ImportPatch.h"
#include "LogCapture.h"
#include "QxCommon_utility.h"
#include "TempRegistry.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

using namespace QxCommon;
using TestSupport::ImportPatch;
using TestSupport::LogCapture;
using TestSupport::TempRegistry;
using namespace std::string_literals;

namespace
{

using Lines = std::vector<std::wstring>;

const std::wstring productKey = L"SOFTWARE\\NorvaneSoft\\Oravex";

std::wstring modulePath;
bool isCutPathTerminated = true;

// As the system does it: a path that does not fit is cut, and terminated on newer systems only.
DWORD WINAPI FakeModuleFileName(HMODULE /*module*/, LPWSTR buffer, DWORD size)
{
    const auto length = static_cast<DWORD>(modulePath.size());
    if (length < size)
    {
        std::copy_n(modulePath.c_str(), length + 1, buffer);
        return length;
    }
    std::copy_n(modulePath.c_str(), size, buffer);
    if (isCutPathTerminated)
    {
        buffer[size - 1] = L'\0';
    }
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return size;
}

// Gives the running program another name, before its product is first asked for. Each test of it needs a
// process of its own.
class RenamedProgramTest : public testing::Test
{
protected:
    explicit RenamedProgramTest(const std::wstring& path = L"C:\\product\\QxSessionAgent_M.exe")
    {
        modulePath = path;
    }

    LogCapture m_log;

private:
    ImportPatch m_patch{L"kernel32.dll", "GetModuleFileNameW", &FakeModuleFileName};
};

class LongPathTest : public testing::Test
{
protected:
    LongPathTest()
    {
        // The product is known by the true name of this program.
        EXPECT_EQ(GetProductId(), L"Oravex");
    }

    static std::wstring FolderOf(const std::wstring& path)
    {
        modulePath = path;
        const ImportPatch patch(L"kernel32.dll", "GetModuleFileNameW", &FakeModuleFileName);
        return GetModuleFolder();
    }
};

class ProductPathTest : public testing::Test
{
protected:
    void Register(const std::wstring& path) const
    {
        m_registry.SetString(HKEY_LOCAL_MACHINE, productKey, L"ProductPath", path);
    }

    void RegisterAs(DWORD type, const std::wstring& text) const
    {
        m_registry.SetValue(HKEY_LOCAL_MACHINE, productKey, L"ProductPath", type, text.data(),
                            text.size() * sizeof(wchar_t));
    }

    void ExpectModuleFolder() const
    {
        EXPECT_EQ(GetRegistryProductPath(), L"");
        EXPECT_EQ(GetProductPath(), GetModuleFolder());
        EXPECT_EQ(GetConfigurationFolder(), GetModuleFolder() + L"\\Configuration");
        EXPECT_EQ(GetBinariesFolder(), GetModuleFolder() + L"\\win32");
    }

    TempRegistry m_registry;
};

decltype(&RegOpenKeyExW) trueOpenKey = nullptr;

REGSAM accessOfProductKey = 0; // asked for by the last opening

LSTATUS WINAPI RecordingOpenKey(HKEY root, LPCWSTR subkey, DWORD options, REGSAM access, PHKEY key)
{
    if (subkey != nullptr && productKey == std::wstring(subkey).substr(0, productKey.size()))
    {
        accessOfProductKey = access;
    }
    return trueOpenKey(root, subkey, options, access, key);
}

int missesLeft = 0; // how often GetNativeSystemInfo is not there
WORD architecture = PROCESSOR_ARCHITECTURE_INTEL;

void WINAPI FakeNativeSystemInfo(LPSYSTEM_INFO info)
{
    *info = {};
    info->wProcessorArchitecture = architecture;
}

FARPROC WINAPI FakeProcAddress(HMODULE /*module*/, LPCSTR name)
{
    if (std::strcmp(name, "GetNativeSystemInfo") != 0)
    {
        ADD_FAILURE() << "asked for " << name;
        return nullptr;
    }
    if (missesLeft-- > 0)
    {
        SetLastError(ERROR_PROC_NOT_FOUND);
        return nullptr;
    }
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&FakeNativeSystemInfo));
}

} // namespace

TEST(ProductIdTest, TellsTheIdOnceItIsKnown)
{
    const LogCapture log;
    EXPECT_EQ(GetProductId(), L"Oravex");
    EXPECT_EQ(log.Texts(), Lines{});
    EXPECT_EQ(GetProductId(), L"Oravex");
    EXPECT_EQ(GetProductNumber(), 0);
    EXPECT_EQ(log.Texts(), (Lines{L": [DEBUG] s_wszQxId = Oravex", L": [DEBUG] s_wszQxId = Oravex"}));
}

TEST_F(RenamedProgramTest, KeepsTheFirstProductThatItFound)
{
    modulePath = L"C:\\product\\my_copy.exe";
    EXPECT_EQ(GetProductId(), L"");
    EXPECT_EQ(GetProductNumber(), -1);
    EXPECT_FALSE(IsFrwkModeOne());
    EXPECT_EQ(MapProductFileName(L"QxMainConsole.exe"), L"QxMainConsole.exe");
    EXPECT_EQ(GetProductRegistryKey(), L"SOFTWARE\\NorvaneSoft\\");

    modulePath = L"C:\\product\\Agent_m.exe";
    EXPECT_EQ(GetProductId(), L"Melvio");
    EXPECT_EQ(m_log.Texts(), Lines{}) << "the id was not known before";

    modulePath = L"C:\\product\\Agent_b.exe";
    EXPECT_EQ(GetProductId(), L"Melvio");
    EXPECT_TRUE(IsFrwkModeOne());
}

TEST_F(RenamedProgramTest, MapsNamesToTheRunningProduct)
{
    EXPECT_EQ(MapProductFileName(L"QxMainConsole.exe"), L"QxMainConsole_M.exe");
    EXPECT_EQ(MapProductFileName(L"A.EXE"), L"A_M.EXE");
    EXPECT_EQ(MapProductFileName(L"a.exe.exe"), L"a_M.exe.exe");
    EXPECT_EQ(MapProductFileName(L"a.exe.EXE"), L"a.exe_M.EXE");
    EXPECT_EQ(MapProductFileName(L"C:\\d.exe\\f.exe"), L"C:\\d_M.exe\\f.exe");
    EXPECT_EQ(MapProductFileName(L"C:\\d.exe\\f"), L"C:\\d.exe\\f");
    EXPECT_EQ(MapProductFileName(L"a."), L"a_M.");
    EXPECT_EQ(MapProductFileName(L".exe"), L"_M.exe");
    EXPECT_EQ(MapProductFileName(L"noextension"), L"noextension");
    EXPECT_EQ(MapProductFileName(L"x.e xe"), L"x.e xe");
    EXPECT_EQ(MapProductFileName(L""), L"");
}

TEST_F(RenamedProgramTest, TakesTheProductFromAPathThatIsCut)
{
    // What is left of the path ends within the file's name, behind its suffix.
    for (const bool isTerminated : {true, false})
    {
        isCutPathTerminated = isTerminated;
        modulePath = L"C:\\" + std::wstring(250, L'x') + L"\\a_M.exe and more that does not fit";
        EXPECT_EQ(GetProductId(), L"Melvio");
    }
}

TEST_F(LongPathTest, CutsTheModuleFolderAtTheLastBackslash)
{
    EXPECT_EQ(FolderOf(L"C:\\product\\bin\\agent.exe"), L"C:\\product\\bin");
    EXPECT_EQ(FolderOf(L"C:\\agent.exe"), L"C:");
    EXPECT_EQ(FolderOf(L""), L"");
}

TEST_F(LongPathTest, CutsAPathThatIsTooLongWithoutGoingBeyondIt)
{
    const std::wstring folder = L"C:\\" + std::wstring(200, L'f');
    const std::wstring second = std::wstring(100, L's');
    for (const bool isTerminated : {true, false})
    {
        isCutPathTerminated = isTerminated;
        EXPECT_EQ(FolderOf(folder + L"\\" + second + L"\\agent.exe"), folder);
        EXPECT_EQ(FolderOf(std::wstring(1000, L'x')), std::wstring(259, L'x'));
        EXPECT_EQ(FolderOf(L"C:\\" + std::wstring(256, L'x') + L"\\a"), L"C:");
    }
    EXPECT_EQ(FolderOf(L"C:\\" + std::wstring(250, L'x') + L"\\a.exe"), L"C:\\" + std::wstring(250, L'x'));
}

TEST_F(ProductPathTest, IsTheModuleFolderWithoutARegisteredPath)
{
    ExpectModuleFolder();
    Register(L"");
    ExpectModuleFolder();
}

TEST_F(ProductPathTest, IsTheRegisteredPathAsItStands)
{
    for (const std::wstring& path : {L"C:\\missing folder"s, L"relative\\folder"s, L"x"s, L" "s,
                                     L"%ProgramFiles%\\x"s, L"C:\\" + std::wstring(1000, L'x')})
    {
        Register(path);
        EXPECT_EQ(GetRegistryProductPath(), path);
        EXPECT_EQ(GetProductPath(), path);
        EXPECT_EQ(GetConfigurationFolder(), path + L"\\Configuration");
        EXPECT_EQ(GetBinariesFolder(), path + L"\\win32");
    }
}

TEST_F(ProductPathTest, KeepsATrailingBackslashAndAddsNoSecondOne)
{
    Register(L"C:\\product\\");
    EXPECT_EQ(GetProductPath(), L"C:\\product\\");
    EXPECT_EQ(GetConfigurationFolder(), L"C:\\product\\Configuration");
    EXPECT_EQ(GetBinariesFolder(), L"C:\\product\\win32");
}

TEST_F(ProductPathTest, TakesAnyKindOfString)
{
    RegisterAs(REG_EXPAND_SZ, L"%SystemRoot%\\product\0"s);
    EXPECT_EQ(GetProductPath(), L"%SystemRoot%\\product");
    RegisterAs(REG_MULTI_SZ, L"C:\\first\0C:\\second\0\0"s);
    EXPECT_EQ(GetProductPath(), L"C:\\first");
    RegisterAs(REG_SZ, L"C:\\without terminator");
    EXPECT_EQ(GetProductPath(), L"C:\\without terminator");
}

TEST_F(ProductPathTest, IsTheModuleFolderIfTheValueIsNoString)
{
    m_registry.SetDword(HKEY_LOCAL_MACHINE, productKey, L"ProductPath", 1);
    ExpectModuleFolder();
    RegisterAs(REG_BINARY, L"C:\\product\0"s);
    ExpectModuleFolder();
}

TEST_F(ProductPathTest, IsReadFromTheViewOfSixtyFourBits)
{
    const ImportPatch patch(L"advapi32.dll", "RegOpenKeyExW", &RecordingOpenKey);
    trueOpenKey = patch.Original<decltype(RegOpenKeyExW)>();
    Register(L"C:\\product");
    EXPECT_EQ(GetProductPath(), L"C:\\product");
    EXPECT_EQ(accessOfProductKey, static_cast<REGSAM>(KEY_QUERY_VALUE | KEY_WOW64_64KEY));
}

TEST_F(ProductPathTest, IsReadAnewAtEachCall)
{
    Register(L"C:\\one");
    EXPECT_EQ(GetProductPath(), L"C:\\one");
    Register(L"C:\\two");
    EXPECT_EQ(GetProductPath(), L"C:\\two");
}

TEST(ArchitectureTest, IsSixtyFourBitsHere)
{
    EXPECT_TRUE(IsX64System());
}

TEST(ArchitectureTest, IsAskedForAgainUntilTheSystemAnswers)
{
    missesLeft = 1;
    architecture = PROCESSOR_ARCHITECTURE_AMD64;
    const ImportPatch patch(L"kernel32.dll", "GetProcAddress", &FakeProcAddress);
    EXPECT_FALSE(IsX64System());
    EXPECT_TRUE(IsX64System());
    architecture = PROCESSOR_ARCHITECTURE_INTEL;
    EXPECT_TRUE(IsX64System()) << "remembered";
}

TEST(ArchitectureTest, LeavesTheBinariesInTheProductPathOnANarrowSystem)
{
    const TempRegistry registry;
    registry.SetString(HKEY_LOCAL_MACHINE, productKey, L"ProductPath", L"C:\\product");
    architecture = PROCESSOR_ARCHITECTURE_INTEL;
    const ImportPatch patch(L"kernel32.dll", "GetProcAddress", &FakeProcAddress);
    const ImportPatch recording(L"advapi32.dll", "RegOpenKeyExW", &RecordingOpenKey);
    trueOpenKey = recording.Original<decltype(RegOpenKeyExW)>();
    EXPECT_FALSE(IsX64System());
    EXPECT_EQ(GetBinariesFolder(), L"C:\\product");
    EXPECT_EQ(accessOfProductKey, static_cast<REGSAM>(KEY_QUERY_VALUE)) << "the only view";
    EXPECT_EQ(GetConfigurationFolder(), L"C:\\product\\Configuration");
}

TEST(AppendNameTest, AddsABackslashUnlessThereIsOne)
{
    EXPECT_EQ(AppendName(L"C:\\a", L"b"), L"C:\\a\\b");
    EXPECT_EQ(AppendName(L"C:\\a\\", L"b"), L"C:\\a\\b");
    EXPECT_EQ(AppendName(L"", L"b"), L"\\b");
}

TEST(TrimTrailingLineFeedsTest, RemovesLineFeedsAtTheEndOnly)
{
    EXPECT_EQ(TrimTrailingLineFeeds(L"abc"), L"abc");
    EXPECT_EQ(TrimTrailingLineFeeds(L"abc\n"), L"abc");
    EXPECT_EQ(TrimTrailingLineFeeds(L"abc\n\n\n"), L"abc");
    EXPECT_EQ(TrimTrailingLineFeeds(L"\n\n"), L"");
    EXPECT_EQ(TrimTrailingLineFeeds(L""), L"");
    EXPECT_EQ(TrimTrailingLineFeeds(L"\na\nb\r\n"), L"\na\nb\r");
    EXPECT_EQ(TrimTrailingLineFeeds(L"abc\n "), L"abc\n ");
}
