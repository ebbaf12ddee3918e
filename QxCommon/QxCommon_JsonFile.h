#pragma once

#include <iosfwd>
#include <string>

// The two forms in which a JSON file is stored: plain, and the container, which is the magic "QXJSONDB" and
// behind it the enciphered text in hexadecimal digits.
namespace QxCommon::JsonFile
{

// Reads the stream to its end and gives the JSON text that the file holds, as well-formed UTF-8 up to its
// first NUL. Garbage or an empty text if the container is damaged.
[[nodiscard]] std::string ReadText(std::istream& file);

} // namespace QxCommon::JsonFile
