#include "CommandTest.h"

#include <windows.h>

#include <atomic>
#include <cstring>
#include <thread>

#include "FakeShell.h"
#include "ObjectCounts.h"
#include "TempDir.h"
#include "TestProgram.h"
#include "WaitUntil.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
class ShellCommandTest : public CommandTest
{
protected:
    // The command for that file with more keys.
    static std::wstring Command(const std::wstring& path, const std::wstring& keys = L"")
    {
        return L"{\"JD_COMMAND_ID\":1101,\"file\":\"" + InJson(path) + L"\"" + keys + L"}";
    }

    TestSupport::TempDir folder;
    std::wstring file = folder.Write(L"some file.txt", "x");
};

class FakeShellCommandTest : public ShellCommandTest
{
protected:
    FakeShell shell;
};

TEST_F(FakeShellCommandTest, TellsTheShellEverything)
{
    EXPECT_EQ(
        ReplyTo(Command(file, L",\"action\":\"open\",\"param\":\"a \\\"b\\\"\",\"showCmd\":3,"
                              L"\"windowHandle\":65678")),
        L"{\"JD_COMMAND_ID\":1101,\"action\":\"open\",\"file\":\"" + InJson(file) +
            L"\",\"param\":\"a \\\"b\\\"\",\"retCode\":553582592,\"showCmd\":3,\"windowHandle\":65678}");
    ASSERT_EQ(shell.executions.size(), 1U);
    const Execution& execution = shell.executions[0];
    EXPECT_EQ(execution.info.cbSize, 112U);
    EXPECT_EQ(execution.info.fMask, 0U);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(execution.info.hwnd), 65678U);
    EXPECT_EQ(execution.verb, L"open");
    EXPECT_EQ(execution.file, file);
    EXPECT_EQ(execution.parameters, L"a \"b\"");
    EXPECT_EQ(execution.info.lpDirectory, nullptr);
    EXPECT_EQ(execution.info.nShow, 3);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(FakeShellCommandTest, ShowsAndPassesEmptyTextsWhenKeysAreMissing)
{
    EXPECT_EQ(ReplyTo(Command(file)), L"{\"JD_COMMAND_ID\":1101,\"action\":null,\"file\":\"" + InJson(file) +
                                          L"\",\"param\":null,\"retCode\":553582592,\"windowHandle\":null}");
    ASSERT_EQ(shell.executions.size(), 1U);
    const Execution& execution = shell.executions[0];
    EXPECT_EQ(execution.verb, L""); // and not none
    EXPECT_EQ(execution.parameters, L"");
    EXPECT_EQ(execution.info.hwnd, nullptr);
    EXPECT_EQ(execution.info.nShow, 5);
}

TEST_F(FakeShellCommandTest, TakesAShowCommandThatIsThereForWhatItReadsAs)
{
    for (const wchar_t* value : {L"0", L"null", L"\"x\"", L"[5]", L"-1", L"\"7\""})
    {
        ReplyTo(Command(file, std::wstring(L",\"showCmd\":") + value));
    }
    std::vector<int> shown;
    for (const Execution& execution : shell.executions)
    {
        shown.push_back(execution.info.nShow);
    }
    EXPECT_THAT(shown, ElementsAre(0, 0, 0, 0, -1, 7));
}

TEST_F(FakeShellCommandTest, ReadsAWindowOf64Bits)
{
    for (const wchar_t* value : {L"18446744073709551615", L"\"4294967296\"", L"-1"})
    {
        ReplyTo(Command(file, std::wstring(L",\"windowHandle\":") + value));
    }
    std::vector<std::uintptr_t> windows;
    for (const Execution& execution : shell.executions)
    {
        windows.push_back(reinterpret_cast<std::uintptr_t>(execution.info.hwnd));
    }
    EXPECT_THAT(windows, ElementsAre(UINTPTR_MAX, 4294967296U, 0U));
}

TEST_F(FakeShellCommandTest, ReadsNothingFurtherWithoutAFile)
{
    EXPECT_EQ(ReplyTo(L"{\"JD_COMMAND_ID\":1101}"),
              L"{\"JD_COMMAND_ID\":1101,\"file\":null,\"retCode\":-520159218}");
    EXPECT_EQ(ReplyTo(Command(folder.Path(L"none.txt"))), L"{\"JD_COMMAND_ID\":1101,\"file\":\"" +
                                                              InJson(folder.Path(L"none.txt")) +
                                                              L"\",\"retCode\":-520159218}");
    EXPECT_THAT(shell.executions, IsEmpty());
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] Fail to execute, file = ",
                                         L": [ERROR] Fail to execute, file = " + folder.Path(L"none.txt")));
}

TEST_F(FakeShellCommandTest, TakesTheNameForAPattern)
{
    (void)folder.Write(L"inner\\x.txt", "x");
    for (const std::wstring& found :
         {folder.Path(L"*.txt"), folder.Path(L"some?file.*"), folder.Path(), folder.Path(L"inner")})
    {
        shell.executions.clear();
        ReplyTo(Command(found));
        ASSERT_EQ(shell.executions.size(), 1U);
        EXPECT_EQ(shell.executions[0].file, found); // as it came, not what was found
    }
}

