#include "QxCommon_JsonReading.h"

#include "QxCommon_JsonBounds.h"

#include <json/reader.h>
#include <json/value.h>

#include <cstring>
#include <new>
#include <sstream>
#include <string_view>

// The reader whose behaviour is wanted here is the older one of the library.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace QxCommon::JsonReading
{
namespace
{
// Reads as the reader does, but lets a lack of memory out of the stream.
bool IsNumber(const std::string& text)
{
    std::istringstream stream(text);
    stream.exceptions(std::ios::badbit);
    double number = 0;
    return static_cast<bool>(stream >> number);
}

// What was a number all the time could not be read for want of memory.
void ThrowIfMemoryWasShort(const Json::Reader& reader, const std::string& text)
{
    constexpr std::string_view noNumber = "' is not a number.";
    for (const Json::Reader::StructuredError& error : reader.getStructuredErrors())
    {
        const auto begin = static_cast<std::size_t>(error.offset_start);
        const auto end = static_cast<std::size_t>(error.offset_limit);
        if (error.message.ends_with(noNumber) && IsNumber(text.substr(begin, end - begin)))
        {
            throw std::bad_alloc();
        }
    }
}
} // namespace

bool Read(Json::Value& node, const std::string& text)
{
    try
    {
        const JsonBounds::Bounds bounds = JsonBounds::Of(text);
        Json::Reader reader(Json::Features::all());
        if (reader.parse(text.data(), text.data() + bounds.length, node, bounds.keepsComments))
        {
            return true;
        }
        ThrowIfMemoryWasShort(reader, text);
    }
    catch (const Json::RuntimeError& error)
    {
        // Of its two reasons one is the text's; the other is the memory of the tree.
        if (std::strstr(error.what(), "stackLimit") == nullptr)
        {
            throw std::bad_alloc();
        }
    }
    catch (const Json::Exception&) // a text beyond the limits of the tree
    {
    }
    return false;
}

} // namespace QxCommon::JsonReading
