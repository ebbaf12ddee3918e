#pragma once

#include "VzComn_Storage.h"

#include <cstdint>
#include <string>
#include <utility>

namespace VzCommon::Storage
{

// A failure at an XML document. The code is a Windows error code, or the parser library's own if errorText is
// not empty. Thrown and deleted as every exception of the library.
class XmlException : public Exception
{
public:
    XmlException(std::uint32_t errorCode, std::uint32_t sourceLine, std::string file,
                 std::uint64_t documentLine = 0, std::uint64_t documentColumn = 0, std::string text = {})
        : Exception(errorCode, sourceLine, std::move(file)), lineOfDocument(documentLine),
          columnOfDocument(documentColumn), errorText(std::move(text))
    {
    }

    const std::uint64_t lineOfDocument;   // from 1; 0 if the document's text is not what failed
    const std::uint64_t columnOfDocument; // from 0
    const std::string errorText;          // the parser library's, in the thread's ANSI code page
};

} // namespace VzCommon::Storage
