#pragma once

#include "VzComn_Library.h"

#include <expat.h>

namespace VzCommon::Library
{

// The XML parser libexpat.dll. Used by one thread at a time.
class Expat : public Wrapper
{
public:
    // The exports, under their names less the prefix. All null while the table is not bound.
    struct Exports
    {
        decltype(XML_ParserCreate_MM)* parserCreate = nullptr;
        decltype(XML_ParserFree)* parserFree = nullptr;
        decltype(XML_SetUserData)* setUserData = nullptr;
        decltype(XML_SetElementHandler)* setElementHandler = nullptr;
        decltype(XML_SetCharacterDataHandler)* setCharacterDataHandler = nullptr;
        decltype(XML_SetProcessingInstructionHandler)* setProcessingInstructionHandler = nullptr;
        decltype(XML_SetDefaultHandler)* setDefaultHandler = nullptr;
        decltype(XML_SetUnparsedEntityDeclHandler)* setUnparsedEntityDeclHandler = nullptr;
        decltype(XML_SetExternalEntityRefHandler)* setExternalEntityRefHandler = nullptr;
        decltype(XML_SetNotationDeclHandler)* setNotationDeclHandler = nullptr;
        decltype(XML_SetNotStandaloneHandler)* setNotStandaloneHandler = nullptr;
        decltype(XML_SetNamespaceDeclHandler)* setNamespaceDeclHandler = nullptr;
        decltype(XML_SetCommentHandler)* setCommentHandler = nullptr;
        decltype(XML_SetEncoding)* setEncoding = nullptr;
        decltype(XML_Parse)* parse = nullptr;
        decltype(XML_ParseBuffer)* parseBuffer = nullptr;
        decltype(XML_GetBuffer)* getBuffer = nullptr;
        decltype(XML_StopParser)* stopParser = nullptr;
        decltype(XML_ResumeParser)* resumeParser = nullptr;
        decltype(XML_GetParsingStatus)* getParsingStatus = nullptr;
        decltype(XML_GetErrorCode)* getErrorCode = nullptr;
        decltype(XML_ErrorString)* errorString = nullptr;
        decltype(XML_GetCurrentLineNumber)* getCurrentLineNumber = nullptr;
        decltype(XML_GetCurrentColumnNumber)* getCurrentColumnNumber = nullptr;
    };

    // Resolves all exports or none; the error is that of the first missing one.
    bool Bind(bool bind, std::uint32_t* error) override;

    // To be called only while bound.
    [[nodiscard]] const Exports& Table() const { return exports; }

private:
    Exports exports;
};

} // namespace VzCommon::Library
