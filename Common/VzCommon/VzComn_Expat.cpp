#include "VzComn_Expat.h"

#include "VzComn_Error.h"

namespace VzCommon::Library
{

namespace
{

// Resolves one export after the other until one is missing.
class Binding
{
public:
    explicit Binding(const Base& library) : m_library(library) {}

    template <typename Function>
    void operator()(const wchar_t* name, Function*& address)
    {
        if (m_error == ERROR_SUCCESS)
        {
            m_library.Resolve(name, address, &m_error);
        }
    }

    [[nodiscard]] std::uint32_t Error() const { return m_error; }

private:
    const Base& m_library;
    std::uint32_t m_error = ERROR_SUCCESS;
};

std::uint32_t ResolveAll(const Base& library, Expat::Exports& found)
{
    Binding binding(library);
    binding(L"XML_ParserCreate_MM", found.parserCreate);
    binding(L"XML_ParserFree", found.parserFree);
    binding(L"XML_SetUserData", found.setUserData);
    binding(L"XML_SetElementHandler", found.setElementHandler);
    binding(L"XML_SetCharacterDataHandler", found.setCharacterDataHandler);
    binding(L"XML_SetProcessingInstructionHandler", found.setProcessingInstructionHandler);
    binding(L"XML_SetDefaultHandler", found.setDefaultHandler);
    binding(L"XML_SetUnparsedEntityDeclHandler", found.setUnparsedEntityDeclHandler);
    binding(L"XML_SetExternalEntityRefHandler", found.setExternalEntityRefHandler);
    binding(L"XML_SetNotationDeclHandler", found.setNotationDeclHandler);
    binding(L"XML_SetNotStandaloneHandler", found.setNotStandaloneHandler);
    binding(L"XML_SetNamespaceDeclHandler", found.setNamespaceDeclHandler);
    binding(L"XML_SetCommentHandler", found.setCommentHandler);
    binding(L"XML_SetEncoding", found.setEncoding);
    binding(L"XML_Parse", found.parse);
    binding(L"XML_ParseBuffer", found.parseBuffer);
    binding(L"XML_GetBuffer", found.getBuffer);
    binding(L"XML_StopParser", found.stopParser);
    binding(L"XML_ResumeParser", found.resumeParser);
    binding(L"XML_GetParsingStatus", found.getParsingStatus);
    binding(L"XML_GetErrorCode", found.getErrorCode);
    binding(L"XML_ErrorString", found.errorString);
    binding(L"XML_GetCurrentLineNumber", found.getCurrentLineNumber);
    binding(L"XML_GetCurrentColumnNumber", found.getCurrentColumnNumber);
    return binding.Error();
}

} // namespace

bool Expat::Bind(bool bind, std::uint32_t* error)
{
    bound = false;
    exports = {};
    if (!bind)
    {
        return Succeed(error);
    }
    Exports found;
    const std::uint32_t missing = ResolveAll(*this, found);
    if (missing != ERROR_SUCCESS)
    {
        return Fail(error, missing);
    }
    exports = found;
    bound = true;
    return Succeed(error);
}

} // namespace VzCommon::Library
