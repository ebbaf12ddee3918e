#include "LogFixture.h"

#include "ImportPatch.h"

#include <regex>
#include <string_view>

using testing::ElementsAre;
using TestSupport::ImportPatch;
using namespace VzCommon;

namespace
{

class LogLineTest : public LogFixture
{
protected:
    LogLineTest()
    {
        Configure("Enable=1\r\nLevel=0xFFFFFFFF");
        EXPECT_TRUE(Initialize());
    }

    // The one line that the writer has.
    std::wstring Line() const
    {
        const auto lines = writer.Lines();
        EXPECT_EQ(lines.size(), 1U);
        return lines.empty() ? L"" : lines[0];
    }

    // The message of the last line.
    std::wstring LastMessage() const
    {
        const std::wstring begin = L"<Test> ";
        const std::wstring end = L" - Source(12)\r\n";
        const std::wstring line = writer.Lines().back();
        const std::size_t text = line.find(begin) + begin.size();
        EXPECT_TRUE(line.ends_with(end));
        return line.substr(text, line.size() - text - end.size());
    }
};

TEST_F(LogLineTest, HasTheFormOfALine)
{
    ASSERT_TRUE(Trace(LogLevel::Info, L"message"));
    EXPECT_TRUE(std::regex_match(
        Line(), std::wregex(L"[0-3][0-9]/[01][0-9]/20[0-9]{2} [0-2][0-9]:[0-5][0-9]:[0-5][0-9]\\.[0-9]{3} "
                            L"[0-9a-f]{4,8}:[0-9a-f]{4,8} \\.w\\. <Test> message - Source\\(12\\)\r\n")))
        << testing::PrintToString(Line());
}

void WINAPI FakeGetLocalTime(SYSTEMTIME* time)
{
    *time = {2026, 11, 6, 14, 2, 59, 37, 123};
}

DWORD WINAPI FakeGetCurrentProcessId()
{
    return 0xA3C;
}

DWORD WINAPI FakeGetCurrentThreadId()
{
    return 0x1F08;
}

TEST_F(LogLineTest, ReadsToTheLetter)
{
    ASSERT_TRUE(Initialize(L"QxSessionAgent"));
    const ImportPatch time(nullptr, "GetLocalTime", &FakeGetLocalTime);
    {
        const ImportPatch process(nullptr, "GetCurrentProcessId", &FakeGetCurrentProcessId);
        const ImportPatch thread(nullptr, "GetCurrentThreadId", &FakeGetCurrentThreadId);
        log.Trace("..\\..\\agent\\events\\PowerEventHandler", 153, LogLevel::Error,
                  L": [ERROR] RegisterRPC failed...Error Code=%d", 5);
    }
    EXPECT_EQ(Line(), L"14/11/2026 02:59:37.123 0a3c:1f08 !!! <QxSessionAgent> "
                      L": [ERROR] RegisterRPC failed...Error Code=5 - PowerEventHandler(153)\r\n");
    EXPECT_EQ(writer->Time(0).wMilliseconds, 123);
    EXPECT_EQ(writer->Time(0).wYear, 2026) << "the writer gets the time of the line";
}

TEST_F(LogLineTest, TakesTheTagFromTheLevelAlone)
{
    const std::pair<std::uint32_t, std::wstring> tags[] = {
        {0x1, L".w."},   {0x10, L"@@@"}, {0x100, L"!!!"}, {0x1000, L"???"},     {0x10000000, L"???"},
        {0x101, L"???"}, {0x11, L"???"}, {0x2, L"???"},   {0x80000000, L"???"},
    };
    for (const auto& [level, tag] : tags)
    {
        ASSERT_TRUE(Trace(level, L"x"));
        EXPECT_EQ(Rests().back(), tag + L" <Test> x - Source(12)\r\n") << level;
    }
}

TEST_F(LogLineTest, HoldsMessagesOfAnyLength)
{
    for (const std::size_t length :
         {0, 1, 254, 255, 256, 257, 511, 512, 513, 1023, 1024, 65535, 65536, 100000})
    {
        const std::wstring text(length, L'x');
        ASSERT_TRUE(Trace(LogLevel::Info, text.c_str())) << length;
        EXPECT_EQ(LastMessage(), text) << length;
        ASSERT_TRUE(log.Trace("Source", 12, LogLevel::Info, L"%s", text.c_str())) << length;
        EXPECT_EQ(LastMessage(), text) << length;
    }
}

TEST_F(LogLineTest, HoldsModuleNamesOfAnyLength)
{
    for (const std::size_t length : {1, 31, 32, 200, 5000})
    {
        const std::wstring name(length, L'n');
        ASSERT_TRUE(Initialize(name));
        ASSERT_TRUE(Trace(LogLevel::Info, L"x"));
        EXPECT_EQ(Rests().back(), L".w. <" + name + L"> x - Source(12)\r\n");
    }
}

TEST_F(LogLineTest, UsesTheModuleNameAsItStands)
{
    ASSERT_TRUE(Initialize(L"100%s"));
    ASSERT_TRUE(Trace(LogLevel::Info, L"x"));
    EXPECT_EQ(Rests().back(), L".w. <100%s> x - Source(12)\r\n");
}

TEST_F(LogLineTest, ReducesTheSourceToItsBaseName)
{
    const std::pair<const char*, std::wstring> sources[] = {
        {"C:\\agent\\tray\\MainFrm", L"MainFrm"},
        {"agent/tray/MainFrm", L"MainFrm"},
        {"..\\..\\tray/MainFrm", L"MainFrm"},
        {"MainFrm", L"MainFrm"},
        {"a.b\\MainFrm.x", L"MainFrm.x"},
        {"tray\\100%s", L"100%s"},
        {"tray\\M\xE4in", L"M\x00E4in"},
        {"", L""},
        {nullptr, L""},
    };
    for (const auto& [file, name] : sources)
    {
        ASSERT_TRUE(log.Trace(file, 7, LogLevel::Info, L"x"));
        EXPECT_EQ(Rests().back(), L".w. <Test> x - " + name + L"(7)\r\n");
    }
}

TEST_F(LogLineTest, HoldsTheGreatestLineNumber)
{
    ASSERT_TRUE(log.Trace("f", 0xFFFFFFFFU, LogLevel::Info, L"x"));
    EXPECT_EQ(Rests().back(), L".w. <Test> x - f(4294967295)\r\n");
}

TEST_F(LogLineTest, HoldsTextOutsideOfTheCodePage)
{
    const std::wstring text = L"\x0416\x4E2D \xD83D\xDE00\t\x0001\r\n\xFFFF";
    ASSERT_TRUE(log.Trace("Source", 12, LogLevel::Info, L"%s", text.c_str()));
    EXPECT_EQ(LastMessage(), text);
    ASSERT_TRUE(Trace(LogLevel::Info, text.c_str()));
    EXPECT_EQ(LastMessage(), text);
}

TEST_F(LogLineTest, WritesTheLineOfAFormatThatIsRefused)
{
    // The C library may pass over what it does not know, or refuse it; it must neither hang nor lose the
    // line.
    for (const wchar_t* format : {L"%q", L"text %", L"%", L"%%%", L"%z", L"%-", L"%99", L"%.", L"%l"})
    {
        ASSERT_TRUE(Trace(LogLevel::Info, format));
        EXPECT_LE(LastMessage().size(), std::wcslen(format));
    }
    ASSERT_TRUE(Trace(LogLevel::Info, nullptr));
    EXPECT_EQ(LastMessage(), L"");
}

decltype(&MultiByteToWideChar) s_multiByteToWideChar = nullptr;

// The bytes of a name that the code page has to widen; a plain one needs no code page.
constexpr const char* widenedSource = "S\xF6urce";

// Fails for the name of the source alone.
int WINAPI RefuseSource(UINT codePage, DWORD flags, const char* text, int length, wchar_t* wide, int room)
{
    if (std::string_view(text, static_cast<std::size_t>(length)) == widenedSource)
    {
        return 0;
    }
    return s_multiByteToWideChar(codePage, flags, text, length, wide, room);
}

TEST_F(LogLineTest, LosesOnlyTheLineThatCannotBeComposed)
{
    {
        const ImportPatch patch(nullptr, "MultiByteToWideChar", &RefuseSource);
        s_multiByteToWideChar = patch.Original<decltype(MultiByteToWideChar)>();
        EXPECT_FALSE(log.Trace(widenedSource, 12, LogLevel::Info, L"lost"));
        EXPECT_TRUE(log.Trace("Other", 7, LogLevel::Info, L"other"));
    }
    EXPECT_TRUE(Trace(LogLevel::Info, L"next"));
    EXPECT_THAT(Rests(),
                ElementsAre(L".w. <Test> other - Other(7)\r\n", L".w. <Test> next - Source(12)\r\n"));
}

} // namespace
