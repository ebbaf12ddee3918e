#include "XmlModel.h"

#include <algorithm>
#include <memory>
#include <string_view>

namespace XmlModel
{

namespace
{
constexpr std::size_t blockSize = 1024;
constexpr std::uint32_t endOfFile = 38;

using Parser = std::unique_ptr<XML_ParserStruct, decltype(XML_ParserFree)*>;

// In 16-bit units. The parser library gives well-formed UTF-8 alone.
std::wstring Widened(std::string_view text)
{
    std::wstring wide;
    std::uint32_t character = 0;
    int pending = 0;
    for (const char next : text)
    {
        const auto byte = static_cast<std::uint8_t>(next);
        const bool isFirst = (byte & 0xC0U) != 0x80U;
        if (isFirst)
        {
            pending = byte < 0x80 ? 0 : byte < 0xE0 ? 1 : byte < 0xF0 ? 2 : 3;
            character = pending == 0 ? byte : byte & (0x3FU >> pending);
        }
        else
        {
            character = character << 6U | (byte & 0x3FU);
            --pending;
        }
        if (pending == 0 && character > 0xFFFF)
        {
            wide += static_cast<wchar_t>(0xD7C0 + (character >> 10U));
            wide += static_cast<wchar_t>(0xDC00 + (character & 0x3FFU));
        }
        else if (pending == 0)
        {
            wide += static_cast<wchar_t>(character);
        }
    }
    return wide;
}

struct Reading
{
    std::vector<Element> elements;
    std::vector<std::size_t> open; // their places
};

void XMLCALL Start(void* userData, const char* name, const char** attributes)
{
    auto& reading = *static_cast<Reading*>(userData);
    Element element{reading.open.size(), Widened(name), {}, {}};
    for (; *attributes != nullptr; attributes += 2)
    {
        element.attributes.emplace_back(Widened(attributes[0]), Widened(attributes[1]));
    }
    reading.open.push_back(reading.elements.size());
    reading.elements.push_back(std::move(element));
}

void XMLCALL End(void* userData, const char* /*name*/)
{
    static_cast<Reading*>(userData)->open.pop_back();
}

void XMLCALL Text(void* userData, const char* text, int length)
{
    auto& reading = *static_cast<Reading*>(userData);
    const std::string_view piece(text, static_cast<std::size_t>(length));
    const bool isLineBreak = piece == "\n" || piece == "\r\n";
    if (!isLineBreak && piece.find_first_not_of(" \t\r") != std::string_view::npos)
    {
        reading.elements[reading.open.back()].text += Widened(piece);
    }
}

// That there is one keeps entities of the text from being expanded.
void XMLCALL Default(void* /*userData*/, const char* /*text*/, int /*length*/) {}

int XMLCALL SkipEntity(XML_Parser /*parser*/, const char* /*context*/, const char* /*base*/,
                       const char* /*systemId*/, const char* /*publicId*/)
{
    return 1;
}

Parser MakeParser(const Expat& expat, const char* encoding)
{
    Parser parser(expat.parserCreate(nullptr, nullptr, nullptr), expat.parserFree);
    expat.setEncoding(parser.get(), encoding);
    return parser;
}

bool Feed(const Expat& expat, const Parser& parser, Bytes block, bool isLast)
{
    const auto* const bytes = reinterpret_cast<const char*>(block.data());
    return expat.parse(parser.get(), bytes, static_cast<int>(block.size()), isLast ? 1 : 0) == XML_STATUS_OK;
}
} // namespace

Document Read(const Expat& expat, const char* encoding, Bytes bytes)
{
    Reading reading;
    const Parser parser = MakeParser(expat, encoding);
    expat.setUserData(parser.get(), &reading);
    expat.setElementHandler(parser.get(), &Start, &End);
    expat.setCharacterDataHandler(parser.get(), &Text);
    expat.setDefaultHandler(parser.get(), &Default);
    expat.setExternalEntityRefHandler(parser.get(), &SkipEntity);

    for (bool isLast = false; !isLast;)
    {
        const Bytes block = bytes.first(std::min(blockSize, bytes.size()));
        bytes = bytes.subspan(block.size());
        if (block.empty())
        {
            return {endOfFile, 0, 0, {}};
        }
        isLast = block.size() < blockSize;
        if (!Feed(expat, parser, block, isLast))
        {
            return {static_cast<std::uint32_t>(expat.getErrorCode(parser.get())),
                    expat.getCurrentLineNumber(parser.get()),
                    expat.getCurrentColumnNumber(parser.get()),
                    {}};
        }
    }
    return {0, 0, 0, std::move(reading.elements)};
}

bool IsAccepted(const Expat& expat, const char* encoding, Bytes bytes)
{
    return Feed(expat, MakeParser(expat, encoding), bytes, true);
}

} // namespace XmlModel
