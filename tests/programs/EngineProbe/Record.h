#pragma once

#include <string>

// What happened in the library, in order. Any thread.
namespace Record
{

// Also appends a line to the file that the environment variable QX_ENGINE_RECORD names, if it does.
void Add(const std::wstring& event);

// The events so far, each ended by ";". Valid until the next event.
[[nodiscard]] const wchar_t* Events();

} // namespace Record
