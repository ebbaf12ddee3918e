#pragma once

#include <windows.h>

#include <string>

struct VzDbgConfig;

namespace VzDbgLog
{

// How a log's file is closed by the clock, beside its size.
enum class Unit
{
    SizeOnly,
    Day,
    Hour,
};

// What the configuration record asks for. Constant once read.
struct Settings
{
    bool robust = false;   // every line is in the file before its call returns
    bool debugger = false; // every line goes to the debugger as well
    bool ownFile = false;  // a file of its own for each start of the process
    Unit unit = Unit::SizeOnly;
    std::wstring module;
    std::wstring folder;
    std::wstring prefix;
    std::wstring file;
    std::wstring extension;
};

// A string of the record ends at its terminator or with its field.
Settings ReadSettings(const VzDbgConfig& config);

} // namespace VzDbgLog
