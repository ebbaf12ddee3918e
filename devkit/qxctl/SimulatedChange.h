#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

// The changes of session, network and power that an agent can be told of, as data: parser, help and verb read
// the same rows.

// What the system would send to the agent's window.
struct Notice
{
    UINT message = 0;
    WPARAM wParam = 0;
    LPARAM lParam = 0;
    std::vector<std::byte> setting; // if not empty, lParam has to point at a copy in the agent's memory
};

struct ChangeRow
{
    const wchar_t* name;
    UINT message;
    WPARAM wParam;              // may be what the value replaces
    const wchar_t* placeholder; // of the value; null if it takes none
    bool isValueNeeded;
    const wchar_t* expected;                                  // completes "... is not"
    bool (*apply)(Notice& notice, const std::wstring& value); // false: the value is not what is expected
};

[[nodiscard]] std::span<const ChangeRow> ChangeRows();

struct ParsedChange
{
    Notice notice;
    std::wstring error; // one line; empty if change and value are right
};

// The notice of a change, as the command line names it.
[[nodiscard]] ParsedChange ParseChange(const std::wstring& change, const std::optional<std::wstring>& value);
