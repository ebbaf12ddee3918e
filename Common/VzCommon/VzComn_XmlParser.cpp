#include "VzComn_XmlParser.h"

#include "VzComn_XmlException.h"
#include "VzComn_XmlParserExpat.h"
#include "VzComn_XmlTreeBuilder.h"

#include <algorithm>
#include <array>
#include <new>

namespace VzCommon::Storage
{

namespace
{

constexpr std::size_t blockSize = 1024;

void Copy(XmlOption& option, const std::wstring& value)
{
    if (value.size() >= option.size())
    {
        VZ_THROW(XmlException, ERROR_INSUFFICIENT_BUFFER);
    }
    option = {};
    std::ranges::copy(value, option.begin());
}

void SetDefault(XmlOption& option, const std::wstring& value)
{
    if (option.front() == L'\0')
    {
        Copy(option, value);
    }
}

std::unique_ptr<XmlParserSaxBase> MakeEventSource()
{
    try
    {
        return std::make_unique<XmlParserExpat>();
    }
    catch (const std::bad_alloc&)
    {
        VZ_THROW(XmlException, ERROR_INVALID_HANDLE);
    }
}

} // namespace

void XmlParser::SetProperty(const std::wstring& name, const std::wstring& value)
{
    if (name.empty() || value.empty())
    {
        VZ_THROW(XmlException, ERROR_BAD_ARGUMENTS);
    }
    if (name == L"Encoding")
    {
        Copy(encoding, value);
    }
    else if (name == L"PathOfDll")
    {
        Copy(pathOfDll, value);
    }
}

void XmlParser::Parse(const std::wstring& fileName, const std::wstring& path)
{
    Copy(filePath, fileName);
    SetDefault(encoding, L"UTF8");
    SetDefault(pathOfDll, L".\\");
    try
    {
        file = std::make_unique<XmlFile>(filePath.data());
        currentElement = &rootElement;
        BuildTree(path, currentElement);
        file->Close();
        file.reset();
    }
    catch (...)
    {
        saxParser.reset();
        file.reset();
        throw;
    }
}

bool XmlParser::GetElement(const std::wstring& path, XmlElement& element)
{
    const XmlElement* const found = rootElement.Find(path);
    return found != nullptr && element.CopyFrom(*found);
}

void XmlParser::Close()
{
    rootElement.Clear();
    currentElement = nullptr;
    filePath = {};
    encoding = {};
    pathOfDll = {};
    saxParser.reset();
    writer.reset();
    file.reset();
}

void XmlParser::BuildTree(const std::wstring& path, XmlElement* target)
{
    if (!path.starts_with(L'/'))
    {
        VZ_THROW(XmlException, ERROR_INVALID_PARAMETER);
    }
    saxParser = MakeEventSource();
    if (target == nullptr) // Deliberate: never so, the caller has one.
    {
        VZ_THROW(XmlException, ERROR_BAD_ARGUMENTS);
    }
    saxParser->Open(filePath, encoding, pathOfDll);
    XmlTreeBuilder builder(path);
    ReadEvents(builder);
    target->MoveFrom(builder.Element());
    while (!saxParser->IsFinished())
    {
        FeedBlock();
        SkipEvents();
    }
    saxParser->Close();
    saxParser.reset();
}

// A document that ends before the wanted element does has the next block asked for, which is none.
void XmlParser::ReadEvents(XmlTreeBuilder& builder)
{
    while (!builder.IsComplete())
    {
        FeedBlock();
        XmlEvent event;
        while (!builder.IsComplete() && saxParser->NextEvent(event))
        {
            builder.Take(event);
        }
    }
}

void XmlParser::FeedBlock()
{
    std::array<char, blockSize> block{};
    const std::size_t count = file->Read(block);
    saxParser->Feed(block.data(), count, count < block.size());
}

void XmlParser::SkipEvents()
{
    try
    {
        for (;;)
        {
            saxParser->ProcessEvents();
        }
    }
    catch (XmlException* caught)
    {
        if (caught->code != ERROR_NO_MORE_ITEMS)
        {
            throw;
        }
        delete caught;
    }
}

} // namespace VzCommon::Storage
