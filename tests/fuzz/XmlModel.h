#pragma once

#include "VzComn_Expat.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

// What a document holds, told once more by the parser library alone and as plainly as can be.
namespace XmlModel
{

using Expat = VzCommon::Library::Expat::Exports;
using Bytes = std::span<const std::uint8_t>;

struct Element
{
    std::size_t depth = 0; // of the document's first: 0
    std::wstring name;
    std::wstring text;
    std::vector<std::pair<std::wstring, std::wstring>> attributes;
};

struct Document
{
    std::uint32_t code = 0; // the parser library's, or 38 for a file that ends with a whole block
    std::uint64_t line = 0;
    std::uint64_t column = 0;
    std::vector<Element> elements; // in document order
};

// In blocks of 1024 bytes, of which one that is not full is the last.
[[nodiscard]] Document Read(const Expat& expat, const char* encoding, Bytes bytes);

// Whether the library takes the document all at once, with nothing asked of it.
[[nodiscard]] bool IsAccepted(const Expat& expat, const char* encoding, Bytes bytes);

} // namespace XmlModel
