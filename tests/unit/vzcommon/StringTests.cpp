#include "VzComn_String.h"

#include "ImportPatch.h"
#include "Thrown.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace String = VzCommon::String;
using TestSupport::Thrown;

namespace
{

size_t g_largestAllocation = SIZE_MAX;

// For the length of a scope the program cannot have more than so much memory in one piece.
class MemoryLimit
{
public:
    explicit MemoryLimit(size_t bytes) { g_largestAllocation = bytes; }

    ~MemoryLimit() { g_largestAllocation = SIZE_MAX; }

    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;
};

// Promises two characters and gives one.
int WINAPI ShrinkingConversion(UINT /*codePage*/, DWORD /*flags*/, const char* /*text*/, int /*length*/,
                               wchar_t* target, int /*room*/)
{
    return target == nullptr ? 2 : 1;
}

int __cdecl FailToConvert(wchar_t* /*text*/, size_t /*room*/, size_t /*count*/, const wchar_t* /*format*/,
                          va_list /*arguments*/)
{
    errno = EILSEQ;
    return -1;
}

// Counts the rounds that a text needs, the way callers with a va_list loop.
int RoundsOf(std::wstring& text, const wchar_t* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    int rounds = 1;
    while (!String::FormatV(text, format, arguments))
    {
        ++rounds;
    }
    va_end(arguments);
    return rounds;
}

} // namespace

void* operator new(size_t size)
{
    void* memory = size <= g_largestAllocation ? std::malloc(size) : nullptr;
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    return memory;
}

// Not inlined: the compiler would take the free there for a mismatch.
[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, size_t /*size*/) noexcept
{
    std::free(memory);
}

TEST(StringFormatTest, ReadsWideArguments)
{
    EXPECT_EQ(String::Format(L"-p \"%s\" %d \"%s\" 0x%08X %3s", L"Main", 7, L"x", 0x424U, L".w."),
              L"-p \"Main\" 7 \"x\" 0x00000424 .w.");
}

TEST(StringFormatTest, GivesTextsOfEveryLength)
{
    for (const size_t length : {0U, 1U, 254U, 255U, 256U, 257U, 511U, 512U, 513U, 100000U})
    {
        const std::wstring text(length, L'x');
        EXPECT_EQ(String::Format(L"%s", text.c_str()), text) << length;
    }
}

TEST(StringFormatTest, StartsWith256CharactersAndDoubles)
{
    const struct
    {
        size_t length;
        int rounds;
    } rows[] = {{0, 1}, {255, 1}, {256, 2}, {511, 2}, {512, 3}, {1023, 3}, {1024, 4}};

    for (const auto& row : rows)
    {
        std::wstring text;
        EXPECT_EQ(RoundsOf(text, L"%s", std::wstring(row.length, L'x').c_str()), row.rounds) << row.length;
        EXPECT_EQ(text.size(), row.length);
    }
}

TEST(StringFormatTest, TakesTheSameArgumentsInEveryRound)
{
    const std::wstring filler(2000, L'-');
    std::wstring text;
    EXPECT_EQ(RoundsOf(text, L"%d%s%d%s", 1, filler.c_str(), 2, L"end"), 4);
    EXPECT_EQ(text, L"1" + filler + L"2end");
}

TEST(StringFormatTest, RefusesABadConversion)
{
    for (const wchar_t* format : {L"%q", L"100%", L"text %"})
    {
        const auto thrown = Thrown<String::Exception>([&] { static_cast<void>(String::Format(format)); });
        ASSERT_NE(thrown, nullptr) << format;
        EXPECT_EQ(thrown->code, 160U);
    }
}

TEST(StringFormatTest, RefusesABadConversionBehindALongText)
{
    const std::wstring format = std::wstring(5000, L'x') + L"%";
    EXPECT_NE(Thrown<String::Exception>([&] { static_cast<void>(String::Format(format.c_str())); }), nullptr);
}

TEST(StringFormatTest, RefusesWhatTheLibraryCannotConvert)
{
    const TestSupport::ImportPatch patch(nullptr, "_vsnwprintf_s", &FailToConvert);
    const MemoryLimit limit(50000); // where doubling without end would end
    const auto thrown = Thrown<String::Exception>([] { static_cast<void>(String::Format(L"%S", "x")); });
    ASSERT_NE(thrown, nullptr);
    EXPECT_EQ(thrown->code, 160U);
}

TEST(StringFormatTest, ReportsThatThereIsNoRoom)
{
    const std::wstring text(100000, L'x');
    const MemoryLimit limit(50000);
    const auto thrown =
        Thrown<String::Exception>([&] { static_cast<void>(String::Format(L"%s", text.c_str())); });
    ASSERT_NE(thrown, nullptr);
    EXPECT_EQ(thrown->code, 6U);
}

