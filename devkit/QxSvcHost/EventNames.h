#pragma once

#include <string>
#include <string_view>

namespace SvcHost
{

// The name of the event in a request to the event center; "Event N" for a number without one, empty for what
// is no such request.
[[nodiscard]] std::wstring EventName(std::wstring_view request);

} // namespace SvcHost
