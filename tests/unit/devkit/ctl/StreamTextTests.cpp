#include "StreamText.h"

#include <gmock/gmock.h>

#include "ImportPatch.h"
#include "TempDir.h"
#include "VzComn_Handle.h"

namespace
{
std::string WrittenToFile(const std::wstring& text)
{
    const TestSupport::TempDir folder;
    {
        const VzCommon::FileHandle file(
            CreateFileW(folder.Path(L"out").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
        EXPECT_TRUE(WriteText(file.Get(), text));
    }
    return folder.Read(L"out");
}

std::vector<std::wstring> g_console;

BOOL WINAPI FakeGetConsoleMode(HANDLE /*handle*/, LPDWORD mode)
{
    *mode = 0;
    return TRUE;
}

// Takes a part of what it is given, as a console may.
BOOL WINAPI FakeWriteConsoleW(HANDLE /*handle*/, const void* text, DWORD size, LPDWORD written,
                              LPVOID /*none*/)
{
    *written = size > 5 ? size - 5 : size;
    g_console.emplace_back(static_cast<const wchar_t*>(text), *written);
    return TRUE;
}

TEST(StreamTextTest, IsUtf8WithoutAMarkInAFile)
{
    EXPECT_EQ(WrittenToFile(L"a\x4E09\xD83D\xDE00\n"), "a\xE4\xB8\x89\xF0\x9F\x98\x80\n");
    EXPECT_EQ(WrittenToFile(L""), "");
    EXPECT_EQ(WrittenToFile(std::wstring(3000000, L'x')), std::string(3000000, 'x'));
}

TEST(StreamTextTest, IsWideOnAConsole)
{
    const TestSupport::ImportPatch mode(nullptr, "GetConsoleMode", &FakeGetConsoleMode);
    const TestSupport::ImportPatch write(nullptr, "WriteConsoleW", &FakeWriteConsoleW);
    const std::wstring text = std::wstring(20000, L'\x4E09') + L"end";
    EXPECT_TRUE(WriteText(nullptr, text));
    std::wstring all;
    for (const std::wstring& piece : g_console)
    {
        EXPECT_LE(piece.size(), 8192U);
        all += piece;
    }
    EXPECT_EQ(all, text);
}

TEST(StreamTextTest, FailsWhenNobodyTakesIt)
{
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    ASSERT_TRUE(CreatePipe(&read, &write, nullptr, 0));
    const VzCommon::KernelHandle writer(write);
    VzCommon::KernelHandle(read).Reset();
    EXPECT_FALSE(WriteText(writer.Get(), L"x"));
    EXPECT_FALSE(WriteText(nullptr, L"x"));
    EXPECT_FALSE(WriteText(INVALID_HANDLE_VALUE, L"x"));
}
} // namespace
