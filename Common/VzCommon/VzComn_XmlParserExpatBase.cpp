#include "VzComn_XmlParserExpatBase.h"

#include "VzComn_String.h"

#include <algorithm>
#include <memory>
#include <new>
#include <string_view>

namespace VzCommon::Storage
{

namespace
{

struct EncodingName
{
    std::wstring_view name;
    const char* expatName;
};

constexpr EncodingName encodingNames[] = {
    {L"UTF8", "UTF-8"},
    {L"UTF16", "UTF-16"},
    {L"ISO_8859_1", "ISO-8859-1"},
    {L"US_ASCII", "US-ASCII"},
};

bool IsBlank(char character)
{
    return character == ' ' || character == '\t' || character == '\r';
}

} // namespace

// What the parser calls: the hook of the same name on the object that is the user data. No exception may pass
// through the library's frames.
struct ExpatTrampolines
{
    template <typename Hook>
    static void Call(void* userData, Hook hook) noexcept
    {
        auto& base = *static_cast<XmlParserExpatBase*>(userData);
        if (base.hookError != ERROR_SUCCESS)
        {
            return; // some more events may come until the parser has stopped
        }
        try
        {
            hook(base);
        }
        catch (Exception::Base* caught)
        {
            const std::unique_ptr<VzCommon::Exception::Base> exception(caught);
            base.hookError = exception->code != ERROR_SUCCESS ? exception->code : ERROR_INVALID_DATA;
        }
        catch (...)
        {
            base.hookError = ERROR_OUTOFMEMORY;
        }
        if (base.hookError != ERROR_SUCCESS)
        {
            base.Stop(false);
        }
    }

    static void XMLCALL OnStartElement(void* userData, const char* name, const char** attributes)
    {
        Call(userData, [&](XmlParserExpatBase& base) { base.OnStartElement(name, attributes); });
    }

    static void XMLCALL OnEndElement(void* userData, const char* name)
    {
        Call(userData, [&](XmlParserExpatBase& base) { base.OnEndElement(name); });
    }

    static void XMLCALL OnCharacterData(void* userData, const char* text, int length)
    {
        Call(userData, [&](XmlParserExpatBase& base) { base.OnCharacterData(text, length); });
    }

    static void XMLCALL OnProcessingInstruction(void* userData, const char* target, const char* data)
    {
        Call(userData, [&](XmlParserExpatBase& base) { base.OnProcessingInstruction(target, data); });
    }

    static void XMLCALL OnDefault(void* userData, const char* text, int length)
    {
        Call(userData, [&](XmlParserExpatBase& base) { base.OnDefault(text, length); });
    }

    static void XMLCALL OnUnparsedEntityDecl(void* userData, const char* entityName, const char* base,
                                             const char* systemId, const char* publicId,
                                             const char* notationName)
    {
        Call(userData, [&](XmlParserExpatBase& object)
             { object.OnUnparsedEntityDecl(entityName, base, systemId, publicId, notationName); });
    }

    static int XMLCALL OnNotStandalone(void* userData)
    {
        int result = 0;
        Call(userData, [&](XmlParserExpatBase& base) { result = base.OnNotStandalone(); });
        return result;
    }

    // The one handler whose first argument is the parser.
    static int XMLCALL OnExternalEntityRef(XML_Parser parser, const char* context, const char* base,
                                           const char* systemId, const char* publicId)
    {
        int result = 0;
        Call(XML_GetUserData(parser), [&](XmlParserExpatBase& object)
             { result = object.OnExternalEntityRef(context, base, systemId, publicId); });
        return result;
    }

    static void XMLCALL OnNotationDecl(void* userData, const char* notationName, const char* base,
                                       const char* systemId, const char* publicId)
    {
        Call(userData, [&](XmlParserExpatBase& object)
             { object.OnNotationDecl(notationName, base, systemId, publicId); });
    }

    static void XMLCALL OnStartNamespaceDecl(void* userData, const char* prefix, const char* uri)
    {
        Call(userData, [&](XmlParserExpatBase& base) { base.OnStartNamespaceDecl(prefix, uri); });
    }

