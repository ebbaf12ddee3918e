#include "VzComn_XmlParserExpat.h"

#include "VzComn_String.h"
#include "VzComn_XmlException.h"

#include <algorithm>
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
    taken = 0;
}

bool XmlParserExpat::NextEvent(XmlEvent& event)
{
    if (taken == events.size())
    {
        events.clear();
        taken = 0;
        return false;
    }
    event = std::move(events[taken]);
    ++taken;
    return true;
}

bool XmlParserExpat::IsFinished() const
{
    return XmlParserExpatBase::IsFinished();
}

void XmlParserExpat::OnStartElement(const char* name, const char** attributes)
{
    collected.Clear();
    for (; attributes[0] != nullptr; attributes += 2)
    {
        collected.Add(Widen(attributes[0], nameRoom), Widen(attributes[1], valueRoom));
    }
    Add(XmlEvent::Kind::StartElement, name).attributes = collected;
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

XmlEvent& XmlParserExpat::Add(XmlEvent::Kind kind, std::string_view text)
{
    return events.emplace_back(XmlEvent{kind, std::wstring(Widen(text, nameRoom)), {}});
}

// Most of a document is ASCII, for which the system need not be asked.
std::wstring_view XmlParserExpat::Widen(std::string_view text, std::wstring& room)
{
    if (room.size() < text.size())
    {
        room.resize(text.size());
    }
    unsigned char all = 0;
    std::ranges::transform(text, room.begin(),
                           [&all](char unit)
                           {
                               all |= static_cast<unsigned char>(unit);
                               return static_cast<wchar_t>(unit);
                           });
    if (all < 0x80)
    {
        return std::wstring_view(room).substr(0, text.size());
    }
    room = String::FromUtf8(text);
    return room;
}

} // namespace VzCommon::Storage
