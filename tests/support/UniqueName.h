#pragma once

#include <string>

namespace TestSupport
{

// A name that no other test uses at this moment: the prefix, the process id and a counter.
[[nodiscard]] std::wstring UniqueName(const std::wstring& prefix);

} // namespace TestSupport
