#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace SvcHost
{

// A request beyond so many characters is not looked into, for parsing takes many times the memory of the
// text. It is as much of a request as the journal keeps.
inline constexpr std::size_t LongestEvent = 32'768;

// The name of the event in a request to the event center; "Event N" for a number without one, empty for what
// is no such request or too long a one.
[[nodiscard]] std::wstring EventName(std::wstring_view request);

} // namespace SvcHost
