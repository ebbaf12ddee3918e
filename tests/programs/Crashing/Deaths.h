#pragma once

#include <map>
#include <string>

// Ways to die, by their names. The ones that end the process at once do so on the calling thread.

// Whether there is such a way.
[[nodiscard]] bool IsDeath(const std::wstring& name);

void DieOf(const std::wstring& name);

using Death = void (*)();

// The ones that programs seldom die of: states of the processor, of memory and of the system.
[[nodiscard]] const std::map<std::wstring, Death>& RareDeaths();
