#include "XmlInvariants.h"

#include "VzComn_XmlException.h"
#include "VzComn_XmlParser.h"
#include "XmlModel.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace
{
using VzCommon::Storage::XmlElement;
using VzCommon::Storage::XmlException;
using VzCommon::Storage::XmlParser;
using XmlModel::Document;
using XmlModel::Element;

struct Encoding
{
    const wchar_t* name;
    const char* libraryName;
};

constexpr Encoding encodings[] = {
    {L"UTF8", "UTF-8"},
    {L"UTF16", "UTF-16"},
    {L"ISO_8859_1", "ISO-8859-1"},
    {L"US_ASCII", "US-ASCII"},
};

struct Source
{
    std::wstring file;
    std::wstring libraryFolder;
    std::wstring encoding;
};

void Require(bool holds, const char* invariant)
{
    if (!holds)
    {
        throw std::logic_error(invariant);
    }
}

// Null on success.
std::unique_ptr<VzCommon::Storage::Exception> Parse(const Source& source, const std::wstring& path,
                                                    XmlElement& root)
{
    XmlParser parser;
    parser.SetProperty(L"PathOfDll", source.libraryFolder);
    parser.SetProperty(L"Encoding", source.encoding);
    try
    {
        parser.Parse(source.file, path);
    }
    catch (VzCommon::Storage::Exception* caught)
    {
        return std::unique_ptr<VzCommon::Storage::Exception>(caught);
    }
    Require(parser.GetElement(L"", root), "what was parsed can be had");
    parser.Close();
    return nullptr;
}

// The element that follows in document order; null behind the root's last.
XmlElement* Next(XmlElement* element, const XmlElement* root)
{
    XmlElement* next = element->FirstChild();
    while (next == nullptr && element != root)
    {
        element = element->GetParent();
        next = element->NextChild();
    }
    return next;
}

std::size_t DepthOf(const XmlElement* element, const XmlElement* root)
{
    std::size_t depth = 0;
    for (; element != root; element = element->GetParent())
    {
        ++depth;
    }
    return depth;
}

// The tree below the root is what stands at the first place and below it.
void CheckTree(XmlElement& root, std::span<const Element> expected)
{
    Require(root.GetParent() == nullptr, "the root has no parent");
    XmlElement* element = &root;
    for (const Element& model : expected)
    {
        Require(element != nullptr && DepthOf(element, &root) == model.depth - expected.front().depth,
                "elements are where they stand in the document");
        Require(element->GetName() == model.name, "names in document order");
        Require(element->GetText() == model.text, "texts in document order");
        Require(element->Attributes().List() == model.attributes, "attributes in document order");
        element = Next(element, &root);
    }
    Require(element == nullptr, "no more elements than in the document");
}

void CheckError(const VzCommon::Storage::Exception* thrown, const Document& model)
{
    Require((thrown != nullptr ? thrown->code : 0) == model.code, "success, or the library's error");
    const auto* const detailed = dynamic_cast<const XmlException*>(thrown);
    if (model.line != 0)
    {
        Require(detailed != nullptr && detailed->lineOfDocument == model.line &&
                    detailed->columnOfDocument == model.column && !detailed->errorText.empty(),
                "the place of the library's error");
    }
    else
    {
        Require(detailed == nullptr, "the end of the file is no error of the document's");
    }
}

// Below each element, those that lead to it.
std::vector<std::wstring> PathsOf(const std::vector<Element>& elements)
{
    std::vector<std::wstring> paths;
    std::vector<std::size_t> ends; // of the names on the path
    std::wstring path;
    for (const Element& element : elements)
    {
        ends.resize(element.depth);
        path.resize(ends.empty() ? 0 : ends.back());
        path += L'/' + element.name;
        ends.push_back(path.size());
        paths.push_back(path);
    }
    return paths;
}

// The path of the last element leads to the first one that has it.
void CheckPath(const Source& source, const std::vector<Element>& elements)
{
    const std::vector<std::wstring> paths = PathsOf(elements);
    const auto place = std::ranges::find(paths, paths.back()) - paths.begin();
    const auto first = elements.begin() + place;
    const auto end = std::find_if(first + 1, elements.end(),
                                  [first](const Element& element) { return element.depth <= first->depth; });
    XmlElement root;
    Require(Parse(source, paths.back(), root) == nullptr, "a path that is in the document is found");
    CheckTree(root, {first, end});
}

void CheckEncoding(const XmlModel::Expat& expat, std::span<const std::uint8_t> bytes, const Source& source,
                   const char* libraryName)
{
    const Document model = XmlModel::Read(expat, libraryName, bytes);
    XmlElement root;
    const auto thrown = Parse(source, L"/", root);
    CheckError(thrown.get(), model);
    Require(!XmlModel::IsAccepted(expat, libraryName, bytes) || thrown == nullptr || bytes.size() % 1024 == 0,
            "what the library takes is taken");
    if (thrown == nullptr)
    {
        CheckTree(root, model.elements);
        CheckPath(source, model.elements);
    }
}
} // namespace

std::string BrokenXmlInvariant(std::span<const std::uint8_t> bytes, const std::wstring& file,
                               const std::wstring& libraryFolder)
{
    VzCommon::Library::Expat library;
    if (!library.Load((libraryFolder + L"\\libexpat.dll").c_str(), nullptr, nullptr) ||
        !library.Bind(true, nullptr))
    {
        return "the library is there";
    }
    try
    {
        for (const Encoding& encoding : encodings)
        {
            CheckEncoding(library.Table(), bytes, {file, libraryFolder, encoding.name}, encoding.libraryName);
        }
    }
    catch (const std::logic_error& broken)
    {
        return broken.what();
    }
    return {};
}
