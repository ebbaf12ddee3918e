#include "VzComn_LogConfiguration.h"

#include "FakeExports.h"
#include "TempDir.h"
#include "TempRegistry.h"

#include <gmock/gmock.h>

#include <cstring>

using TestSupport::FakeExports;
using TestSupport::TempDir;
using TestSupport::TempRegistry;
using namespace VzCommon;

namespace
{

class LogConfigurationTest : public testing::Test
{
protected:
    // Reads the file that holds the text.
    LogConfiguration Read(const std::string& text, const std::wstring& name = L"Test") const
    {
        dir.Write(L"vzdbg.ini", text);
        return ReadFile(name);
    }

    LogConfiguration ReadFile(const std::wstring& name = L"Test") const
    {
        LogConfiguration configuration;
        EXPECT_TRUE(ReadLogConfiguration(Storage::Key::ForIniFile(dir.Path().c_str(), L"\\vzdbg.ini"), name,
                                         configuration));
        return configuration;
    }

    TempDir dir;
};

const std::vector<std::string> s_allKeys = {
    "Enable=1",         "Level=0x1011", "LogProcess=7",     "LogUnitType=8", "LogFolder=C:\\Logs",
    "LogPrefix=prefix", "LogFile=file", "LogExtension=txt", "Robust=1",      "Debugger=1",
};

// The keys but for one; -1 leaves none out.
std::string KeysWithout(int omitted)
{
    std::string text = "[InteractiveSession]\r\n";
    for (int i = 0; i < static_cast<int>(s_allKeys.size()); ++i)
    {
        text += i == omitted ? "" : s_allKeys[static_cast<std::size_t>(i)] + "\r\n";
    }
    return text;
}

template <typename Value>
Value At(const VzDbgConfig& record, std::size_t offset)
{
    Value value;
    std::memcpy(&value, reinterpret_cast<const char*>(&record) + offset, sizeof(value));
    return value;
}

const wchar_t* TextAt(const VzDbgConfig& record, std::size_t offset)
{
    return reinterpret_cast<const wchar_t*>(reinterpret_cast<const char*>(&record) + offset);
}

TEST_F(LogConfigurationTest, PutsEachKeyAtItsPlaceInTheRecord)
{
    const LogConfiguration read = Read(KeysWithout(-1));
    EXPECT_TRUE(read.enabled);
    EXPECT_EQ(read.levelMask, 0x1011U);
    ASSERT_EQ(sizeof(read.record), 2148U);
    EXPECT_EQ(At<std::uint32_t>(read.record, 0), 0x00010100U) << "session, Robust, Debugger, reserved";
    EXPECT_EQ(At<std::uint32_t>(read.record, 20), 7U);
    EXPECT_EQ(At<std::uint32_t>(read.record, 24), 8U);
    EXPECT_STREQ(TextAt(read.record, 28), L"Test");
    EXPECT_STREQ(TextAt(read.record, 92), L"C:\\Logs");
    EXPECT_STREQ(TextAt(read.record, 612), L"prefix");
    EXPECT_STREQ(TextAt(read.record, 1124), L"file");
    EXPECT_STREQ(TextAt(read.record, 1636), L"txt");
}

TEST_F(LogConfigurationTest, TakesTheLocalTimeOfTheReading)
{
    SYSTEMTIME before;
    SYSTEMTIME after;
    GetLocalTime(&before);
    const auto time = At<SYSTEMTIME>(Read("").record, 4);
    GetLocalTime(&after);
    FILETIME times[3];
    ASSERT_TRUE(SystemTimeToFileTime(&before, &times[0]));
    ASSERT_TRUE(SystemTimeToFileTime(&time, &times[1]));
    ASSERT_TRUE(SystemTimeToFileTime(&after, &times[2]));
    EXPECT_LE(CompareFileTime(&times[0], &times[1]), 0);
    EXPECT_LE(CompareFileTime(&times[1], &times[2]), 0);
}

TEST_F(LogConfigurationTest, TakesTheDefaultsWithoutAFile)
{
    const LogConfiguration read = ReadFile();
    EXPECT_FALSE(read.enabled);
    EXPECT_EQ(read.levelMask, 0x100U);
    EXPECT_EQ(At<std::uint32_t>(read.record, 0), 0U);
    EXPECT_EQ(read.record.logProcess, 0U);
    EXPECT_EQ(read.record.logUnitType, 0U);
    EXPECT_STREQ(read.record.moduleName, L"Test");
    EXPECT_STREQ(read.record.logFolder, L"");
    EXPECT_STREQ(read.record.logPrefix, L"qda");
    EXPECT_STREQ(read.record.logFile, L"");
    EXPECT_STREQ(read.record.logExtension, L"log");
}

TEST_F(LogConfigurationTest, TakesTheDefaultOfEachMissingKeyAlone)
{
    for (int i = 0; i < static_cast<int>(s_allKeys.size()); ++i)
    {
        SCOPED_TRACE(s_allKeys[static_cast<std::size_t>(i)]);
        const LogConfiguration read = Read(KeysWithout(i));
        EXPECT_EQ(read.enabled, i != 0);
        EXPECT_EQ(read.levelMask, i == 1 ? 0x100U : 0x1011U);
        EXPECT_EQ(read.record.logProcess, i == 2 ? 0U : 7U);
        EXPECT_EQ(read.record.logUnitType, i == 3 ? 0U : 8U);
        EXPECT_STREQ(read.record.logFolder, i == 4 ? L"" : L"C:\\Logs");
        EXPECT_STREQ(read.record.logPrefix, i == 5 ? L"qda" : L"prefix");
        EXPECT_STREQ(read.record.logFile, i == 6 ? L"" : L"file");
        EXPECT_STREQ(read.record.logExtension, i == 7 ? L"log" : L"txt");
        EXPECT_EQ(read.record.robust, i == 8 ? 0 : 1);
        EXPECT_EQ(read.record.debugger, i == 9 ? 0 : 1);
    }
}

TEST_F(LogConfigurationTest, TakesIntegersAsTheProfileReaderDoes)
{
    const std::pair<std::string, std::uint32_t> values[] = {
        {"0x1111", 0x1111}, {"4369", 4369}, {" 17 ", 17},       {"12abc", 12},
        {"true", 0},        {"", 0x100},    {"-1", 0xFFFFFFFF},
    };
    for (const auto& [text, value] : values)
    {
        EXPECT_EQ(Read("[InteractiveSession]\r\nLevel=" + text + "\r\n").levelMask, value) << text;
    }
}

TEST_F(LogConfigurationTest, TakesAnyNonZeroNumberForTrue)
{
    const LogConfiguration read =
        Read("[InteractiveSession]\r\nEnable=-5\r\nRobust=256\r\nDebugger=0x10000\r\n");
    EXPECT_TRUE(read.enabled);
    EXPECT_EQ(read.record.robust, 1);
    EXPECT_EQ(read.record.debugger, 1);
}

TEST_F(LogConfigurationTest, KeepsAnEmptyText)
{
    const LogConfiguration read = Read("[InteractiveSession]\r\nLogPrefix=\r\nLogExtension=\r\n");
    EXPECT_STREQ(read.record.logPrefix, L"");
    EXPECT_STREQ(read.record.logExtension, L"");
}

TEST_F(LogConfigurationTest, ReadsTheSectionOfTheSessionsKindAndNoOther)
{
    const std::string both = "[InteractiveSession]\r\nEnable=1\r\nLevel=1\r\nLogPrefix=user\r\n"
                             "[ServiceSession]\r\nEnable=1\r\nLevel=2\r\nLogFile=service\r\n";
    const LogConfiguration user = Read(both);
    EXPECT_EQ(user.record.serviceSession, 0);
    EXPECT_EQ(user.levelMask, 1U);
    EXPECT_STREQ(user.record.logPrefix, L"user");
    EXPECT_STREQ(user.record.logFile, L"");

    FakeExports exports;
    exports.Set(
        "ProcessIdToSessionId",
        +[](DWORD, DWORD* session) -> BOOL
        {
            *session = 0;
            return TRUE;
        });
    const LogConfiguration service = ReadFile();
    EXPECT_EQ(service.record.serviceSession, 1);
    EXPECT_EQ(service.levelMask, 2U);
    EXPECT_STREQ(service.record.logPrefix, L"qda");
    EXPECT_STREQ(service.record.logFile, L"service");
}

TEST_F(LogConfigurationTest, TakesASessionOfUnknownKindForAnInteractiveOne)
{
    FakeExports exports;
    exports.Remove("ProcessIdToSessionId");
    EXPECT_EQ(Read("[InteractiveSession]\r\nLevel=1\r\n[ServiceSession]\r\nLevel=2\r\n").levelMask, 1U);
}

TEST_F(LogConfigurationTest, CutsTextThatIsTooLongForItsField)
{
    for (const std::size_t length : {254, 255, 256, 259, 260, 261, 1000})
    {
        SCOPED_TRACE(length);
        const std::string text(length, 'x');
        const LogConfiguration read =
            Read("[InteractiveSession]\r\nLogFolder=" + text + "\r\nLogPrefix=" + text +
                 "\r\nLogFile=" + text + "\r\nLogExtension=" + text + "\r\n");
        EXPECT_EQ(std::wstring(read.record.logFolder),
                  std::wstring(std::min<std::size_t>(length, 259), L'x'));
        const std::wstring name(std::min<std::size_t>(length, 255), L'x');
        EXPECT_EQ(std::wstring(read.record.logPrefix), name);
        EXPECT_EQ(std::wstring(read.record.logFile), name);
        EXPECT_EQ(std::wstring(read.record.logExtension), name);
    }
}

TEST_F(LogConfigurationTest, CutsAModuleNameThatIsTooLongForItsField)
{
    for (const std::size_t length : {31, 32, 200})
    {
        const LogConfiguration read = Read("", std::wstring(length, L'n'));
        EXPECT_EQ(std::wstring(read.record.moduleName), std::wstring(31, L'n')) << length;
        EXPECT_STREQ(read.record.logFolder, L"") << "nothing has spilled into the next field";
    }
}

TEST_F(LogConfigurationTest, ReadsTextOutsideOfTheCodePage)
{
    const std::wstring text = L"\xFEFF[InteractiveSession]\r\nLogFolder=C:\\\x0416\x4E2D\r\n";
    const LogConfiguration read =
        Read(std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)));
    EXPECT_STREQ(read.record.logFolder, L"C:\\\x0416\x4E2D");
}

