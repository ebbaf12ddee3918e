#pragma once

#include <string>

namespace TestSupport
{

// Full path of a file that was built from a folder of tests/programs.
[[nodiscard]] std::wstring TestProgram(const std::wstring& folder, const std::wstring& file);

} // namespace TestSupport
