#pragma once

#include <string>

namespace WatchDog
{

// The agent's program file: in the registered product path, or else one folder above this program, which lies
// in the product's folder of binaries. Is not tested for existence.
[[nodiscard]] std::wstring AgentPath();

} // namespace WatchDog
