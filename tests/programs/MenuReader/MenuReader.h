#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

// A menu can be read by its own process alone. winprobe therefore lets the other process load MenuReader.dll,
// which does its work while it is being loaded and then refuses to stay. The two share a section that is
// named after the other process.
struct MenuReading
{
    std::uint64_t window; // in: the popup's window
    std::uint64_t menu;   // in
    std::uint32_t size;   // out: of the text in bytes, 0 until the menu was read
    char text[1];         // out: a record a line, down to the end of the section
};

constexpr std::size_t menuReadingSize = std::size_t{16} << 20;

inline std::wstring MenuReadingName(DWORD process)
{
    return L"Local\\MenuReading." + std::to_wstring(process);
}
