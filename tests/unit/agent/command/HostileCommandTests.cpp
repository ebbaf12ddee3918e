// Values of every wrong kind under every key of every command.
#include "CommandTest.h"

#include <windows.h>

#include <functional>

#include "CallbackHelper.h"
#include "FakeShell.h"
#include "ImportPatch.h"
#include "VzComn_LogFront.h"
#include "VzComn_String.h"

namespace
{
std::wstring Nested(std::size_t levels)
{
    return std::wstring(levels, L'[') + std::wstring(levels, L']');
}

// A JSON value and what it reads as.
struct Value
{
    std::wstring json;
    std::int32_t asInt = 0;
    std::uint32_t asUInt = 0;
    std::uint64_t asUInt64 = 0;
    std::wstring asString{};
};

const std::vector<Value>& Values()
{
    static const std::vector<Value> values = {
        {L"null"},
        {L"true", 1, 1, 1, L"true"},
        {L"false", 0, 0, 0, L"false"},
        {L"0", 0, 0, 0, L"0"},
        {L"2147483647", 2147483647, 2147483647, 2147483647, L"2147483647"},
        {L"-2147483648", INT32_MIN, 0, 0, L"-2147483648"},
        {L"4294967295", 0, 4294967295U, 4294967295U, L"4294967295"},
        {L"-9223372036854775808", 0, 0, 0, L"-9223372036854775808"},
        {L"18446744073709551615", 0, 0, UINT64_MAX, L"18446744073709551615"},
        {L"1.5", 1, 1, 1, L"1.500000000000000"},
        {L"-1.5", -1, 0, 0, L"-1.500000000000000"},
        {L"1e308", 0, 0, 0, L"1.000000000000000e+308"},
        {L"-1e308", 0, 0, 0, L"-1.000000000000000e+308"},
        {L"\"99999999999999999999\"", 0, 0, 0, L"99999999999999999999"},
        {L"\"-99999999999999999999\"", 0, 0, 0, L"-99999999999999999999"},
        {L"\"12x\"", 12, 12, 12, L"12x"},
        {L"\"\""},
        {L"\"%s%n%d\"", 0, 0, 0, L"%s%n%d"},
        {L"\"a\\u0000b\"", 0, 0, 0, std::wstring(L"a\0b", 3)},
        {L"\"a" + std::wstring(1, L'\0') + L"b\"", 0, 0, 0, std::wstring(L"a\0b", 3)},
        // One replacement character or more, as the system sees it.
        {L"\"\\udc00\"", 0, 0, 0, VzCommon::String::FromUtf8("\xED\xB0\x80")},
        {L"\"\xD800\"", 0, 0, 0, L"\xFFFD"},
        {L"[]"},
        {L"[1001,\"x\"]"},
        {L"{}"},
        {L"{\"JD_COMMAND_ID\":1001,\"retCode\":[]}"},
        {Nested(999)},
    };
    return values;
}

// What a text is for a function that takes one up to its terminator.
std::wstring Terminated(const std::wstring& text)
{
    return text.c_str();
}

std::vector<std::wstring> g_effects;
decltype(&FindFirstFileW) g_findFirstFile = nullptr;

UINT_PTR WINAPI NoteTimerEffect(HWND /*window*/, UINT_PTR id, UINT milliseconds, TIMERPROC /*procedure*/)
{
    g_effects.push_back(L"timer " + std::to_wstring(id) + L" " + std::to_wstring(milliseconds));
    return id;
}

// Everything can be found.
HANDLE WINAPI FindAny(LPCWSTR /*name*/, LPWIN32_FIND_DATAW found)
{
    return g_findFirstFile(L"C:\\*", found);
}

struct Case
{
    int id;
    const wchar_t* key;
    std::vector<const wchar_t*> otherKeysRead;
    std::function<std::wstring(const Value&)> effect; // the last call that the command makes
    bool needsFile = false;
    AgentStatus status = Status::Success;
};

std::wstring Shell(const std::wstring& file, const std::wstring& verb, const std::wstring& parameters,
                   std::uint64_t window, int show)
{
    return L"shell " + file + L"|" + verb + L"|" + parameters + L"|" + std::to_wstring(window) + L"|" +
           std::to_wstring(show);
}

std::wstring NoEffect(const Value& /*value*/)
{
    return L"";
}

const std::vector<Case>& Cases()
{
    static const std::vector<Case> cases = {
        {7, L"retCode", {}, NoEffect},
        {1000,
         L"nFeatureId",
         {L"param", L"popupId"},
         [](const Value& value) { return L"popup <" + value.asString + L"> 0 <null>"; }},
        {1000,
         L"popupId",
         {L"param", L"nFeatureId"},
         [](const Value& value) { return L"popup <> " + std::to_wstring(value.asUInt) + L" <null>"; }},
        {1001,
         L"modeId",
         {},
         [](const Value& value)
         { return L"mode <-m " + std::to_wstring(static_cast<std::int32_t>(value.asUInt)) + L">"; }},
        {1010, L"interval", {}, NoEffect},
        {1011,
         L"interval",
         {},
         [](const Value& value) { return L"timer 3 " + std::to_wstring(value.asUInt * 1000U); }},
        {1100,
         L"interval",
         {},
         [](const Value& value) { return L"timer 4 " + std::to_wstring(value.asUInt * 1000U); }},
        {1101,
         L"action",
         {L"param", L"windowHandle"},
         [](const Value& value) { return Shell(L"f", Terminated(value.asString), L"", 0, 5); },
         true},
        {1101,
         L"param",
         {L"action", L"windowHandle"},
         [](const Value& value) { return Shell(L"f", L"", Terminated(value.asString), 0, 5); },
         true},
        {1101,
         L"windowHandle",
         {L"action", L"param"},
         [](const Value& value) { return Shell(L"f", L"", L"", value.asUInt64, 5); },
         true},
        {1101,
         L"showCmd",
         {L"action", L"param", L"windowHandle"},
         [](const Value& value) { return Shell(L"f", L"", L"", 0, value.asInt); },
         true},
        {2000, L"action", {}, NoEffect, false, Status::NoEngineLibrary},
        {2000, L"trackId", {}, NoEffect, false, Status::NoEngineLibrary},
        {3000, L"interval", {}, NoEffect},
    };
    return cases;
}

class HostileCommandTest : public CommandTest
{
protected:
    HostileCommandTest() { g_findFirstFile = find.Original<decltype(FindFirstFileW)>(); }

