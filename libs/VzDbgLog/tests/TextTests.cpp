#include "ImportPatch.h"
#include "LogTest.h"

namespace
{

using TextTest = LogTest;

constexpr std::size_t longestLine = 1024 * 1024;

std::wstring s_toDebugger;

void WINAPI TakeDebugText(const wchar_t* text)
{
    s_toDebugger += text;
}

TEST_F(TextTest, IsUtf8WithoutAMark)
{
    const TestLog log(library, Config());
    EXPECT_EQ(log.Trace(L"a\x7F\x80\x7FF\x800\xFFFD\xFFFF\xD800\xDC00\xDBFF\xDFFF\r\n"), 0U);
    EXPECT_EQ(
        AllText(),
        "a\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBD\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF\r\n");
}

TEST_F(TextTest, KeepsEachCharacterWhereverItStands)
{
    const TestLog log(library, Config());
    std::string expected;
    for (std::size_t at = 0; at < 40; ++at)
    {
        std::wstring line(40, L'x');
        line[at] = L'\x20AC';
        EXPECT_EQ(log.Trace(line + L"\r\n"), 0U);
        expected += std::string(at, 'x') + "\xE2\x82\xAC" + std::string(39 - at, 'x') + "\r\n";
    }
    EXPECT_EQ(AllText(), expected);
}

TEST_F(TextTest, ShowsALoneSurrogateAsAReplacement)
{
    const TestLog log(library, Config());
    EXPECT_EQ(log.Trace(L"\xD800|\xDC00|\xD800\xD800\xDC00|\xDC00\xD800\r\n"), 0U);
    EXPECT_EQ(log.Trace(L"end\xD800"), 0U);
    const std::string lone = "\xEF\xBF\xBD";
    EXPECT_EQ(AllText(),
              lone + "|" + lone + "|" + lone + "\xF0\x90\x80\x80|" + lone + lone + "\r\nend" + lone + "\r\n");
}

TEST_F(TextTest, GetsTheLineEndThatItLacks)
{
    const TestLog log(library, Config());
    EXPECT_EQ(log.Trace(L""), 0U);
    EXPECT_EQ(log.Trace(L"no end"), 0U);
    EXPECT_EQ(log.Trace(L"feed\n"), 0U);
    EXPECT_EQ(log.Trace(L"two\nin one\r\n"), 0U);
    EXPECT_EQ(AllText(), "\r\nno end\r\nfeed\ntwo\nin one\r\n");
}

TEST_F(TextTest, MayBeLong)
{
    for (const BYTE robust : {BYTE{0}, BYTE{1}})
    {
        VzDbgConfig config = Config();
        config.robust = robust;
        TestLog log(library, config);
        EXPECT_EQ(log.Trace(L"short\r\n"), 0U);
        EXPECT_EQ(log.Trace(std::wstring(100'000, L'\x20AC') + L"\r\n"), 0U);
        EXPECT_EQ(log.Trace(std::wstring(longestLine, L'm')), 0U);
        EXPECT_EQ(log.Trace(L"short\r\n"), 0U);
    }
    const std::string text = AllText();
    const std::size_t once = 7 + (300'000 + 2) + (longestLine + 2) + 7;
    ASSERT_EQ(text.size(), 2 * once);
    EXPECT_EQ(text.substr(0, once), text.substr(once));
    EXPECT_EQ(text.substr(7 + 300'000 - 3, 9), "\xE2\x82\xAC\r\nmmmm");
}

TEST_F(TextTest, IsCutAtTheLongestLine)
{
    const TestLog log(library, Config());
    EXPECT_EQ(log.Trace(std::wstring(longestLine, L'm') + L"beyond\r\n"), 0U);
    EXPECT_EQ(log.Trace(L"next\r\n"), 0U);
    const std::string text = AllText();
    ASSERT_EQ(text.size(), longestLine + 2 + 6);
    EXPECT_EQ(text.substr(longestLine - 1), "m\r\nnext\r\n");
}

TEST_F(TextTest, IsRefusedWithoutAnOpenLog)
{
    TestLog log(library, Config());
    void* const stale = log.Handle();
    log.Close();
    const TestLog other(library, Config());
    SYSTEMTIME time = At(1, 1);
    const wchar_t line[] = L"line\r\n";
    for (void* const handle :
         {static_cast<void*>(nullptr), stale, static_cast<void*>(&time), INVALID_HANDLE_VALUE})
    {
        EXPECT_EQ(library.trace(handle, &time, line), DWORD{ERROR_INVALID_HANDLE});
        EXPECT_EQ(library.uninitialize(handle), DWORD{ERROR_INVALID_HANDLE});
    }
    EXPECT_EQ(library.trace(other.Handle(), &time, nullptr), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(AllText(), "");
}

TEST_F(TextTest, NeedsNoTimeAndNoPossibleOne)
{
    VzDbgConfig config = Config();
    config.logUnitType = 1;
    const TestLog log(library, config);
    EXPECT_EQ(library.trace(log.Handle(), nullptr, L"none\r\n"), 0U);
    EXPECT_EQ(log.Trace(L"zero\r\n", SYSTEMTIME{}), 0U);
    SYSTEMTIME impossible{};
    std::fill_n(reinterpret_cast<BYTE*>(&impossible), sizeof(impossible), BYTE{0xFF});
    EXPECT_EQ(log.Trace(L"impossible\r\n", impossible), 0U);
    EXPECT_EQ(AllText(), "none\r\nzero\r\nimpossible\r\n");
}

TEST_F(TextTest, GoesToTheDebuggerToo)
{
    const TestSupport::ImportPatch patch(nullptr, "OutputDebugStringW", &TakeDebugText, library.Module());
    const TestLog quiet(library, Config());
    EXPECT_EQ(quiet.Trace(L"quiet\r\n"), 0U);
    VzDbgConfig config = Config();
    config.debugger = 1;
    const TestLog log(library, config);
    EXPECT_EQ(log.Trace(L"line\r\n"), 0U);
    EXPECT_EQ(s_toDebugger, L"line\r\n");
    EXPECT_EQ(AllText(), "line\r\nquiet\r\n");
}

TEST_F(TextTest, IsNotBegunWithoutARecordOrAPlaceForTheHandle)
{
    const VzDbgConfig config = Config();
    void* handle = &handle;
    EXPECT_EQ(library.initialize(&handle, nullptr), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(library.initialize(nullptr, &config), DWORD{ERROR_INVALID_PARAMETER});
}

} // namespace
