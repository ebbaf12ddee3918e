#pragma once

#include <string>

// The faults that FaultEngine commits, by name.
[[nodiscard]] bool IsFault(const std::wstring& name);

// Does not return: the process ends. An exception leaves it for "throw" alone.
void Commit(const std::wstring& name);