    // Runs the command and returns the last thing that it did.
    std::wstring EffectOf(QxCommon::JsonDb& command, AgentStatus& status)
    {
        g_effects.clear();
        TheConsole().calls.clear();
        shell.executions.clear();
        g_bActiveWindowTimerSet = false;
        g_bInputInfoTimerSet = false;
        status = OnServiceCommand(command);
        std::vector<std::wstring> effects = g_effects;
        effects.insert(effects.end(), TheConsole().calls.begin(), TheConsole().calls.end());
        for (const Execution& run : shell.executions)
        {
            effects.push_back(Shell(run.file.value(), run.verb.value(), run.parameters.value(),
                                    reinterpret_cast<std::uintptr_t>(run.info.hwnd), run.info.nShow));
        }
        EXPECT_LE(effects.size(), 1U);
        return effects.empty() ? L"" : effects.back();
    }

    FakeProduct product{L"QxSessionAgent_M.exe"};
    FakeShell shell;
    TestSupport::ImportPatch timer{nullptr, "SetTimer", &NoteTimerEffect};
    TestSupport::ImportPatch find{nullptr, "FindFirstFileW", &FindAny};
};

TEST_F(HostileCommandTest, ReadsEveryValueUnderEveryKeyAndKeepsIt)
{
    for (const Case& row : Cases())
    {
        for (const Value& value : Values())
        {
            SCOPED_TRACE(::testing::PrintToString(row.id) + " " + ::testing::PrintToString(row.key) + " " +
                         ::testing::PrintToString(value.json.substr(0, 40)));
            const std::wstring text = L"{\"JD_COMMAND_ID\":" + std::to_wstring(row.id) +
                                      (row.needsFile ? L",\"file\":\"f\"" : L"") + L",\"" + row.key + L"\":" +
                                      value.json + L"}";
            QxCommon::JsonDb command;
            QxCommon::JsonDb expected;
            ASSERT_EQ(command.ParseFromString(text), 0U);
            ASSERT_EQ(expected.ParseFromString(text), 0U);
            for (const wchar_t* key : row.otherKeysRead)
            {
                EXPECT_TRUE(expected[key].IsNull());
            }
            AgentStatus status = Status::Failure;
            EXPECT_EQ(EffectOf(command, status), row.effect(value));
            EXPECT_EQ(status, row.status);
            expected[L"retCode"].SetInt(status);
            EXPECT_EQ(command.ToFastString(), expected.ToFastString());
        }
    }
}

TEST_F(HostileCommandTest, TakesEveryValueForAFile)
{
    for (const Value& value : Values())
    {
        SCOPED_TRACE(::testing::PrintToString(value.json.substr(0, 40)));
        QxCommon::JsonDb command;
        ASSERT_EQ(command.ParseFromString(L"{\"JD_COMMAND_ID\":1101,\"file\":" + value.json + L"}"), 0U);
        AgentStatus status = Status::Success;
        const bool isEmpty = value.asString.empty();
        EXPECT_EQ(EffectOf(command, status),
                  isEmpty ? L"" : Shell(Terminated(value.asString), L"", L"", 0, 5));
        EXPECT_EQ(status, isEmpty ? Status::NotFound : Status::Success);
        EXPECT_EQ(command.HasMember(L"action"), !isEmpty);
    }
}

TEST_F(HostileCommandTest, DoesNothingForEveryValueThatIsNoCommand)
{
    for (const Value& value : Values())
    {
        SCOPED_TRACE(::testing::PrintToString(value.json.substr(0, 40)));
        QxCommon::JsonDb command;
        ASSERT_EQ(command.ParseFromString(L"{\"JD_COMMAND_ID\":" + value.json + L"}"), 0U);
        AgentStatus status = Status::Failure;
        EXPECT_EQ(EffectOf(command, status), L"");
        EXPECT_EQ(status, Status::Success);
        EXPECT_EQ(command[L"retCode"].AsInt(), Status::Success);
    }
}

TEST_F(HostileCommandTest, PassesEveryValueToAPopup)
{
    for (const Value& value : Values())
    {
        SCOPED_TRACE(::testing::PrintToString(value.json.substr(0, 40)));
        QxCommon::JsonDb command;
        ASSERT_EQ(command.ParseFromString(L"{\"JD_COMMAND_ID\":1000,\"param\":" + value.json + L"}"), 0U);
        AgentStatus status = Status::Failure;
        const std::wstring effect = EffectOf(command, status);
        EXPECT_EQ(status, Status::Success);
        EXPECT_TRUE(effect.starts_with(L"popup <> 0 <") && effect.ends_with(L">"));
        EXPECT_EQ(effect.find(L'\n'), std::wstring::npos);
    }
}

TEST_F(HostileCommandTest, LogsEveryValueAtDebugLevel)
{
    const TestSupport::LogCapture debugLog(VzCommon::LogLevel::Debug);
    for (const Value& value : Values())
    {
        QxCommon::JsonDb command;
        ASSERT_EQ(command.ParseFromString(L"{\"JD_COMMAND_ID\":7,\"x\":" + value.json + L"}"), 0U);
        EXPECT_EQ(OnServiceCommand(command), Status::Success);
    }
    EXPECT_EQ(debugLog.Texts().size(), Values().size());
}

TEST_F(HostileCommandTest, PassesAVeryLongText)
{
    const std::wstring longText(std::size_t{8} << 20U, L'x');
    QxCommon::JsonDb command;
    ASSERT_EQ(command.ParseFromString(L"{\"JD_COMMAND_ID\":1000,\"param\":\"" + longText + L"\"}"), 0U);
    AgentStatus status = Status::Failure;
    EXPECT_EQ(EffectOf(command, status).size(),
              longText.size() + std::wstring(L"popup <> 0 <\\\"\\\">").size());
    EXPECT_EQ(status, Status::Success);
}
} // namespace
