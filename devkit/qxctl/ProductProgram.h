#pragma once

#include <cstdint>
#include <string>

// The file under which this program belongs to one product. The link's library takes the product from the
// name of the running program, so each product has a copy of its own.
struct ProductProgram
{
    const wchar_t* suffix;
    const wchar_t* fileName;
    std::int32_t number; // of the product
};

// The row of a suffix, as the command line names it; "none" and nothing at all are the product without one.
// Null if there is no such product.
[[nodiscard]] const ProductProgram* FindProductProgram(const std::wstring& suffix);

// The row of the running program if its name has a suffix, else that of the product with the tray.
[[nodiscard]] const ProductProgram& DefaultProductProgram();

// True if the running program is that one.
[[nodiscard]] bool IsRunning(const ProductProgram& program);

// What stands behind the program's name in a command line, unchanged.
[[nodiscard]] std::wstring ArgumentsOf(const std::wstring& commandLine);

struct ProgramRun
{
    std::uint32_t error = 0; // Windows error code: the program could not be started
    std::uint32_t exitCode = 0;
};

// Starts a program with the given text behind its name and with this program's inputs and outputs, and waits
// for its end. It ends at the latest with this program.
[[nodiscard]] ProgramRun RunProgram(const std::wstring& path, const std::wstring& arguments);
