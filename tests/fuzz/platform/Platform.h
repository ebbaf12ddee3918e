#pragma once

#include <cstdint>
#include <span>

// What the one file of this platform holds, whatever its name. Weak.
void SetFile(std::span<const std::uint8_t> bytes);

// The number of files and libraries that are open.
[[nodiscard]] int OpenObjects();
