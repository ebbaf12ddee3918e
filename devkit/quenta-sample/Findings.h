#pragma once

#include <cstdint>
#include <set>

// What an inspection of this sample finds: three things with the numbers 1 to 3, two of which can be fixed.
struct Finding
{
    std::uint32_t id;
    const wchar_t* description; // JSON: {"title": "...", "fixable": true or false}
    bool isFixable;
};

// Null if there is none of that number.
[[nodiscard]] const Finding* FindFinding(std::uint32_t id);

// The numbers of those that can be fixed.
[[nodiscard]] std::set<std::uint32_t> FixableFindings();
