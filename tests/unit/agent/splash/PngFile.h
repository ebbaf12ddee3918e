#pragma once

#include <cstdint>
#include <string>

// The bytes of an image file of one colour, 0xAARRGGBB.
[[nodiscard]] std::string PngFile(std::uint32_t width, std::uint32_t height, std::uint32_t color);

// A file of one pixel that claims to hold more.
[[nodiscard]] std::string PngFileClaiming(std::uint32_t width, std::uint32_t height);
