#pragma once

#include "VzComn_XmlElement.h"
#include "VzComn_XmlFile.h"
#include "VzComn_XmlParserSaxBase.h"

#include <memory>
#include <string>

namespace VzCommon::Storage
{

class XmlTreeBuilder;

// What would write a document; reading has none.
class XmlWriterBase
{
public:
    XmlWriterBase() = default;
    virtual ~XmlWriterBase() = default;

    XmlWriterBase(const XmlWriterBase&) = delete;
    XmlWriterBase& operator=(const XmlWriterBase&) = delete;
};

// Reads a document into a tree of elements. Belongs to one thread. Failures are thrown as XmlException, those
// to read from the file as its base Exception, a lack of memory as std::bad_alloc; the parser can be used
// again after them.
//
//     XmlParser parser;
//     parser.SetProperty(L"PathOfDll", folder);
//     parser.Parse(fileName, L"/");
//     XmlElement root;
//     parser.GetElement(L"", root);
//     parser.Close();
class XmlParser
{
public:
    XmlParser() = default;
    ~XmlParser() = default;

    XmlParser(const XmlParser&) = delete;
    XmlParser& operator=(const XmlParser&) = delete;

    // "Encoding": "UTF8" if it is not set, "UTF16", "ISO_8859_1" or "US_ASCII"; it counts for more than what
    // the document says of itself. "PathOfDll": the folder of libexpat.dll, ".\" if it is not set. Any other
    // name is ignored. Code 160 for an empty name or value, 122 for a value of more than 259 characters.
    void SetProperty(const std::wstring& name, const std::wstring& value);

    // Keeps the first element at the path, or the document's first under any name if the path is "/". Code 87
    // for a path without a "/" at its beginning, 38 for one that leads nowhere and for an empty file. The
    // whole file has to be well-formed, also behind that element.
    //
    // Deliberate: a well-formed file of a multiple of 1024 bytes fails with code 38.
    void Parse(const std::wstring& fileName, const std::wstring& path);

    // Copies the element at the path below the kept one. False if there is none.
    bool GetElement(const std::wstring& path, XmlElement& element);

    // Forgets everything, the properties too.
    void Close();

private:
    void BuildTree(const std::wstring& path, XmlElement* target);
    void ReadEvents(XmlTreeBuilder& builder);
    void FeedBlock();
    void SkipEvents();

    std::unique_ptr<XmlParserSaxBase> saxParser; // while parsing
    std::unique_ptr<XmlWriterBase> writer;
    XmlElement rootElement;
    XmlElement* currentElement = nullptr; // Weak. Into the tree.
    std::unique_ptr<XmlFile> file;        // while parsing
    XmlOption filePath{};
    XmlOption encoding{};
    XmlOption pathOfDll{};
};

} // namespace VzCommon::Storage
