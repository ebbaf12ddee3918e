#pragma once

#include <map>
#include <string>

// Dies of it in the place of that name: a kind of thread, a callback of the system, a moment of the process.
// False if there is no such place. Some places return, and the process dies at its end.
bool DieIn(const std::wstring& place, const std::wstring& death);

using Place = void (*)();

// Callbacks of the system, and moments at which something that the handling needs is held or gone.
[[nodiscard]] const std::map<std::wstring, Place>& RarePlaces();

// Dies of what was given to DieIn.
void Die();
