#pragma once

#include "TempDir.h"
#include "VzDbgLog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

// The three exports of the built library, loaded as a foreign program loads it.
class LogLibrary
{
public:
    LogLibrary();
    ~LogLibrary();

    LogLibrary(const LogLibrary&) = delete;
    LogLibrary& operator=(const LogLibrary&) = delete;

    [[nodiscard]] HMODULE Module() const { return module; }

    decltype(&VzDbgInitialize) initialize = nullptr;
    decltype(&VzDbgTrace) trace = nullptr;
    decltype(&VzDbgUninitialize) uninitialize = nullptr;

private:
    HMODULE module;
};

// One open log. Ends with the scope.
class TestLog
{
public:
    TestLog(const LogLibrary& usedLibrary, const VzDbgConfig& config);

    ~TestLog() { Close(); }

    TestLog(const TestLog&) = delete;
    TestLog& operator=(const TestLog&) = delete;

    [[nodiscard]] bool IsOpen() const { return handle != nullptr; }

    [[nodiscard]] void* Handle() const { return handle; }

    // The library's answer to a line of the present time, or of another.
    std::uint32_t Trace(const std::wstring& line) const;
    std::uint32_t Trace(const std::wstring& line, const SYSTEMTIME& time) const;

    void Close();

private:
    const LogLibrary& library;
    void* handle = nullptr;
};

// A log folder of its own, and records that point there.
class LogTest : public testing::Test
{
protected:
    // Robust, module "Agent", prefix "qda", extension "log".
    [[nodiscard]] VzDbgConfig Config() const;

    // The names of all files in the folder, sorted.
    [[nodiscard]] std::vector<std::wstring> Files() const;

    // What all files of the folder hold together, in the order of their names.
    [[nodiscard]] std::string AllText() const;

    [[nodiscard]] std::string Read(const std::wstring& name) const { return folder.Read(name); }

    // "qda_Agent_s<session>", then the rest.
    [[nodiscard]] static std::wstring Name(const std::wstring& rest);

    TestSupport::TempDir folder;
    LogLibrary library;
};

// Copies a text into a field of the record, cut to its size.
template <std::size_t Size>
void Put(wchar_t (&field)[Size], const std::wstring& text)
{
    text.copy(field, Size - 1);
    field[std::min(text.size(), Size - 1)] = L'\0';
}

[[nodiscard]] SYSTEMTIME At(WORD day, WORD hour);

// A composed line with the given tag.
[[nodiscard]] std::wstring Line(const std::wstring& message, const std::wstring& tag = L".w.");

// In the place of GetTickCount64: a clock that stands until the test lets milliseconds pass.
ULONGLONG WINAPI StandingTick();
void LetPass(ULONGLONG milliseconds);