    static void XMLCALL OnEndNamespaceDecl(void* userData, const char* prefix)
    {
        Call(userData, [&](XmlParserExpatBase& base) { base.OnEndNamespaceDecl(prefix); });
    }

    static void XMLCALL OnComment(void* userData, const char* text)
    {
        Call(userData, [&](XmlParserExpatBase& base) { base.OnComment(text); });
    }
};

XmlParserExpatBase::~XmlParserExpatBase()
{
    XmlParserExpatBase::Destroy();
}

void XmlParserExpatBase::OnStartElement(const char* /*name*/, const char** /*attributes*/) {}

void XmlParserExpatBase::OnEndElement(const char* /*name*/) {}

void XmlParserExpatBase::OnCharacterData(const char* /*text*/, int /*length*/) {}

void XmlParserExpatBase::OnProcessingInstruction(const char* /*target*/, const char* /*data*/) {}

void XmlParserExpatBase::OnDefault(const char* /*text*/, int /*length*/) {}

void XmlParserExpatBase::OnUnparsedEntityDecl(const char* /*entityName*/, const char* /*base*/,
                                              const char* /*systemId*/, const char* /*publicId*/,
                                              const char* /*notationName*/)
{
}

int XmlParserExpatBase::OnNotStandalone()
{
    return 1;
}

int XmlParserExpatBase::OnExternalEntityRef(const char* /*context*/, const char* /*base*/,
                                            const char* /*systemId*/, const char* /*publicId*/)
{
    return 1;
}

void XmlParserExpatBase::OnNotationDecl(const char* /*notationName*/, const char* /*base*/,
                                        const char* /*systemId*/, const char* /*publicId*/)
{
}

void XmlParserExpatBase::OnStartNamespaceDecl(const char* /*prefix*/, const char* /*uri*/) {}

void XmlParserExpatBase::OnEndNamespaceDecl(const char* /*prefix*/) {}

void XmlParserExpatBase::OnComment(const char* /*text*/) {}

void XmlParserExpatBase::SetOptions(const XmlOption& documentPath, const XmlOption& encodingName,
                                    const XmlOption& dllFolder)
{
    filePath = documentPath;
    encoding = encodingName;
    pathOfDll = dllFolder;
}

bool XmlParserExpatBase::IsWhitespace(const char* text, int length) const
{
    const std::string_view block(text, static_cast<std::size_t>(std::max(length, 0)));
    return block == "\n" || block == "\r\n" || std::all_of(block.rbegin(), block.rend(), &IsBlank);
}

std::size_t XmlParserExpatBase::TrimmedLength(const char* bytes, std::size_t length) const
{
    const std::string_view text(bytes, length);
    return std::min({text.find("</"), text.find("-->"), length});
}

bool XmlParserExpatBase::IsInitialized() const
{
    return HasState(XML_INITIALIZED);
}

bool XmlParserExpatBase::IsParsing() const
{
    return HasState(XML_PARSING);
}

bool XmlParserExpatBase::IsFinished() const
{
    return HasState(XML_FINISHED);
}

bool XmlParserExpatBase::IsSuspended() const
{
    return HasState(XML_SUSPENDED);
}

std::uint32_t XmlParserExpatBase::Create()
{
    parser = library.Table().parserCreate(nullptr, nullptr, nullptr);
    if (parser == nullptr)
    {
        return ERROR_INVALID_HANDLE;
    }
    hookError = ERROR_SUCCESS;
    SetHandlers();
    const std::uint32_t status = SetEncoding(encoding.data());
    if (status != ERROR_SUCCESS)
    {
        Destroy();
    }
    return status;
}

void XmlParserExpatBase::SetHandlers()
{
    const Library::Expat::Exports& expat = library.Table();
    expat.setUserData(parser, this);
    expat.setElementHandler(parser, &ExpatTrampolines::OnStartElement, &ExpatTrampolines::OnEndElement);
    expat.setCharacterDataHandler(parser, &ExpatTrampolines::OnCharacterData);
    expat.setProcessingInstructionHandler(parser, &ExpatTrampolines::OnProcessingInstruction);
    expat.setDefaultHandler(parser, &ExpatTrampolines::OnDefault);
    expat.setUnparsedEntityDeclHandler(parser, &ExpatTrampolines::OnUnparsedEntityDecl);
    expat.setExternalEntityRefHandler(parser, &ExpatTrampolines::OnExternalEntityRef);
    expat.setNotationDeclHandler(parser, &ExpatTrampolines::OnNotationDecl);
    expat.setNotStandaloneHandler(parser, &ExpatTrampolines::OnNotStandalone);
    expat.setNamespaceDeclHandler(parser, &ExpatTrampolines::OnStartNamespaceDecl,
                                  &ExpatTrampolines::OnEndNamespaceDecl);
    expat.setCommentHandler(parser, &ExpatTrampolines::OnComment);
}

void XmlParserExpatBase::Destroy()
{
    if (parser != nullptr)
    {
        library.Table().parserFree(parser);
        parser = nullptr;
    }
}

std::uint32_t XmlParserExpatBase::LoadLibrary()
{
    const std::wstring path = String::EnsureBackslash(pathOfDll.data()) + L"libexpat.dll";
    std::uint32_t error = ERROR_SUCCESS;
    if (library.Load(path.c_str(), nullptr, &error) && !library.Bind(true, &error))
    {
        library.Unload(nullptr);
    }
    return error;
}

std::uint32_t XmlParserExpatBase::UnloadLibrary()
{
    std::uint32_t error = ERROR_SUCCESS;
    library.Bind(false, &error);
    library.Unload(&error);
    return error;
}

std::uint32_t XmlParserExpatBase::SetEncoding(const wchar_t* name)
{
    const auto* const found = std::ranges::find(encodingNames, std::wstring_view(name), &EncodingName::name);
    if (found == std::end(encodingNames))
    {
        return ERROR_INVALID_PARAMETER;
    }
    return library.Table().setEncoding(parser, found->expatName) == XML_STATUS_OK ? ERROR_SUCCESS
                                                                                  : ERROR_OUTOFMEMORY;
}

bool XmlParserExpatBase::Parse(const char* bytes, int length, bool isLast)
{
    return library.Table().parse(parser, bytes, length, isLast ? 1 : 0) == XML_STATUS_OK;
}

bool XmlParserExpatBase::ParseBuffer(int length, bool isLast)
{
    return library.Table().parseBuffer(parser, length, isLast ? 1 : 0) == XML_STATUS_OK;
}

void* XmlParserExpatBase::GetBuffer(int length)
{
    return library.Table().getBuffer(parser, length);
}

bool XmlParserExpatBase::Stop(bool resumable)
{
    return library.Table().stopParser(parser, resumable ? XML_TRUE : XML_FALSE) == XML_STATUS_OK;
}

bool XmlParserExpatBase::Resume()
{
    return library.Table().resumeParser(parser) == XML_STATUS_OK;
}

void XmlParserExpatBase::GetParsingStatus(XML_ParsingStatus& status) const
{
    library.Table().getParsingStatus(parser, &status);
}

std::uint32_t XmlParserExpatBase::GetErrorCode() const
{
    return library.Table().getErrorCode(parser);
}

std::string XmlParserExpatBase::GetErrorText() const
{
    const char* const text = library.Table().errorString(static_cast<XML_Error>(GetErrorCode()));
    return text != nullptr ? text : "";
}

std::uint64_t XmlParserExpatBase::GetLineNumber() const
{
    return library.Table().getCurrentLineNumber(parser);
}

std::uint64_t XmlParserExpatBase::GetColumnNumber() const
{
    return library.Table().getCurrentColumnNumber(parser);
}

bool XmlParserExpatBase::HasState(XML_Parsing state) const
{
    if (parser == nullptr)
    {
        return false;
    }
    XML_ParsingStatus status{};
    GetParsingStatus(status);
    return status.parsing == state;
}

} // namespace VzCommon::Storage