TEST_F(FakeShellCommandTest, FindsNoNameThatOnlyTheShellWouldFind)
{
    for (const std::wstring& missing :
         {std::wstring(L"cmd.exe"), folder.Path() + L'\\', folder.Path(L"*.doc"), L'"' + file + L'"',
          std::wstring(L"http://localhost/"), std::wstring(L" ")})
    {
        ReplyTo(Command(missing));
        EXPECT_EQ(log.Texts().back(), L": [ERROR] Fail to execute, file = " + missing);
    }
    EXPECT_EQ(log.Texts().size(), 6U);
    EXPECT_THAT(shell.executions, IsEmpty());
}

TEST_F(FakeShellCommandTest, ReportsWhyTheShellFailed)
{
    shell.error = ERROR_NO_ASSOCIATION;
    ReplyTo(Command(file, L",\"action\":\"edit\",\"param\":\"a b\""));
    ReplyTo(Command(file));
    EXPECT_THAT(log.Texts(), ElementsAre(L": [ERROR] Failed to execute, [wstrFile=" + file +
                                             L"][wstrParam=a b][wstrVerb=edit][GetLastError()=1155]",
                                         L": [ERROR] Failed to execute, [wstrFile=" + file +
                                             L"][wstrParam=][wstrVerb=][GetLastError()=1155]"));
    EXPECT_EQ(ReplyTo(Command(file)), L"{\"JD_COMMAND_ID\":1101,\"action\":null,\"file\":\"" + InJson(file) +
                                          L"\",\"param\":null,\"retCode\":-520159231,\"windowHandle\":null}");
}

TEST_F(FakeShellCommandTest, LeavesNoSearchOpen)
{
    EXPECT_EQ(TestSupport::GrowthOf([this] { ReplyTo(Command(file)); }), "");
}

TEST_F(ShellCommandTest, StartsAProgram)
{
    const std::wstring record = folder.Path(L"record");
    const std::wstring parameters = L"\"" + record + L"\" \"two words\" \x4E09";
    const std::wstring program = TestSupport::TestProgram(L"LaunchRecorder", L"LaunchRecorder.exe");
    ReplyTo(Command(program, L",\"showCmd\":2,\"param\":\"" + InJson(parameters) + L"\""));
    EXPECT_THAT(log.Texts(), IsEmpty());
    ASSERT_TRUE(TestSupport::WaitUntil([this] { return !folder.Read(L"record").empty(); }));

    const std::string bytes = folder.Read(L"record");
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
    EXPECT_EQ(text.substr(0, 2), L"2\n");
    EXPECT_TRUE(text.ends_with(L" " + parameters + L"\n")) << ::testing::PrintToString(text);
}

HWND BoxOfThisProcess()
{
    for (HWND box = nullptr; (box = FindWindowExW(nullptr, box, L"#32770", nullptr)) != nullptr;)
    {
        DWORD processId = 0;
        GetWindowThreadProcessId(box, &processId);
        if (processId == GetCurrentProcessId() && IsWindowVisible(box))
        {
            return box;
        }
    }
    return nullptr;
}

// Closes the shell's boxes as the user would until the command has its reply.
struct Answered
{
    std::wstring reply;
    bool hasAsked = false;
};

Answered ReplyWithTheUser(const std::wstring& command)
{
    Answered answered;
    std::atomic<bool> ended = false;
    std::thread library(
        [&]
        {
            answered.reply = ReplyTo(command);
            ended = true;
        });
    EXPECT_TRUE(TestSupport::WaitUntil(
        [&]
        {
            const HWND box = BoxOfThisProcess();
            if (box != nullptr)
            {
                EXPECT_FALSE(ended.load());
                answered.hasAsked = true;
                PostMessageW(box, WM_CLOSE, 0, 0);
            }
            return ended.load();
        }));
    library.join();
    return answered;
}

// The shell tells the user, who has to answer before the command goes on.
TEST_F(ShellCommandTest, WaitsForTheUserWhenTheShellFails)
{
    const std::wstring stranger = folder.Write(L"stranger.qxnosuchtype", "x");
    const auto [reply, hasAsked] = ReplyWithTheUser(Command(stranger, L",\"action\":\"open\""));
    EXPECT_TRUE(hasAsked);
    EXPECT_EQ(reply, L"{\"JD_COMMAND_ID\":1101,\"action\":\"open\",\"file\":\"" + InJson(stranger) +
                         L"\",\"param\":null,\"retCode\":-520159231,\"windowHandle\":null}");
    ASSERT_EQ(log.Texts().size(), 1U);
    EXPECT_TRUE(log.Texts()[0].starts_with(L": [ERROR] Failed to execute, [wstrFile=" + stranger +
                                           L"][wstrParam=][wstrVerb=open][GetLastError()="));
}

TEST_F(FakeShellCommandTest, PassesAnActionOfAnyLengthOn)
{
    for (const std::size_t length : {300U, 5000U})
    {
        const std::wstring action(length, L'v');
        ReplyTo(Command(file, L",\"action\":\"" + action + L"\""));
        EXPECT_EQ(shell.executions.back().verb, action);
    }
}
} // namespace
