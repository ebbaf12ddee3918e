#pragma once

#include <filesystem>
#include <map>
#include <string>

// What the kernel below the desktop tells about a program, in files.

[[nodiscard]] std::string ReadWhole(const std::filesystem::path& file);

// The folder that the kernel keeps about a program; empty if it does not run.
[[nodiscard]] std::filesystem::path KernelFolder(const std::string& program);

// Processor time of each thread so far, in nanoseconds, by the thread's number.
using ThreadTimes = std::map<std::wstring, long long>;

[[nodiscard]] ThreadTimes TimesOf(const std::filesystem::path& kernelFolder);

// Milliseconds of processor time between the two. What a thread that has ended meanwhile took is not in it.
[[nodiscard]] double ProcessorMilliseconds(const ThreadTimes& before, const ThreadTimes& after);