TEST_F(LogConfigurationTest, RefusesAKeyThatNamesNoStore)
{
    for (const std::uint32_t type : {2U, 3U, 5U, 0xFFFFFFFFU})
    {
        LogConfiguration configuration;
        EXPECT_FALSE(ReadLogConfiguration(Storage::Key(type, dir.Path().c_str(), L"\\vzdbg.ini"), L"Test",
                                          configuration))
            << type;
    }
}

TEST_F(LogConfigurationTest, KeepsTheDefaultsOfAStoreThatCannotBeOpened)
{
    LogConfiguration configuration;
    EXPECT_TRUE(ReadLogConfiguration(Storage::Key::ForIniFile(L"", L""), L"Test", configuration));
    EXPECT_FALSE(configuration.enabled);
    EXPECT_EQ(configuration.levelMask, 0x100U);
    EXPECT_STREQ(configuration.record.logPrefix, L"") << "nothing has been read, not even a default";
    EXPECT_STREQ(configuration.record.moduleName, L"Test");
}

class LogRegistryConfigurationTest : public testing::Test
{
protected:
    static constexpr wchar_t subkey[] = L"Software\\Log";
    static constexpr wchar_t section[] = L"Software\\Log\\InteractiveSession";

    void SetNumber(const std::wstring& name, DWORD value) const
    {
        registry.SetDword(HKEY_LOCAL_MACHINE, section, name, value);
    }

