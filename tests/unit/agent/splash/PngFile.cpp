#include "PngFile.h"

#include <algorithm>
#include <cstddef>

namespace
{
std::string BigEndian(std::uint32_t number)
{
    return {static_cast<char>(number >> 24U), static_cast<char>(number >> 16U),
            static_cast<char>(number >> 8U), static_cast<char>(number)};
}

std::uint32_t Crc(const std::string& bytes)
{
    std::uint32_t crc = 0xFFFFFFFFU;
    for (const char byte : bytes)
    {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
        {
            crc = (crc & 1U) != 0 ? (crc >> 1U) ^ 0xEDB88320U : crc >> 1U;
        }
    }
    return ~crc;
}

std::string Chunk(const std::string& type, const std::string& data)
{
    return BigEndian(static_cast<std::uint32_t>(data.size())) + type + data + BigEndian(Crc(type + data));
}

// A stream of the compression's kind that compresses nothing.
std::string Stored(const std::string& data)
{
    constexpr std::size_t longestBlock = 65535;
    std::string stream = "\x78\x01";
    std::uint32_t a = 1;
    std::uint32_t b = 0;
    for (std::size_t begin = 0; begin < data.size(); begin += longestBlock)
    {
        const std::string block = data.substr(begin, longestBlock);
        const auto size = static_cast<std::uint32_t>(block.size());
        stream += static_cast<char>(begin + size == data.size() ? 1 : 0);
        for (const std::uint32_t half : {size, ~size})
        {
            stream += static_cast<char>(half);
            stream += static_cast<char>(half >> 8U);
        }
        stream += block;
    }
    for (const char byte : data)
    {
        a = (a + static_cast<unsigned char>(byte)) % 65521U;
        b = (b + a) % 65521U;
    }
    return stream + BigEndian(b << 16U | a);
}

std::string Rows(std::uint32_t width, std::uint32_t height, std::uint32_t color)
{
    const std::string bytes = BigEndian(color << 8U | color >> 24U); // red, green, blue, alpha
    std::string row(1, '\0');
    for (std::uint32_t x = 0; x < width; ++x)
    {
        row += bytes;
    }
    std::string rows;
    for (std::uint32_t y = 0; y < height; ++y)
    {
        rows += row;
    }
    return rows;
}

std::string File(std::uint32_t width, std::uint32_t height, const std::string& rows)
{
    const std::string header = BigEndian(width) + BigEndian(height) + std::string("\x08\x06\0\0\0", 5);
    return "\x89PNG\r\n\x1A\n" + Chunk("IHDR", header) + Chunk("IDAT", Stored(rows)) + Chunk("IEND", "");
}
} // namespace

std::string PngFile(std::uint32_t width, std::uint32_t height, std::uint32_t color)
{
    return File(width, height, Rows(width, height, color));
}

std::string PngFileClaiming(std::uint32_t width, std::uint32_t height)
{
    return File(width, height, Rows(1, 1, 0xFF0000FFU));
}
