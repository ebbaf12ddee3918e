#pragma once

#include "VzComn_XmlAttributes.h"

#include <array>
#include <cstddef>
#include <string>

namespace VzCommon::Storage
{

// An option of the parser, with its terminator.
using XmlOption = std::array<wchar_t, 260>;

// Something that a document holds.
struct XmlEvent
{
    enum class Kind
    {
        StartElement = 1, // text is the element's name
        EndElement = 2,   // text is the element's name
        Text = 3,
        Comment = 4,
        DefaultData = 5, // what has no event of its own, as it stands in the document
    };

    Kind kind = Kind::DefaultData;
    std::wstring text;
    XmlAttributes attributes; // of a start
};

// Where the events of a document come from. Belongs to one thread. Failures are thrown as XmlException.
class XmlParserSaxBase
{
public:
    XmlParserSaxBase() = default;
    virtual ~XmlParserSaxBase() = default;

    XmlParserSaxBase(const XmlParserSaxBase&) = delete;
    XmlParserSaxBase& operator=(const XmlParserSaxBase&) = delete;

    // False if it is open already.
    virtual bool Open(const XmlOption& filePath, const XmlOption& encoding, const XmlOption& pathOfDll) = 0;

    // Takes the next bytes of the document; isLast says that there are no more. Their events can be had then.
    virtual void Feed(const char* bytes, std::size_t length, bool isLast) = 0;

    // Takes the next event and drops it. Throws code 259 if there is none.
    virtual void ProcessEvents() = 0;

    virtual void Close() = 0;

    // Takes the next event. False if there is none until more bytes are fed.
    virtual bool NextEvent(XmlEvent& event) = 0;

    // True once the last bytes have been taken without a failure.
    [[nodiscard]] virtual bool IsFinished() const = 0;
};

} // namespace VzCommon::Storage