    void SetText(const std::wstring& name, const std::wstring& value) const
    {
        registry.SetString(HKEY_LOCAL_MACHINE, section, name, value);
    }

    LogConfiguration Read(std::uint32_t type = Storage::KeyType::Registry) const
    {
        Storage::Key key = Storage::Key::ForRegistry(HKEY_LOCAL_MACHINE, subkey);
        key.type = type;
        LogConfiguration configuration;
        EXPECT_TRUE(ReadLogConfiguration(key, L"Test", configuration));
        return configuration;
    }

    TempRegistry registry;
};

TEST_F(LogRegistryConfigurationTest, ReadsAWholeConfigurationOfEitherType)
{
    SetNumber(L"Enable", 1);
    SetNumber(L"Level", 0x1011);
    SetNumber(L"LogProcess", 7);
    SetNumber(L"LogUnitType", 8);
    SetText(L"LogFolder", L"C:\\Logs");
    SetText(L"LogPrefix", L"prefix");
    SetText(L"LogFile", L"file");
    SetText(L"LogExtension", L"txt");
    SetNumber(L"Robust", 2);
    SetNumber(L"Debugger", 3);
    for (const std::uint32_t type : {0U, 4U})
    {
        const LogConfiguration read = Read(type);
        EXPECT_TRUE(read.enabled);
        EXPECT_EQ(read.levelMask, 0x1011U);
        EXPECT_EQ(read.record.logProcess, 7U);
        EXPECT_EQ(read.record.logUnitType, 8U);
        EXPECT_STREQ(read.record.logFolder, L"C:\\Logs");
        EXPECT_STREQ(read.record.logPrefix, L"prefix");
        EXPECT_STREQ(read.record.logFile, L"file");
        EXPECT_STREQ(read.record.logExtension, L"txt");
        EXPECT_EQ(read.record.robust, 1);
        EXPECT_EQ(read.record.debugger, 1);
    }
}

TEST_F(LogRegistryConfigurationTest, StopsAtTheFirstMissingValue)
{
    SetNumber(L"Enable", 1);
    SetNumber(L"Level", 0x11);
    SetNumber(L"LogUnitType", 8);
    SetText(L"LogPrefix", L"prefix");
    const LogConfiguration read = Read();
    EXPECT_TRUE(read.enabled);
    EXPECT_EQ(read.levelMask, 0x11U);
    EXPECT_EQ(read.record.logUnitType, 0U) << "LogProcess is missing ahead of it";
    EXPECT_STREQ(read.record.logPrefix, L"") << "no default either";
}

TEST_F(LogRegistryConfigurationTest, StopsAtAValueOfAnotherType)
{
    SetNumber(L"Enable", 1);
    SetText(L"Level", L"1");
    const LogConfiguration read = Read();
    EXPECT_TRUE(read.enabled);
    EXPECT_EQ(read.levelMask, 0x100U);
}

TEST_F(LogRegistryConfigurationTest, KeepsTheDefaultsOfAMissingKey)
{
    const LogConfiguration read = Read();
    EXPECT_FALSE(read.enabled);
    EXPECT_EQ(read.levelMask, 0x100U);
    EXPECT_STREQ(read.record.moduleName, L"Test");
    EXPECT_STREQ(read.record.logExtension, L"");
}

} // namespace
