#pragma once

#include "VzComn_Expat.h"
#include "VzComn_XmlParserSaxBase.h"

#include <cstdint>
#include <string>

namespace VzCommon::Storage
{

// The parser library, one parser of it, and a hook for each of its events. Belongs to one thread; the hooks
// are called within Parse and its like. Results named status are 0 or a Windows error code, or the parser
// library's own code where that is said.
class XmlParserExpatBase
{
public:
    XmlParserExpatBase() = default;
    virtual ~XmlParserExpatBase(); // destroys the parser before the library goes

    XmlParserExpatBase(const XmlParserExpatBase&) = delete;
    XmlParserExpatBase& operator=(const XmlParserExpatBase&) = delete;

    // The hooks. Texts end at a zero, unless their length is given, and are UTF-8. Attributes are names and
    // values in turn, ended by a null. What a hook throws ends the parsing; HookError tells its code.
    virtual void OnStartElement(const char* name, const char** attributes);
    virtual void OnEndElement(const char* name);
    virtual void OnCharacterData(const char* text, int length);
    virtual void OnProcessingInstruction(const char* target, const char* data);
    virtual void OnDefault(const char* text, int length);
    virtual void OnUnparsedEntityDecl(const char* entityName, const char* base, const char* systemId,
                                      const char* publicId, const char* notationName);

    // 0 would end the parsing. Nothing is fetched for an external entity.
    virtual int OnNotStandalone();
    virtual int OnExternalEntityRef(const char* context, const char* base, const char* systemId,
                                    const char* publicId);

    virtual void OnNotationDecl(const char* notationName, const char* base, const char* systemId,
                                const char* publicId);
    virtual void OnStartNamespaceDecl(const char* prefix, const char* uri);
    virtual void OnEndNamespaceDecl(const char* prefix);
    virtual void OnComment(const char* text);

    virtual void SetOptions(const XmlOption& documentPath, const XmlOption& encodingName,
                            const XmlOption& dllFolder);

    // Whether a block of character data says nothing. Deliberate: a line feed does not count as such in a
    // block of more than one character, but for a carriage return before it.
    [[nodiscard]] virtual bool IsWhitespace(const char* text, int length) const;

    // Where the first end tag or comment end begins; the length if there is none.
    [[nodiscard]] virtual std::size_t TrimmedLength(const char* bytes, std::size_t length) const;

    [[nodiscard]] virtual bool IsInitialized() const;
    [[nodiscard]] virtual bool IsParsing() const;
    [[nodiscard]] virtual bool IsFinished() const;
    [[nodiscard]] virtual bool IsSuspended() const;

    // A parser with all hooks and the encoding. Status 6 if there is no memory, 87 for an unknown encoding.
    virtual std::uint32_t Create();
    virtual void Destroy();

    // Status 5010 if the library is loaded.
    virtual std::uint32_t LoadLibrary();
    virtual std::uint32_t UnloadLibrary();

    // By one of the names "UTF8", "UTF16", "ISO_8859_1", "US_ASCII".
    virtual std::uint32_t SetEncoding(const wchar_t* name);

    // True on success; GetErrorCode tells a failure.
    virtual bool Parse(const char* bytes, int length, bool isLast);
    virtual bool ParseBuffer(int length, bool isLast); // what was put into GetBuffer's memory
    virtual void* GetBuffer(int length);               // null if there is no memory. Weak: the parser's
    virtual bool Stop(bool resumable);
    virtual bool Resume();

    // What follows needs a parser.
    virtual void GetParsingStatus(XML_ParsingStatus& status) const;
    [[nodiscard]] virtual std::uint32_t GetErrorCode() const; // the parser library's
    [[nodiscard]] virtual std::string GetErrorText() const;
    [[nodiscard]] virtual std::uint64_t GetLineNumber() const;
    [[nodiscard]] virtual std::uint64_t GetColumnNumber() const;

protected:
    // Why a hook has ended the parsing; 0 if none has.
    [[nodiscard]] std::uint32_t HookError() const { return hookError; }

private:
    friend struct ExpatTrampolines;

    void SetHandlers();
    [[nodiscard]] bool HasState(XML_Parsing state) const;

    XmlOption filePath{};
    XmlOption encoding{};
    XmlOption pathOfDll{};
    Library::Expat library;
    XML_Parser parser = nullptr; // Owned. Freed by Destroy.
    std::uint32_t hookError = 0;
};

} // namespace VzCommon::Storage
