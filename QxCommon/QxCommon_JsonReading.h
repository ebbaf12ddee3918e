#pragma once

#include <string>

namespace Json
{
class Value;
}

// The JSON library's reader, which takes a lack of memory for an error of the text.
namespace QxCommon::JsonReading
{

// False after a syntax error, or if the text is nested too deeply; the node then holds what stands before
// the error. Throws std::bad_alloc.
[[nodiscard]] bool Read(Json::Value& node, const std::string& text);

} // namespace QxCommon::JsonReading
