#pragma once

#include <map>
#include <string>

// Dies of it in the place of that name: a kind of thread, a callback of the system, a moment of the process.
// False if there is no such place. Some places return, and the process dies at its end.
bool DieIn(const std::wstring& place, const std::wstring& death);

using Place = void (*)();

// Callbacks of the system, and moments at which something that the handling needs is held or gone.
[[nodiscard]] const std::map<std::wstring, Place>& RarePlaces();

// In a call of COM that the agent's sink is used in, on a thread of COM's own and by a window of the thread
// that made the object. Only of a sink that is no more: the name of the death does not count.
void InComThread();
void InComWindow();

// Dies of what was given to DieIn.
void Die();
