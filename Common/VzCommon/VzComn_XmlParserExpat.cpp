#include "VzComn_XmlParserExpat.h"

#include "VzComn_String.h"
#include "VzComn_XmlException.h"

#include <string_view>
#include <utility>

namespace VzCommon::Storage
{

XmlParserExpat::~XmlParserExpat()
{
    XmlParserExpat::Close();
}

bool XmlParserExpat::Open(const XmlOption& documentPath, const XmlOption& encodingName,
                          const XmlOption& dllFolder)
{
    if (isLoaded)
    {
        return false;
    }
    SetOptions(documentPath, encodingName, dllFolder);
    std::uint32_t status = LoadLibrary();
    isLoaded = status == ERROR_SUCCESS;
    if (isLoaded)
    {
        status = Create();
        isCreated = status == ERROR_SUCCESS;
    }
    if (status != ERROR_SUCCESS)
    {
        Close();
        VZ_THROW(XmlException, status);
    }
    return true;
}

void XmlParserExpat::Feed(const char* bytes, std::size_t length, bool isLast)
{
    if (Parse(bytes, static_cast<int>(length), isLast))
    {
        return;
    }
    if (HookError() != ERROR_SUCCESS)
    {
        VZ_THROW(XmlException, HookError());
    }
    VZ_THROW(XmlException, GetErrorCode(), GetLineNumber(), GetColumnNumber(), GetErrorText());
}

void XmlParserExpat::ProcessEvents()
{
    XmlEvent event;
    if (!NextEvent(event))
    {
        VZ_THROW(XmlException, ERROR_NO_MORE_ITEMS);
    }
}

void XmlParserExpat::Close()
{
    if (std::exchange(isCreated, false))
    {
        Destroy();
    }
    if (std::exchange(isLoaded, false))
    {
        UnloadLibrary();
    }
    events.clear();
}

bool XmlParserExpat::NextEvent(XmlEvent& event)
{
    if (events.empty())
    {
        return false;
    }
    event = std::move(events.front());
    events.pop_front();
    return true;
}

bool XmlParserExpat::IsFinished() const
{
    return XmlParserExpatBase::IsFinished();
}

void XmlParserExpat::OnStartElement(const char* name, const char** attributes)
{
    Add(XmlEvent::Kind::StartElement, name);
    auto& list = events.back().attributes;
    for (; attributes[0] != nullptr; attributes += 2)
    {
        list.emplace_back(String::FromUtf8(attributes[0]), String::FromUtf8(attributes[1]));
    }
}

void XmlParserExpat::OnEndElement(const char* name)
{
    Add(XmlEvent::Kind::EndElement, name);
}

void XmlParserExpat::OnCharacterData(const char* text, int length)
{
    if (!IsWhitespace(text, length))
    {
        Add(XmlEvent::Kind::Text, {text, static_cast<std::size_t>(length)});
    }
}

void XmlParserExpat::OnDefault(const char* text, int length)
{
    Add(XmlEvent::Kind::DefaultData, {text, static_cast<std::size_t>(length)});
}

void XmlParserExpat::OnComment(const char* text)
{
    Add(XmlEvent::Kind::Comment, text);
}

void XmlParserExpat::Add(XmlEvent::Kind kind, std::string_view text)
{
    XmlEvent event;
    event.kind = kind;
    event.text = String::FromUtf8(text);
    events.push_back(std::move(event));
}

} // namespace VzCommon::Storage
