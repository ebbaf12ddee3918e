#pragma once

#include <span>
#include <string>

#include "Arguments.h"

// What the command line understands, as data: parser and help read the same rows.

struct VerbRow
{
    Verb verb;
    const wchar_t* name;
    const wchar_t* usage;   // behind "qxctl "
    const wchar_t* summary; // one line
    const wchar_t* details; // whole lines
};

struct Option
{
    std::uint32_t verbs; // a bit each, see BitOf
    const wchar_t* name;
    const wchar_t* placeholder; // of its value; null if it takes none
    const wchar_t* expected;    // completes "... is not"
    const wchar_t* help;
    bool (*apply)(Arguments& arguments,
                  const std::wstring& value); // false: the value is not what is expected
};

constexpr std::uint32_t BitOf(Verb verb)
{
    return 1U << static_cast<std::uint32_t>(verb);
}

[[nodiscard]] std::span<const VerbRow> VerbRows();
[[nodiscard]] std::span<const Option> OptionRows();

// These give null if there is none.
[[nodiscard]] const VerbRow* FindVerb(const std::wstring& name);
[[nodiscard]] const VerbRow* FindVerb(Verb verb);
[[nodiscard]] const Option* FindOption(Verb verb, const std::wstring& name);

// What the arguments lack together, or which of them exclude each other; empty if they are right.
[[nodiscard]] std::wstring FindMistake(const Arguments& arguments);