TEST(StringFormatTest, RefusesANullFormat)
{
    EXPECT_NE(Thrown<String::Exception>([] { static_cast<void>(String::Format(nullptr)); }), nullptr);
}

TEST(StringFormatTest, IgnoresAnOldErrorNumber)
{
    errno = EINVAL;
    EXPECT_EQ(String::Format(L"%s", std::wstring(1000, L'x').c_str()).size(), 1000U);
}

TEST(StringFromUtf8Test, Widens)
{
    EXPECT_EQ(String::FromUtf8("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"), L"a\u00E4\u20AC\xD83D\xDE00");
}

TEST(StringFromUtf8Test, LeavesAnEmptyTextEmpty)
{
    EXPECT_EQ(String::FromUtf8(""), L"");
    EXPECT_EQ(String::FromUtf8({}), L"");
}

TEST(StringFromUtf8Test, KeepsCharactersBehindAZero)
{
    EXPECT_EQ(String::FromUtf8(std::string_view("a\0b", 3)), std::wstring(L"a\0b", 3));
}

TEST(StringFromUtf8Test, ReplacesBadBytes)
{
    EXPECT_EQ(String::FromUtf8("a\xFFz"), L"a\xFFFDz");
}

TEST(StringFromUtf8Test, RefusesATextThatChangesItsLength)
{
    const TestSupport::ImportPatch patch(nullptr, "MultiByteToWideChar", &ShrinkingConversion);
    const auto thrown = Thrown<String::Exception>([] { static_cast<void>(String::FromUtf8("ab")); });
    ASSERT_NE(thrown, nullptr);
    EXPECT_EQ(thrown->code, 13U);
}

TEST(StringFromUtf8Test, ReportsThatThereIsNoRoom)
{
    const std::string text(100000, 'x');
    const MemoryLimit limit(50000);
    const auto thrown = Thrown<String::Exception>([&] { static_cast<void>(String::FromUtf8(text)); });
    ASSERT_NE(thrown, nullptr);
    EXPECT_EQ(thrown->code, 6U);
}

TEST(StringFromUtf8Test, RefusesATextThatIsTooLongForTheSystem)
{
    const std::string_view text("x", static_cast<size_t>(INT_MAX) + 1); // of which nothing is read
    const auto thrown = Thrown<String::Exception>([&] { static_cast<void>(String::FromUtf8(text)); });
    ASSERT_NE(thrown, nullptr);
    EXPECT_EQ(thrown->code, 6U);
}

TEST(StringFromUtf8Test, WidensLongTexts)
{
    EXPECT_EQ(String::FromUtf8(std::string(100000, 'x')), std::wstring(100000, L'x'));
}

TEST(StringFromAnsiTest, WidensPlainNames)
{
    EXPECT_EQ(String::FromAnsi("VzComn_String"), L"VzComn_String");
    EXPECT_EQ(String::FromAnsi(""), L"");
}

TEST(StringTest, EnsureBackslashAddsOneAtMost)
{
    EXPECT_EQ(String::EnsureBackslash(L"C:\\folder"), L"C:\\folder\\");
    EXPECT_EQ(String::EnsureBackslash(L"C:\\folder\\"), L"C:\\folder\\");
    EXPECT_EQ(String::EnsureBackslash(L"C:/folder/"), L"C:/folder/\\");
    EXPECT_EQ(String::EnsureBackslash(L"\\"), L"\\");
}

TEST(StringTest, EnsureBackslashLeavesAnEmptyTextEmpty)
{
    EXPECT_EQ(String::EnsureBackslash(L""), L"");
}

TEST(StringTest, TrimRemovesBlanksOnly)
{
    EXPECT_EQ(String::TrimLeft(L"  a b "), L"a b ");
    EXPECT_EQ(String::TrimRight(L"  a b "), L"  a b");
    EXPECT_EQ(String::Trim(L"  a b "), L"a b");
    EXPECT_EQ(String::Trim(L" \t a\r\n "), L"\t a\r\n");
    EXPECT_EQ(String::Trim(L" \u00A0 "), L"\u00A0");
    EXPECT_EQ(String::Trim(L"   "), L"");
    EXPECT_EQ(String::Trim(L""), L"");
}

TEST(StringTest, CompareNoCaseOrders)
{
    EXPECT_EQ(String::CompareNoCase(L"QxWatchDog.EXE", L"qxwatchdog.exe"), 0);
    EXPECT_LT(String::CompareNoCase(L"a", L"B"), 0);
    EXPECT_GT(String::CompareNoCase(L"ab", L"A"), 0);
}
