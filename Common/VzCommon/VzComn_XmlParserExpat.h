#pragma once

#include "VzComn_XmlParserExpatBase.h"

#include <cstddef>
#include <vector>

namespace VzCommon::Storage
{

// Events from the parser library, which is loaded between Open and Close.
class XmlParserExpat : public XmlParserSaxBase, public XmlParserExpatBase
{
public:
    ~XmlParserExpat() override;

    bool Open(const XmlOption& documentPath, const XmlOption& encodingName,
              const XmlOption& dllFolder) override;
    void Feed(const char* bytes, std::size_t length, bool isLast) override;
    void ProcessEvents() override;
    void Close() override;
    bool NextEvent(XmlEvent& event) override;
    [[nodiscard]] bool IsFinished() const override;

    void OnStartElement(const char* name, const char** attributes) override;
    void OnEndElement(const char* name) override;
    void OnCharacterData(const char* text, int length) override;
    void OnDefault(const char* text, int length) override;
    void OnComment(const char* text) override;

private:
    XmlEvent& Add(XmlEvent::Kind kind, std::string_view text);

    // Good until the next one is made in the same room.
    static std::wstring_view Widen(std::string_view text, std::wstring& room);

    bool isLoaded = false;
    bool isCreated = false;
    std::vector<XmlEvent> events; // keeps its room when it is emptied
    std::size_t taken = 0;        // of these

    // What an element is put together in. They keep their memory from one to the next.
    XmlAttributes collected;
    std::wstring nameRoom;
    std::wstring valueRoom;
};

} // namespace VzCommon::Storage
