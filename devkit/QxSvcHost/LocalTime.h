#pragma once

#include <string>

namespace SvcHost
{

// Now, as "YYYY-MM-DDTHH:MM:SS.mmm" in local time.
[[nodiscard]] std::wstring LocalTimeText();

} // namespace SvcHost
