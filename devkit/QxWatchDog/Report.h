#pragma once

#include <string>

// What the watchdog does, told to the product's log and, for people, to the program's output. Any thread.
namespace WatchDog
{

void Tell(const std::wstring& text);

// The same for what went wrong.
void Complain(const std::wstring& text);

// To the output alone.
void Print(const std::wstring& text);

} // namespace WatchDog
